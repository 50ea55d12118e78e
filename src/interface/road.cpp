#include "interface/road.h"

#include <filesystem>
#include <fstream>

#include "core/context.h"
#include "messages/identifier.h"
#include "os/files.h"
#include "os/process.h"

namespace velmora::interface {

void RefuseUnusableIdentifier(const std::string& id, const char* method) {
  if (!messages::IsUsableIdentifier(id)) Raise(errnum::kRequestNotExported, method);
}

void MoveStaleResponseAside(const std::string& id) {
  CFileAdmin files;
  if (!os::PathExists(files.GetReceivedPath() + id + ".xml")) return;
  files.MakeDelayed();
  files.MoveToDelayed(files.GetReceivedPath(), id + ".xml");
}

std::function<bool()> StartExecutor(const std::string& id, bool batch, const char* method) {
  CFileAdmin files;
  if (!files.ExistExecutorFile()) Raise(errnum::kExecutorNotFound, method);
  std::vector<std::string> argv = {files.GetDllPath() + "executor.exe", "IDPres=" + id};
  if (batch) argv.emplace_back("MD");
  // The executor starts in the runtime folder: a relative VELMORA_HOME would lead it elsewhere.
  os::ChildEnded ended =
      os::SpawnDetached(argv, files.GetDllPath(), method, {"VELMORA_HOME=" + files.GetDllPath()});
  return [ended] { return ended->load(); };
}

void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type) {
  const auto& config = core::ThreadContext().Config;
  CFileAdmin files;
  if (config.EliminarXMLPeticion != 0) files.DeleteFromSended(id);
  if (type == rspReceived && config.EliminarXMLRespuesta != 0) files.DeleteFromReceived(id);
}

std::uintmax_t LogMark() {
  std::error_code ec;
  const std::uintmax_t size = std::filesystem::file_size(CFileAdmin().LogFilePath(), ec);
  return ec ? 0 : size;
}

std::string ExecutorFailure(const std::string& id, std::uintmax_t logMark) {
  std::ifstream log(CFileAdmin().LogFilePath(), std::ios::binary);
  // A log trimmed by size since the mark starts again from its beginning.
  if (!log || !log.seekg(static_cast<std::streamoff>(logMark))) {
    log.clear();
    log.seekg(0);
  }
  const std::string key = id + " " + std::string(core::kExecutorFailureMark);
  std::string line, failure;
  while (std::getline(log, line)) {
    const size_t at = line.find(key);
    if (at != std::string::npos) failure = line.substr(at + key.size());
  }
  if (!failure.empty() && failure.back() == '\r') failure.pop_back();
  return failure;
}

}  // namespace velmora::interface
