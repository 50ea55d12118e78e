#include "ini/profile_rules.h"

#include <cstdint>

#include "vbcompat/text.h"

namespace velmora::ini {

namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\v'; }

std::string_view TrimWhite(std::string_view s) {
  size_t b = 0, e = s.size();
  while (b < e && IsSpace(s[b])) ++b;
  while (e > b && IsSpace(s[e - 1])) --e;
  return s.substr(b, e - b);
}

// The text of a line as UTF-8: lines brought from Windows are Windows-1252.
std::string Decoded(std::string_view raw) { return vb::IsValidUtf8(raw) ? std::string(raw) : vb::Cp1252ToUtf8(raw); }

// Simple upper case of one character, as the Windows name comparison applies it: Latin-1,
// Latin Extended-A, Greek and Cyrillic letters besides ASCII.
uint32_t Upper(uint32_t c) {
  if (c >= 'a' && c <= 'z') return c - 32;
  if (c < 0xB5) return c;
  if (c == 0xB5) return 0x39C;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
  if (c == 0xFF) return 0x178;
  if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x17F) {
    const bool oddIsLower = (c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177);
    if (oddIsLower) return (c & 1) ? c - 1 : c;
    if (c == 0x178) return c;
    return (c & 1) ? c : c - 1;  // 0x139..0x148 and 0x179..0x17E: the lower case is even
  }
  if (c >= 0x3B1 && c <= 0x3C9) return c == 0x3C2 ? 0x3A3 : c - 32;
  if (c >= 0x430 && c <= 0x44F) return c - 32;
  if (c >= 0x450 && c <= 0x45F) return c - 80;
  return c;
}

void AppendUtf8(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

bool IsComment(std::string_view text) {
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
  long header = -1;   // index of the first matching header
  long end = -1;      // one past the section's last line
  long key = -1;      // index of the first matching key line
  long lastKey = -1;  // the section's last key line
};

Location Find(const std::vector<Line>& lines, const std::string& section, const std::string& key) {
  Location loc;
  const std::string wantedSection = FoldedName(section);
  const std::string wantedKey = FoldedName(key);
  for (size_t i = 0; i < lines.size(); ++i) {
    if (auto name = HeaderName(lines[i].text)) {
      if (loc.header >= 0) {
        loc.end = static_cast<long>(i);
        break;
      }
      if (FoldedName(*name) == wantedSection) loc.header = static_cast<long>(i);
      continue;
    }
    if (loc.header < 0) continue;
    if (auto name = KeyName(Decoded(lines[i].text))) {
      loc.lastKey = static_cast<long>(i);
      if (loc.key < 0 && !key.empty() && FoldedName(*name) == wantedKey) loc.key = static_cast<long>(i);
    }
  }
  if (loc.header >= 0 && loc.end < 0) loc.end = static_cast<long>(lines.size());
  return loc;
}

}  // namespace

Lines SplitLines(std::string_view data) {
  Lines result;
  size_t i = 0;
  // Files saved by Linux editors may start with a byte order mark; it is not part of line 1.
  if (data.substr(0, 3) == kBom) {
    result.bom = kBom;
    i = 3;
  }
  while (i < data.size()) {
    size_t j = i;
    while (j < data.size() && data[j] != '\r' && data[j] != '\n') ++j;
    Line line{std::string(data.substr(i, j - i)), {}};
    if (j < data.size()) {
      if (data[j] == '\r' && j + 1 < data.size() && data[j + 1] == '\n') {
        line.terminator = "\r\n";
        j += 2;
      } else {
        line.terminator = std::string(1, data[j]);
        ++j;
      }
    }
    result.lines.push_back(std::move(line));
    i = j;
  }
  return result;
}

std::string Join(const Lines& lines) {
  std::string out = lines.bom;
  for (const auto& l : lines.lines) out += l.text + l.terminator;
  return out;
}

std::optional<std::string> HeaderName(std::string_view rawLine) {
  const std::string_view first = TrimWhite(rawLine);
  if (first.empty() || first[0] != '[') return std::nullopt;
  const std::string text = Decoded(rawLine);
  const std::string_view t = TrimWhite(text);
  const size_t close = t.find(']');
  return std::string(TrimWhite(t.substr(1, close == std::string_view::npos ? std::string_view::npos : close - 1)));
}

std::string FoldedName(std::string_view name) {
  std::string out;
  out.reserve(name.size());
  for (size_t i = 0; i < name.size();) {
    const auto b = static_cast<unsigned char>(name[i]);
    uint32_t c = b;
    size_t n = 1;
    if (b >= 0xF0 && i + 3 < name.size()) {
      c = (b & 0x07u) << 18 | (name[i + 1] & 0x3Fu) << 12 | (name[i + 2] & 0x3Fu) << 6 | (name[i + 3] & 0x3Fu);
      n = 4;
    } else if (b >= 0xE0 && i + 2 < name.size()) {
      c = (b & 0x0Fu) << 12 | (name[i + 1] & 0x3Fu) << 6 | (name[i + 2] & 0x3Fu);
      n = 3;
    } else if (b >= 0xC0 && i + 1 < name.size()) {
      c = (b & 0x1Fu) << 6 | (name[i + 1] & 0x3Fu);
      n = 2;
    }
    if (n == 1 && b >= 0x80) {
      out += name[i];  // not UTF-8: compared byte for byte
    } else {
      AppendUtf8(out, Upper(c));
    }
    i += n;
  }
  return out;
}

bool SameName(std::string_view a, std::string_view b) { return FoldedName(a) == FoldedName(b); }

std::optional<std::string> Lookup(std::string_view data, const std::string& section, const std::string& key) {
  if (key.empty()) return std::nullopt;
  const auto split = SplitLines(data);
  const Location loc = Find(split.lines, section, key);
  if (loc.key < 0) return std::nullopt;
  return ValueOf(Decoded(split.lines[static_cast<size_t>(loc.key)].text));
}

std::string Apply(std::string_view data, const std::string& section, const std::string& key,
                  const std::optional<std::string>& value) {
  auto split = SplitLines(data);
  auto& lines = split.lines;
  const Location loc = Find(lines, section, key);
  if (loc.header < 0) {
    std::string out(data);
    if (!value) return out;
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
    return Join(split);
  }
  if (!value) return std::string(data);
  // A new key goes after the section's last key line, before trailing comments and blanks.
  const long after = loc.lastKey >= 0 ? loc.lastKey : loc.header;
  auto& previous = lines[static_cast<size_t>(after)];
  if (previous.terminator.empty()) previous.terminator = "\r\n";
  lines.insert(lines.begin() + after + 1, Line{key + "=" + *value, "\r\n"});
  return Join(split);
}

}  // namespace velmora::ini
