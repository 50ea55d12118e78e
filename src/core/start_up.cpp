#include "core/start_up.h"

#include "core/context.h"
#include "platform/paths.h"

namespace velmora::core {

StartUpFiles PrepareSharedObjects() {
  auto& context = ThreadContext();
  const std::string base = platform::WithSlash(platform::RuntimeFolder()) + platform::kLibraryTitle;
  StartUpFiles files{base + ".log", base + ".txt", base + ".ini"};
  context.MessageLog.FileName = files.log;
  context.MessageLog.Title = "Log envío/recepción mensajes con SOAP ";
  context.MessageLog.Flags = lfgToFile | lfgToDebug;
  context.TraceLog.FileName = files.trace;
  context.TraceLog.Title = "Log de trazas del ";
  context.TraceLog.Flags = 0;
  context.Errors.ResetErrorsCollection();
  context.Config.IniFile = files.ini;
  return files;
}

void ApplyLoadedConfiguration() {
  auto& context = ThreadContext();
  context.MessageLog.Flags = context.Config.GenerarLog == 1 ? (lfgToFile | lfgToDebug) : 0;
  context.TraceLog.Flags = context.Config.GenerarTrace == 1 ? lfgToFile : 0;
  context.Auditor().Enable(context.Config.Auditar);
  context.Auditor().DiaryStore(context.Config.ArchivoDiario != 0);
}

}  // namespace velmora::core
