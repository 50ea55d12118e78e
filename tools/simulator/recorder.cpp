#include "recorder.h"

#include <fcntl.h>
#include <unistd.h>

#include "json.h"

namespace velmora::sim {

void Recorder::Record(const std::vector<std::pair<std::string, std::string>>& fields) {
  if (path_.empty()) return;
  std::string line = "{";
  for (size_t i = 0; i < fields.size(); ++i) {
    if (i) line += ",";
    line += cli::Quoted(fields[i].first) + ":" + cli::Quoted(fields[i].second);
  }
  line += "}\n";
  std::lock_guard lock(mutex_);
  int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (fd < 0) return;
  size_t done = 0;
  while (done < line.size()) {
    ssize_t n = ::write(fd, line.data() + done, line.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  ::close(fd);
}

}  // namespace velmora::sim
