#include "platform/profile_trail_queue.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "platform/files.h"

namespace velmora::platform {

namespace {

constexpr char kMagic[8] = {'V', 'L', 'M', 'T', 'Q', 'U', 'E', '1'};
constexpr std::string_view kMarker = ".queue-";

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
  std::snprintf(suffix, sizeof suffix, "%020lld-%d-%llu", static_cast<long long>(now), static_cast<int>(getpid()),
                static_cast<unsigned long long>(count++));
  return FolderOf(file) + "." + BaseName(file) + std::string(kMarker) + suffix;
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
  try {
    WriteFileAtomic(NextName(file), EncodeTrailChange(section, keys), "CAuditor.Save");
  } catch (const std::exception&) {
    if (errno == 0) errno = EIO;
    return false;
  }
  return true;
}

std::vector<QueuedTrailChange> QueuedTrailChanges(const std::string& file) {
  const std::string prefix = "." + BaseName(file) + std::string(kMarker);
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(FolderOf(file), ec)) {
    const std::string name = entry.path().filename().string();
    if (name.compare(0, prefix.size(), prefix) == 0) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  std::vector<QueuedTrailChange> changes;
  for (const auto& name : names) {
    QueuedTrailChange change;
    change.path = FolderOf(file) + name;
    const auto bytes = ReadWholeFile(change.path);
    if (bytes && DecodeTrailChange(*bytes, change)) changes.push_back(std::move(change));
  }
  return changes;
}

std::optional<std::string> TrailOfQueuedChange(std::string_view name) {
  const auto at = name.find(kMarker);
  if (name.empty() || name[0] != '.' || at == std::string_view::npos || at < 2 || IsTemporaryName(name))
    return std::nullopt;
  return std::string(name.substr(1, at - 1));
}

}  // namespace velmora::platform
