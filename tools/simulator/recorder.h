#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace velmora::sim {

// Appends one JSON object per received request to a file (JSON Lines), so a test or a developer
// can see exactly what reached the service. Each line is written and flushed before the answer
// goes out: whoever has the answer can read the line.
class Recorder {
 public:
  explicit Recorder(std::string path) : path_(std::move(path)) {}

  // Fields are written in the given order, all as JSON strings.
  void Record(const std::vector<std::pair<std::string, std::string>>& fields);

 private:
  std::mutex mutex_;
  std::string path_;
};

}  // namespace velmora::sim
