#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "velmora/error.h"

namespace velmora::cli {

// What the command line writes to the terminal lives in the library's one table of texts (keys
// "cli.*", pinned with the library's own by tests/errors), read through the exported
// CatalogueText: the tool links the shared library's public surface only, never its insides.
inline std::string Say(std::string_view key, std::initializer_list<std::string_view> args = {}) {
  return CatalogueText(key, args);
}

}  // namespace velmora::cli
