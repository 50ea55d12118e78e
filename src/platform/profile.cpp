#include "platform/profile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <vector>

#include "platform/files.h"
#include "platform/text.h"
#include "velmora/error.h"

namespace velmora::platform {

namespace {

struct Line {
  std::string text;        // bytes of the line, without its end
  std::string terminator;  // "\r\n", "\n", "\r" or "" for a last line without one
};

std::vector<Line> SplitLines(const std::string& data) {
  std::vector<Line> lines;
  size_t i = 0;
  // Files saved by Linux editors may start with a byte order mark; it is not part of line 1.
  if (data.compare(0, 3, "\xEF\xBB\xBF") == 0) i = 3;
  while (i < data.size()) {
    size_t j = i;
    while (j < data.size() && data[j] != '\r' && data[j] != '\n') ++j;
    Line line{data.substr(i, j - i), {}};
    if (j < data.size()) {
      if (data[j] == '\r' && j + 1 < data.size() && data[j + 1] == '\n') {
        line.terminator = "\r\n";
        j += 2;
      } else {
        line.terminator = std::string(1, data[j]);
        ++j;
      }
    }
    lines.push_back(std::move(line));
    i = j;
  }
  return lines;
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\v'; }

std::string_view TrimWhite(std::string_view s) {
  size_t b = 0, e = s.size();
  while (b < e && IsSpace(s[b])) ++b;
  while (e > b && IsSpace(s[e - 1])) --e;
  return s.substr(b, e - b);
}

std::string TrimSpaces(std::string_view s) { return Trim(s); }

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y + 32);
    if (x != y) return false;
  }
  return true;
}

// The text of a line as UTF-8: lines brought from Windows are Windows-1252.
std::string Decoded(const std::string& raw) { return IsValidUtf8(raw) ? raw : Cp1252ToUtf8(raw); }

// The section name when the line is a header: "[" after optional blanks, the name up to the
// first "]" (or the line's end), blanks inside the brackets ignored.
std::optional<std::string> HeaderName(const std::string& text) {
  const std::string_view t = TrimWhite(text);
  if (t.empty() || t[0] != '[') return std::nullopt;
  const size_t close = t.find(']');
  return std::string(TrimWhite(t.substr(1, close == std::string_view::npos ? std::string_view::npos : close - 1)));
}

bool IsComment(const std::string& text) {
  const std::string_view t = TrimWhite(text);
  return !t.empty() && t[0] == ';';
}

// The key of a key line (text before the first "=", blanks trimmed); nullopt for other lines.
std::optional<std::string> KeyName(const std::string& text) {
  if (IsComment(text) || HeaderName(text)) return std::nullopt;
  const size_t eq = text.find('=');
  if (eq == std::string::npos) return std::nullopt;
  return std::string(TrimWhite(std::string_view(text).substr(0, eq)));
}

std::string ValueOf(const std::string& text) {
  std::string_view v = TrimWhite(std::string_view(text).substr(text.find('=') + 1));
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front()) v = v.substr(1, v.size() - 2);
  return std::string(v);
}

struct Location {
  long header = -1;    // index of the first matching header
  long end = -1;       // one past the section's last line
  long key = -1;       // index of the first matching key line
  long lastKey = -1;   // the section's last key line
};

Location Find(const std::vector<Line>& lines, const std::string& section, const std::string& key) {
  Location loc;
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string text = Decoded(lines[i].text);
    if (auto name = HeaderName(text)) {
      if (loc.header >= 0) {
        loc.end = static_cast<long>(i);
        break;
      }
      if (EqualsNoCase(*name, section)) loc.header = static_cast<long>(i);
      continue;
    }
    if (loc.header < 0) continue;
    if (auto name = KeyName(text)) {
      loc.lastKey = static_cast<long>(i);
      if (loc.key < 0 && !key.empty() && EqualsNoCase(*name, key)) loc.key = static_cast<long>(i);
    }
  }
  if (loc.header >= 0 && loc.end < 0) loc.end = static_cast<long>(lines.size());
  return loc;
}

std::optional<std::string> Lookup(const std::string& data, const std::string& section, const std::string& key) {
  if (key.empty()) return std::nullopt;
  const auto lines = SplitLines(data);
  const Location loc = Find(lines, section, key);
  if (loc.key < 0) return std::nullopt;
  return ValueOf(Decoded(lines[static_cast<size_t>(loc.key)].text));
}

std::string Join(const std::vector<Line>& lines) {
  std::string out;
  for (const auto& l : lines) out += l.text + l.terminator;
  return out;
}

// Serialises writers of one folder: whole-file rewrites of two processes must not interleave.
class FolderLock {
 public:
  explicit FolderLock(const std::string& file) {
    const auto slash = file.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : file.substr(0, slash + 1);
    fd_ = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd_ >= 0)
      while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
      }
  }
  ~FolderLock() {
    if (fd_ >= 0) close(fd_);  // closing releases the lock
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

std::string Apply(const std::string& data, const std::string& section, const std::string& key,
                  const std::optional<std::string>& value) {
  auto lines = SplitLines(data);
  const Location loc = Find(lines, section, key);
  if (loc.header < 0) {
    if (!value) return data;
    std::string out = data;
    if (!out.empty() && out.back() != '\n' && out.back() != '\r') out += "\r\n";
    return out + "[" + section + "]\r\n" + key + "=" + *value + "\r\n";
  }
  if (loc.key >= 0) {
    auto& line = lines[static_cast<size_t>(loc.key)];
    if (!value) {
      lines.erase(lines.begin() + loc.key);
    } else {
      // The file's own spelling of the key stays; only the value changes.
      const std::string_view original = TrimWhite(std::string_view(line.text).substr(0, line.text.find('=')));
      line.text = std::string(original) + "=" + *value;
      line.terminator = "\r\n";
    }
    return Join(lines);
  }
  if (!value) return data;
  // A new key goes after the section's last key line, before trailing comments and blanks.
  const long after = loc.lastKey >= 0 ? loc.lastKey : loc.header;
  auto& previous = lines[static_cast<size_t>(after)];
  if (previous.terminator.empty()) previous.terminator = "\r\n";
  lines.insert(lines.begin() + after + 1, Line{key + "=" + *value, "\r\n"});
  return Join(lines);
}

bool Rewrite(const std::string& file, const std::string& section, const std::string& key, bool nulloptDeletes,
             const std::function<std::optional<std::string>(const std::optional<std::string>&)>& update) {
  const std::string sec = TrimSpaces(section);
  const std::string k = TrimSpaces(key);
  FolderLock lock(file);
  if (!lock.Held()) return false;
  const auto data = ReadWholeFile(file);
  const std::optional<std::string> current = data ? Lookup(*data, sec, k) : std::nullopt;
  const std::optional<std::string> next = update(current);
  if (!next && (!current || !nulloptDeletes)) return true;
  const std::string updated = Apply(data.value_or(std::string()), sec, k, next);
  try {
    WriteFileAtomic(file, updated, "WritePrivateProfileString");
  } catch (const Error&) {
    return false;
  }
  return true;
}

}  // namespace

std::string ReadProfileString(const std::string& file, const std::string& section, const std::string& key,
                              const std::string& defaultValue, size_t bufferSize) {
  std::string value;
  const auto data = ReadWholeFile(file);
  std::optional<std::string> found;
  if (data) found = Lookup(*data, TrimSpaces(section), TrimSpaces(key));
  if (found) {
    value = std::move(*found);
  } else {
    value = defaultValue;
    while (!value.empty() && value.back() == ' ') value.pop_back();
  }
  if (bufferSize == 0) return {};
  // At most bufferSize - 1 characters, never cutting a UTF-8 sequence.
  size_t chars = 0, i = 0;
  while (i < value.size()) {
    if (chars == bufferSize - 1) {
      value.resize(i);
      break;
    }
    ++i;
    while (i < value.size() && (static_cast<unsigned char>(value[i]) & 0xC0) == 0x80) ++i;
    ++chars;
  }
  return value;
}

bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::optional<std::string>& value) {
  return Rewrite(file, section, key, true, [&](const std::optional<std::string>&) { return value; });
}

bool WriteProfileStrings(const std::string& file, const std::string& section,
                         const std::vector<std::pair<std::string, std::string>>& keys) {
  const std::string sec = TrimSpaces(section);
  FolderLock lock(file);
  if (!lock.Held()) return false;
  std::string data = ReadWholeFile(file).value_or(std::string());
  for (const auto& [key, value] : keys) data = Apply(data, sec, TrimSpaces(key), value);
  try {
    WriteFileAtomic(file, data, "WritePrivateProfileString");
  } catch (const Error&) {
    return false;
  }
  return true;
}

bool UpdateProfileString(const std::string& file, const std::string& section, const std::string& key,
                         const std::function<std::optional<std::string>(const std::optional<std::string>&)>& update) {
  return Rewrite(file, section, key, false, update);
}

}  // namespace velmora::platform
