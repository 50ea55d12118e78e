#include "interface/road.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "core/context.h"
#include "messages/identifier.h"
#include "platform/files.h"
#include "platform/process.h"

namespace velmora::interface {

namespace {

// Reservations only have to outlive the stamps that could repeat them: the same second, or the
// hour the clock goes back in autumn.
constexpr auto kReservationLife = std::chrono::hours(2);

void SweepOldReservations(const std::string& folder) {
  namespace fs = std::filesystem;
  std::error_code ec;
  const auto oldest = fs::file_time_type::clock::now() - kReservationLife;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code ignored;
    if (it->last_write_time(ignored) < oldest) fs::remove(it->path(), ignored);
  }
}

}  // namespace

void RefuseUnusableIdentifier(const std::string& id, const char* method) {
  if (!messages::IsUsableIdentifier(id)) Raise(32007, method);
}

std::string ReserveGeneratedIdentifier(const CPeticionDispensacion& request) {
  constexpr int kMaxTries = 3600;
  try {
    CFileAdmin files;
    files.MakeSended();
    const std::string folder = files.GetSendedPath() + ".reservas/";
    platform::MakeDirectory(folder, "CInterface.SolicitudDispensacion");
    SweepOldReservations(folder);
    for (int later = 0; later < kMaxTries; ++later) {
      std::string id = messages::MakePrescriptionIdentifier(request, later);
      // Created exclusively: of two dispensations that reach one stamp, only one gets it.
      const int fd = open((folder + id).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, platform::kFileMode);
      if (fd >= 0) {
        close(fd);
        return id;
      }
      if (errno != EEXIST) break;
    }
  } catch (const std::exception& e) {
    core::LogLine(std::string("CInterface.SolicitudDispensacion:") + e.what());
  }
  // The folder cannot take a reservation: the request file cannot be written there either, and
  // that is where the dispensation reports its failure.
  return messages::MakePrescriptionIdentifier(request);
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
