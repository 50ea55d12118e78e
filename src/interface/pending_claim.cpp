#include "interface/pending_claim.h"

namespace velmora::interface {

PendingClaim::PendingClaim(const std::string& copyPath) {
  const os::TryLockResult lock = os::TryLockFile(copyPath, held_);
  if (lock != os::TryLockResult::kLocked) {
    if (lock == os::TryLockResult::kBusy) result_ = kBusy;
    return;
  }
  // Still the file under that name: another process may have confirmed it (and removed it)
  // between our open and our lock.
  const auto held = os::StatusOf(held_.get());
  const auto named = os::StatusOf(copyPath);
  if (held && held->regular && named && named->inode == held->inode && named->device == held->device) {
    copy_ = *held;
    result_ = kHeld;
  }
}

}  // namespace velmora::interface
