#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velmora::soap {

// The service description text kept in a private file of the runtime folder, so that each
// executor does not fetch it again: at a regional network's distance that fetch costs a whole
// TLS connection, about as much as the dispensation's own exchange. An entry only serves the
// address it was fetched from, and only for a bounded time; anything odd about the file (another
// address, a time in the future, a broken header) makes it a miss, never an error.
class DescriptionCache {
 public:
  explicit DescriptionCache(std::string path) : path_(std::move(path)) {}

  // The text stored for `url` while it is younger than kMaxAgeSeconds.
  std::optional<std::string> Load(const std::string& url) const;
  // Written under a temporary name and renamed (0600); a folder that refuses it costs only the
  // next fetch.
  void Store(const std::string& url, const std::string& text) const;
  void Forget() const;

  // The description in a cache file's `data` for `url` at `now` (seconds since the epoch).
  static std::optional<std::string> Read(std::string_view data, const std::string& url, long long now);

  // Long enough to spare the fetch at a busy counter, short enough that a change nobody
  // announced (one that still answers at the old address) is seen the same morning.
  static constexpr long kMaxAgeSeconds = 15 * 60;

 private:
  std::string path_;
};

}  // namespace velmora::soap
