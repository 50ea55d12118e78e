#include "interface/road.h"

#include "core/context.h"
#include "messages/identifier.h"
#include "platform/files.h"
#include "platform/process.h"

namespace velmora::interface {

void RefuseUnusableIdentifier(const std::string& id, const char* method) {
  if (!messages::IsUsableIdentifier(id)) Raise(32007, method);
}

void MoveStaleResponseAside(const std::string& id) {
  CFileAdmin files;
  if (!platform::PathExists(files.GetReceivedPath() + id + ".xml")) return;
  files.MakeDelayed();
  files.MoveToDelayed(files.GetReceivedPath(), id + ".xml");
}

std::function<bool()> StartExecutor(const std::string& id, bool batch, const char* method) {
  CFileAdmin files;
  if (!files.ExistExecutorFile()) Raise(53, method);
  std::vector<std::string> argv = {files.GetDllPath() + "executor.exe", "IDPres=" + id};
  if (batch) argv.emplace_back("MD");
  // The executor starts in the runtime folder: a relative VELMORA_HOME would lead it elsewhere.
  platform::ChildEnded ended =
      platform::SpawnDetached(argv, files.GetDllPath(), method, {"VELMORA_HOME=" + files.GetDllPath()});
  return [ended] { return ended->load(); };
}

void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type) {
  const auto& config = core::ThreadContext().Config;
  CFileAdmin files;
  if (config.EliminarXMLPeticion != 0) files.DeleteFromSended(id);
  if (type == rspReceived && config.EliminarXMLRespuesta != 0) files.DeleteFromReceived(id);
}

}  // namespace velmora::interface
