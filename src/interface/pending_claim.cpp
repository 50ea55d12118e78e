#include "interface/pending_claim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace velmora::interface {

PendingClaim::PendingClaim(const std::string& copyPath) {
  fd_ = open(copyPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (fd_ < 0) return;
  if (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
    result_ = errno == EWOULDBLOCK ? kBusy : kGone;
    return;
  }
  // Still the file under that name: another process may have confirmed it (and removed it)
  // between our open and our lock.
  struct stat named {};
  if (fstat(fd_, &copy_) == 0 && S_ISREG(copy_.st_mode) && stat(copyPath.c_str(), &named) == 0 &&
      named.st_ino == copy_.st_ino && named.st_dev == copy_.st_dev)
    result_ = kHeld;
}

PendingClaim::~PendingClaim() {
  if (fd_ >= 0) close(fd_);
}

}  // namespace velmora::interface
