#include "recorder.h"

#include <fcntl.h>
#include <unistd.h>

namespace velmora::sim {

std::string JsonString(const std::string& text) {
  static const char* hex = "0123456789abcdef";
  std::string out = "\"";
  for (unsigned char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          out += "\\u00";
          out += hex[c >> 4];
          out += hex[c & 15];
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

void Recorder::Record(const std::vector<std::pair<std::string, std::string>>& fields) {
  if (path_.empty()) return;
  std::string line = "{";
  for (size_t i = 0; i < fields.size(); ++i) {
    if (i) line += ",";
    line += JsonString(fields[i].first) + ":" + JsonString(fields[i].second);
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
