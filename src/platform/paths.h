#pragma once

#include <string>

namespace velmora::platform {

// The runtime folder, absolute and ending in "/": $VELMORA_HOME when set and not empty (a relative
// one taken from the present folder), else the folder of the loaded libvelmora.so. Read at every
// call so a test can point it elsewhere.
std::string RuntimeFolder();

// The library's title: the base of velmora.ini, velmora.log, velmora.txt and velmora.pdf.
inline constexpr const char* kLibraryTitle = "velmora";

// `folder` with "/" appended unless it already ends in one.
std::string WithSlash(std::string folder);

}  // namespace velmora::platform
