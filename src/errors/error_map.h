#pragma once

#include <exception>
#include <string>

#include "velmora/error.h"

namespace velmora::errors {

// Turns any exception a handler catches into the library's error: velmora::Error as it is,
// a system error into the platform number that VB gave the same failure (53, 61, 70, 75, 76),
// bad_alloc into 7 and anything else into 5.
Error ToError(const std::exception& e, const std::string& source);

// Raises the platform error that matches errno value `err`.
[[noreturn]] void RaiseErrno(int err, const std::string& source);

}  // namespace velmora::errors
