#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velmora::testing {

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
  std::string Read(const std::string& relative) const;  // whole file, empty when missing
  void Write(const std::string& relative, const std::string& content) const;

  // The ini text built from sections; values written as given.
  static std::string DefaultIni();
  static std::string MakeIni(const std::vector<std::pair<std::string, std::vector<std::pair<std::string, std::string>>>>& sections);

 private:
  std::string root_;
  std::string previousHome_;
  bool hadHome_ = false;
};

// Waits until `condition` holds or `limit` passes, checking every few milliseconds.
bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit);

// Another process that holds the folder locks of `folders` (flock) until the result goes.
std::shared_ptr<void> HoldFolderLocks(const std::vector<std::string>& folders);

// Splits text into lines at "\r\n".
std::vector<std::string> Lines(const std::string& text);

}  // namespace velmora::testing
