#pragma once

#include <string>

#include "os/file_io.h"

namespace velmora::interface {

// One process's hold on a pending dispensation while it re-sends or acknowledges it: an
// exclusive flock on the copy itself, taken without waiting (the holder is doing the work, there
// is nothing to wait for) and released when the object goes, also when the process dies. The
// copy is removed while held, so a process that opened it just before sees it gone.
class PendingClaim {
 public:
  enum Outcome { kHeld, kBusy, kGone };

  explicit PendingClaim(const std::string& copyPath);
  PendingClaim(const PendingClaim&) = delete;
  PendingClaim& operator=(const PendingClaim&) = delete;

  Outcome Result() const { return result_; }
  const os::FileStatus& Copy() const { return copy_; }  // the held copy's status

 private:
  os::Descriptor held_;
  Outcome result_ = kGone;
  os::FileStatus copy_;
};

}  // namespace velmora::interface
