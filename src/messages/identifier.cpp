#include "messages/identifier.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "os/clock.h"
#include "os/file_io.h"
#include "os/files.h"
#include "vbcompat/text.h"

namespace velmora::messages {

namespace {

void TwoDigits(std::string& out, int value) {
  value %= 100;
  out += static_cast<char>('0' + value / 10);
  out += static_cast<char>('0' + value % 10);
}

// The calendar arithmetic of timegm, with no time zone in the way: only the fields move on.
os::LocalTime SecondsLater(const os::LocalTime& t, int seconds) {
  if (seconds == 0) return t;
  std::tm tm{};
  tm.tm_year = t.year - 1900;
  tm.tm_mon = t.month - 1;
  tm.tm_mday = t.day;
  tm.tm_hour = t.hour;
  tm.tm_min = t.minute;
  tm.tm_sec = t.second + seconds;
  const std::time_t moved = timegm(&tm);
  gmtime_r(&moved, &tm);
  return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

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

std::string MakePrescriptionIdentifier(const CPeticionDispensacion& request, int laterSeconds) {
  const os::LocalTime now = SecondsLater(os::Now(), laterSeconds);
  std::string id = "ITP";
  id += request.IdFarmacia;
  id += request.IdProvincia;
  id += request.IdFarmacia;
  id += request.IdUsuario;
  id += request.Tis;
  TwoDigits(id, now.year);
  TwoDigits(id, now.month);
  TwoDigits(id, now.day);
  TwoDigits(id, now.hour);
  TwoDigits(id, now.minute);
  TwoDigits(id, now.second);
  return id;
}

std::string ReserveGeneratedIdentifier(const CPeticionDispensacion& request) {
  constexpr int kMaxTries = 3600;
  std::optional<std::string> reserved;
  // Logged only, never recorded in Errores: without a reservation the dispensation still goes
  // on, and fails (or not) where its request file is written.
  core::Caught(
      [&] {
        CFileAdmin files;
        files.MakeSended();
        const std::string folder = files.GetSendedPath() + core::layout::kReservationsFolder;
        os::MakeDirectory(folder, "CInterface.SolicitudDispensacion");
        SweepOldReservations(folder);
        for (int later = 0; later < kMaxTries; ++later) {
          std::string id = MakePrescriptionIdentifier(request, later);
          // Created exclusively: of two dispensations that reach one stamp, only one gets it.
          if (os::ExclusiveCreate(folder + id)) {
            reserved = std::move(id);
            return;
          }
          if (errno != EEXIST) break;
        }
      },
      [](const std::exception& e) { core::LogLine(std::string("CInterface.SolicitudDispensacion:") + e.what()); });
  if (reserved) return *reserved;
  // The folder cannot take a reservation: the request file cannot be written there either, and
  // that is where the dispensation reports its failure.
  return MakePrescriptionIdentifier(request);
}

bool IsUsableIdentifier(std::string_view id) {
  // 255 bytes make a file name; the batch's "MD__" and the ".xml" come on top.
  constexpr size_t kMaxBytes = 255 - core::layout::kBatchPrefix.size() - core::layout::kMessageExtension.size();
  if (id.empty() || id.size() > kMaxBytes || id == "." || id == ".." || !vb::IsValidUtf8(id)) return false;
  for (unsigned char c : id)
    if (c < 0x20 || c == 0x7F || c == '/' || c == '[' || c == ']') return false;
  return true;
}

}  // namespace velmora::messages
