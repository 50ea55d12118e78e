#include "errors/error_map.h"

#include <cerrno>
#include <filesystem>
#include <new>
#include <system_error>

#include "errors/catalogue.h"

namespace velmora::errors {

namespace {

int32_t NumberForErrno(int err) {
  switch (err) {
    case ENOENT: return errnum::kFileNotFound;
    case ENOSPC:
    case EDQUOT: return errnum::kDiskFull;
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
    case EWOULDBLOCK: return errnum::kPermissionDenied;  // a lock another process holds: Windows' sharing violation
    case ENOTDIR: return errnum::kPathNotFound;
    default: return errnum::kPathAccess;
  }
}

Error Platform(int32_t number, const std::string& source) {
  return Error(number, source, std::string(PlatformErrorText(number)));
}

}  // namespace

Error ToError(const std::exception& e, const std::string& source) {
  if (const auto* own = dynamic_cast<const Error*>(&e)) return *own;
  if (const auto* sys = dynamic_cast<const std::system_error*>(&e))
    return Platform(NumberForErrno(sys->code().value()), source);
  if (dynamic_cast<const std::bad_alloc*>(&e)) return Platform(errnum::kOutOfMemory, source);
  if (dynamic_cast<const std::out_of_range*>(&e)) return Platform(errnum::kSubscriptOutOfRange, source);
  return Platform(errnum::kInvalidCall, source);
}

void RaiseErrno(int err, const std::string& source) { throw Platform(NumberForErrno(err), source); }

}  // namespace velmora::errors
