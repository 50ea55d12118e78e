#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "os/clock.h"

namespace velmora::testing {

// The moment every test that reads stamps sees, unless it names another.
inline constexpr os::LocalTime kFixedTime{2024, 2, 3, 9, 5, 7};

// Pins the library's clock at `at` for the life of the object.
class FixedClock {
 public:
  explicit FixedClock(os::LocalTime at = kFixedTime) { Set(at); }
  ~FixedClock() { os::SetClockForTesting({}); }
  FixedClock(const FixedClock&) = delete;
  FixedClock& operator=(const FixedClock&) = delete;
  void Set(os::LocalTime at) const { os::SetClockForTesting([at] { return at; }); }
};

// A whole file, empty when missing.
std::string ReadFile(const std::string& path);
// A new private folder "<tag>-XXXXXX" in the temporary folder; the name ends in "/".
std::string MakeTempFolder(const std::string& tag);

// A private runtime folder for one test: a fresh temporary directory that VELMORA_HOME points
// at while the object lives, with the working folders and a velmora.ini. Removed afterwards.
class RuntimeFolder {
 public:
  // `ini` is written as velmora.ini (CR LF line ends) unless empty; DefaultIni() is a complete
  // configuration with the log on, the trace off and audit on.
  explicit RuntimeFolder(const std::string& ini = DefaultIni(), bool makeWorkingFolders = true);
  ~RuntimeFolder();
  RuntimeFolder(const RuntimeFolder&) = delete;
  RuntimeFolder& operator=(const RuntimeFolder&) = delete;

  const std::string& Root() const { return root_; }  // ends in "/"
  std::string Path(const std::string& relative) const { return root_ + relative; }
  std::string Read(const std::string& relative) const { return ReadFile(Path(relative)); }
  void Write(const std::string& relative, const std::string& content) const;

  // The ini text built from sections; values written as given.
  static std::string DefaultIni();
  static std::string MakeIni(const std::vector<std::pair<std::string, std::vector<std::pair<std::string, std::string>>>>& sections);

 private:
  std::string root_;
  std::string previousHome_;
  bool hadHome_ = false;
};

// DefaultIni() with `key` (every key of it is unique) set to `value`.
std::string IniWith(const std::string& key, const std::string& value);

// Waits until `condition` holds or `limit` passes, checking every few milliseconds.
bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit);

// Another process that holds the folder locks of `folders` (flock) until the result goes.
std::shared_ptr<void> HoldFolderLocks(const std::vector<std::string>& folders);

// Splits text into lines at "\r\n".
std::vector<std::string> Lines(const std::string& text);

// The one rule for log and trace files (velmora.log, velmora.txt): `line` is there when some
// line of `text` equals it, either whole or once the date stamp the line starts with
// ("yyyy/mm/dd hh:mm:ss ") is taken off. A test that cares about the stamp writes it; one that
// cannot know how a line ends (another program's message, a port) ends `line` with "*".
bool HasLine(const std::string& text, const std::string& line);

// The Error number `action` raises (its text into `text` when given); 0 when it raises nothing.
int32_t ErrorNumber(const std::function<void()>& action, std::string* text = nullptr);

}  // namespace velmora::testing
