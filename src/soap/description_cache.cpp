#include "soap/description_cache.h"

#include <charconv>
#include <ctime>

#include "os/file_io.h"
#include "os/files.h"
#include "velmora/error.h"

namespace velmora::soap {

namespace {

// First line of the file; a file written by another layout is a miss.
constexpr std::string_view kMagic = "velmora-service-description 1\n";

}  // namespace

std::optional<std::string> DescriptionCache::Load(const std::string& url) const {
  if (path_.empty()) return std::nullopt;
  std::optional<std::string> data = os::ReadWholeFile(path_);
  if (!data) return std::nullopt;
  return Read(*data, url, static_cast<long long>(std::time(nullptr)));
}

std::optional<std::string> DescriptionCache::Read(std::string_view data, const std::string& url, long long now) {
  // "<magic><url>\n<seconds since the epoch>\n<description>"
  if (data.substr(0, kMagic.size()) != kMagic) return std::nullopt;
  data.remove_prefix(kMagic.size());
  const size_t urlEnd = data.find('\n');
  if (urlEnd == std::string_view::npos || data.substr(0, urlEnd) != url) return std::nullopt;
  data.remove_prefix(urlEnd + 1);
  const size_t timeEnd = data.find('\n');
  if (timeEnd == std::string_view::npos) return std::nullopt;
  long long stored = 0;
  const char* last = data.data() + timeEnd;
  if (auto [end, ec] = std::from_chars(data.data(), last, stored); ec != std::errc() || end != last) return std::nullopt;
  const long long age = now - stored;
  if (age < 0 || age > kMaxAgeSeconds) return std::nullopt;
  return std::string(data.substr(timeEnd + 1));
}

void DescriptionCache::Store(const std::string& url, const std::string& text) const {
  if (path_.empty() || url.find('\n') != std::string::npos) return;
  std::string data(kMagic);
  data += url + "\n" + std::to_string(static_cast<long long>(std::time(nullptr))) + "\n" + text;
  try {
    os::WriteFileAtomic(path_, data, "SoapClient.mssoapinit");
  } catch (const Error&) {
    // Only a saving missed: the next executor fetches the description itself.
  }
}

void DescriptionCache::Forget() const {
  if (!path_.empty()) os::RemoveFile(path_);
}

}  // namespace velmora::soap
