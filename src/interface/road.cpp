#include "interface/road.h"

#include "core/context.h"
#include "platform/process.h"

namespace velmora::interface {

bool IsPlainFileName(const std::string& id) {
  return id != "." && id != ".." && id.find('/') == std::string::npos && id.find('\0') == std::string::npos;
}

void StartExecutor(const std::string& id, bool batch, const char* method) {
  CFileAdmin files;
  // No quoting, as ever: an identifier with blanks reaches the executor split.
  const std::string commandLine = files.GetDllPath() + "executor.exe IDPres=" + id + (batch ? " MD" : "");
  if (!files.ExistExecutorFile()) Raise(53, method);
  platform::SpawnDetached(platform::SplitAtBlanks(commandLine), files.GetDllPath(), method);
}

void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type) {
  const auto& config = core::ThreadContext().Config;
  CFileAdmin files;
  if (config.EliminarXMLPeticion != 0) files.DeleteFromSended(id);
  if (type == rspReceived && config.EliminarXMLRespuesta != 0) files.DeleteFromReceived(id);
}

}  // namespace velmora::interface
