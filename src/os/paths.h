#pragma once

#include <functional>
#include <string>

namespace velmora::os {

// The runtime folder, absolute and ending in "/": $VELMORA_HOME when set and not empty (a relative
// one taken from the present folder), else the folder of the loaded libvelmora.so. Read at every
// call so a test can point it elsewhere.
std::string RuntimeFolder();

// The library's title: the base of velmora.ini, velmora.log, velmora.txt and velmora.pdf.
inline constexpr const char* kLibraryTitle = "velmora";

// `folder` with "/" appended unless it already ends in one.
std::string WithSlash(std::string folder);

// The program a bare name stands for, looked up along $PATH (or the shell's default path when
// PATH is unset) as a shell would: the first executable regular file of that name. A name with
// a "/" is taken as it is. Empty when nothing runnable is found.
std::string FindProgram(const std::string& name);

// The home folder of the account running the process, from the password database; empty when
// the account has none there. Used when the environment names no home (a till started as a
// service). A test can pin it with SetAccountHomeForTesting; an empty function restores the
// database.
std::string AccountHome();
void SetAccountHomeForTesting(std::function<std::string()> home);

}  // namespace velmora::os
