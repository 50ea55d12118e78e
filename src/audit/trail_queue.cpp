#include "audit/trail_queue.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "core/boundary.h"
#include "core/layout.h"
#include "os/files.h"
#include "os/process.h"

namespace velmora::audit {

namespace {

constexpr char kMagic[8] = {'V', 'L', 'M', 'T', 'Q', 'U', 'E', '1'};

std::string BaseName(const std::string& file) {
  const auto slash = file.rfind('/');
  return slash == std::string::npos ? file : file.substr(slash + 1);
}

void PutText(std::string& out, std::string_view text) {
  const uint64_t size = text.size();
  out.append(reinterpret_cast<const char*>(&size), sizeof size);
  out += text;
}

bool TakeText(std::string_view& in, std::string& text) {
  uint64_t size = 0;
  if (in.size() < sizeof size) return false;
  std::memcpy(&size, in.data(), sizeof size);
  in.remove_prefix(sizeof size);
  if (size > in.size()) return false;
  text.assign(in.substr(0, size));
  in.remove_prefix(size);
  return true;
}

constexpr std::string_view kFolder = core::layout::kTrailQueueFolder;
constexpr size_t kTimeDigits = 20;

// Names sort in the order the changes were made: the clock, never allowed to step back within a
// process, then the process and its own count.
std::string NextName(const std::string& file) {
  static std::atomic<int64_t> last{0};
  static std::atomic<uint64_t> count{0};
  int64_t now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                    std::chrono::system_clock::now().time_since_epoch())
                    .count();
  int64_t seen = last.load();
  while (!last.compare_exchange_weak(seen, std::max(now, seen + 1))) {
  }
  now = std::max(now, seen + 1);
  char suffix[64];
  std::snprintf(suffix, sizeof suffix, "-%0*lld-%d-%llu", static_cast<int>(kTimeDigits), static_cast<long long>(now),
                os::ProcessId(), static_cast<unsigned long long>(count++));
  return TrailQueueFolder(os::FolderOf(file)) + BaseName(file) + suffix;
}

}  // namespace

std::string EncodeTrailChange(const std::string& section, const TrailKeys& keys) {
  std::string bytes(kMagic, sizeof kMagic);
  PutText(bytes, section);
  for (const auto& [key, value] : keys) {
    PutText(bytes, key);
    PutText(bytes, value);
  }
  return bytes;
}

bool DecodeTrailChange(std::string_view in, QueuedTrailChange& change) {
  if (in.size() < sizeof kMagic || in.compare(0, sizeof kMagic, std::string_view(kMagic, sizeof kMagic)) != 0)
    return false;
  in.remove_prefix(sizeof kMagic);
  if (!TakeText(in, change.section)) return false;
  while (!in.empty()) {
    std::pair<std::string, std::string> key;
    if (!TakeText(in, key.first) || !TakeText(in, key.second)) return false;
    change.keys.push_back(std::move(key));
  }
  return true;
}

bool QueueTrailChange(const std::string& file, const std::string& section, const TrailKeys& keys) {
  // Reported as every trail write is: false, with errno saying why.
  return core::Caught(
      [&] {
        os::MakeDirectory(TrailQueueFolder(os::FolderOf(file)), "CAuditor.Save");
        os::WriteFileAtomic(NextName(file), EncodeTrailChange(section, keys), "CAuditor.Save");
      },
      [](const std::exception&) {
        if (errno == 0) errno = EIO;
      });
}

std::vector<QueuedTrailChange> QueuedTrailChanges(const std::string& file) {
  const std::string folder = TrailQueueFolder(os::FolderOf(file));
  std::vector<std::string> paths;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    const std::string path = entry.path().string();
    if (TrailOfQueuedChange(path) == file) paths.push_back(path);
  }
  std::sort(paths.begin(), paths.end());
  std::vector<QueuedTrailChange> changes;
  for (const auto& path : paths) {
    QueuedTrailChange change;
    change.path = path;
    const auto bytes = os::ReadWholeFile(path);
    if (bytes && DecodeTrailChange(*bytes, change)) changes.push_back(std::move(change));
  }
  return changes;
}

std::string TrailQueueFolder(const std::string& folder) { return folder + std::string(kFolder); }

std::optional<std::string> TrailOfQueuedChange(const std::string& path) {
  const std::string name = BaseName(path), folder = os::FolderOf(path);
  if (folder.size() < kFolder.size() || folder.compare(folder.size() - kFolder.size(), kFolder.size(), kFolder) != 0 ||
      core::layout::IsTemporaryName(name))
    return std::nullopt;
  // "<trail>-<time>-<pid>-<n>": the time is the first run of its digits after a '-' that is
  // followed by two more '-' parts.
  size_t dash = name.rfind('-');
  for (int part = 0; part < 2 && dash != std::string::npos && dash > 0; ++part) dash = name.rfind('-', dash - 1);
  if (dash == std::string::npos || dash == 0 || name.size() < dash + 1 + kTimeDigits ||
      !std::all_of(name.begin() + static_cast<std::ptrdiff_t>(dash) + 1,
                   name.begin() + static_cast<std::ptrdiff_t>(dash + 1 + kTimeDigits),
                   [](char c) { return c >= '0' && c <= '9'; }))
    return std::nullopt;
  return folder.substr(0, folder.size() - kFolder.size()) + name.substr(0, dash);
}

}  // namespace velmora::audit
