#include "capi/boundary.h"

#include <string>

#include "core/context.h"

namespace velmora::capi {

void NoteFailure(const char* function, const char* what) noexcept {
  try {
    core::LogLine(std::string(function) + ":" + what);
  } catch (...) {
    // The log is the only witness; when even it fails there is nowhere left to report to, and
    // the caller already has its status.
  }
}

}  // namespace velmora::capi
