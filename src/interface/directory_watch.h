#pragma once

#include <chrono>
#include <string>

namespace velmora::interface {

// Wakes the response wait when anything happens in a folder (a file created, renamed into place
// or re-marked), so the wait blocks instead of spinning yet sees the executor's file at once.
// A folder that cannot be watched leaves Wait() a plain bounded sleep.
class DirectoryWatch {
 public:
  explicit DirectoryWatch(const std::string& folder);
  ~DirectoryWatch();
  DirectoryWatch(const DirectoryWatch&) = delete;
  DirectoryWatch& operator=(const DirectoryWatch&) = delete;

  // Returns when an event arrives or `limit` passes, whichever is first.
  void Wait(std::chrono::milliseconds limit);

 private:
  int fd_ = -1;
};

}  // namespace velmora::interface
