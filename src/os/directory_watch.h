#pragma once

#include <chrono>
#include <string>

namespace velmora::os {

// Wakes the response wait when anything happens in a folder (a file created, renamed into place
// or re-marked), so the wait blocks instead of spinning yet sees the executor's file at once.
// A folder that cannot be watched leaves Wait() a plain bounded sleep.
//
// The inotify descriptor is the thread's, made once and kept: closing one makes the kernel wait
// for every reader of its events to finish, which cost each dispensation several milliseconds
// after its answer had already arrived.
class DirectoryWatch {
 public:
  explicit DirectoryWatch(const std::string& folder);
  DirectoryWatch(const DirectoryWatch&) = delete;
  DirectoryWatch& operator=(const DirectoryWatch&) = delete;

  // Returns when an event arrives or `limit` passes, whichever is first.
  void Wait(std::chrono::milliseconds limit);

 private:
  int fd_ = -1;
};

}  // namespace velmora::os
