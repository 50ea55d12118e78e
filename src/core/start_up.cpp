#include "core/start_up.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <string_view>

#include "core/context.h"
#include "os/files.h"
#include "os/paths.h"
#include "audit/trail_queue.h"
#include "audit/trail_store.h"
#include "xml/xml.h"

namespace velmora::core {

StartUpFiles PrepareSharedObjects() {
  auto& context = ThreadContext();
  const std::string base = os::WithSlash(os::RuntimeFolder()) + os::kLibraryTitle;
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

namespace {

// Every temporary file is written and renamed within one call; a minute is far beyond it.
constexpr std::time_t kLongestWrite = 60;
constexpr const char* kSweep = "CFileAdmin.SweepInterruptedWrites";

// The runtime folder is also the operator's: a hidden copy such as ".velmora.ini.backup" or
// ".velmora.ini.OLD001" has the shape of a temporary name. The random part of ours starts with a
// digit; any other is left alone (a leftover of an older version costs a stray file, never
// somebody's copy).
bool OperatorsName(std::string_view name) {
  const char first = name[name.size() - 6];
  return first < '0' || first > '9';
}

void SweepFolder(const std::string& folder, bool answers, bool operators = false) {
  const std::string journalEnd = ".journal";
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    const std::string name = entry.path().filename().string();
    const std::string path = folder + name;
    try {
      if (name.size() > journalEnd.size() + 1 && name[0] == '.' &&
          name.compare(name.size() - journalEnd.size(), journalEnd.size(), journalEnd) == 0) {
        audit::RecoverTrail(folder + name.substr(1, name.size() - journalEnd.size() - 1));
        continue;
      }
      if (const auto trail = audit::TrailOfQueuedChange(path)) {
        audit::RecoverTrail(*trail);
        continue;
      }
      struct stat st{};
      if (!os::IsTemporaryName(name) || (operators && OperatorsName(name)) || lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode) ||
          std::time(nullptr) - st.st_mtime < kLongestWrite)
        continue;
      xml::Document answer;
      if (answers && answer.Load(path)) {
        const std::string target = CFileAdmin().GetDelayedPath() + os::TargetOfTemporary(name);
        os::CopyFileTo(path, target, kSweep);
        LogLine(std::string(kSweep) + ": respuesta recuperada de una escritura interrumpida --> " + target);
      }
      os::DeleteFile(path, kSweep);
    } catch (const std::exception& e) {
      HandleError(kSweep, e);
    }
  }
}

}  // namespace

void SweepInterruptedWrites() {
  CFileAdmin files;
  SweepFolder(files.GetDllPath(), false, true);
  SweepFolder(files.GetSendedPath(), false);
  SweepFolder(files.GetReceivedPath(), true);
  SweepFolder(files.GetDelayedPath(), false);
  SweepFolder(files.GetAuditorPath(), false);
  SweepFolder(audit::TrailQueueFolder(files.GetAuditorPath()), false);
}

}  // namespace velmora::core
