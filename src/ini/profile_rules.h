#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The Windows profile-file rules both profile writers share: how lines split, which line is a
// section header or a key, how names match and where a written key goes.
namespace velmora::ini {

inline constexpr std::string_view kBom = "\xEF\xBB\xBF";

struct Line {
  std::string text;        // bytes of the line, without its end
  std::string terminator;  // "\r\n", "\n", "\r" or "" for a last line without one
};

// A file's lines; a leading byte order mark is kept apart in `bom` so a rewrite puts it back.
struct Lines {
  std::string bom;
  std::vector<Line> lines;
};

Lines SplitLines(std::string_view data);
std::string Join(const Lines& lines);

// The section name when the line is a header: "[" after optional blanks, the name up to the
// first "]" (or the line's end), blanks inside the brackets ignored. Lines that are not valid
// UTF-8 are read as Windows-1252.
std::optional<std::string> HeaderName(std::string_view rawLine);

// Names compare as Windows compares them: each character upper-cased on its own, accented
// letters included ("Ñ" matches "ñ").
bool SameName(std::string_view a, std::string_view b);
// The form of a name that SameName compares (for hashing).
std::string FoldedName(std::string_view name);

// The value of `key` in the first `section`; nullopt when either is missing.
std::optional<std::string> Lookup(std::string_view data, const std::string& section, const std::string& key);

// `data` with `key` of `section` set (nullopt deletes it), placed as Windows places it.
std::string Apply(std::string_view data, const std::string& section, const std::string& key,
                  const std::optional<std::string>& value);

}  // namespace velmora::ini
