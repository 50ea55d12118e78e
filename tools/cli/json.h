#pragma once

#include <string>

namespace velmora::cli {

// A JSON string: quotes, backslashes and control characters escaped; UTF-8 passes as it is.
std::string Quoted(const std::string& s);

}  // namespace velmora::cli
