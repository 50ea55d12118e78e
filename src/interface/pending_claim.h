#pragma once

#include <sys/stat.h>

#include <string>

namespace velmora::interface {

// One process's hold on a pending dispensation while it re-sends or acknowledges it: an
// exclusive flock on the copy itself, taken without waiting (the holder is doing the work, there
// is nothing to wait for) and released when the object goes, also when the process dies. The
// copy is removed while held, so a process that opened it just before sees it gone.
class PendingClaim {
 public:
  enum Outcome { kHeld, kBusy, kGone };

  explicit PendingClaim(const std::string& copyPath);
  ~PendingClaim();
  PendingClaim(const PendingClaim&) = delete;
  PendingClaim& operator=(const PendingClaim&) = delete;

  Outcome Result() const { return result_; }
  const struct stat& Copy() const { return copy_; }  // the held copy's stat

 private:
  int fd_ = -1;
  Outcome result_ = kGone;
  struct stat copy_ {};
};

}  // namespace velmora::interface
