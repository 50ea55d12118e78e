#include "fonts/font_metrics.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H

#include <cmath>
#include <map>
#include <mutex>
#include <tuple>

#include "vbcompat/cp1252.h"

namespace velmora::fonts {
namespace {

// One FreeType library per thread: FT_Library is not safe to share without locking, and the
// writer's state is per thread anyway.
class FreeTypeLibrary {
 public:
  FreeTypeLibrary() {
    if (FT_Init_FreeType(&lib_) != 0) lib_ = nullptr;
  }
  ~FreeTypeLibrary() {
    if (lib_) FT_Done_FreeType(lib_);
  }
  FreeTypeLibrary(const FreeTypeLibrary&) = delete;
  FreeTypeLibrary& operator=(const FreeTypeLibrary&) = delete;
  FT_Library get() const { return lib_; }

 private:
  FT_Library lib_ = nullptr;
};

FT_Library Library() {
  thread_local FreeTypeLibrary lib;
  return lib.get();
}

struct FaceGuard {
  FT_Face face = nullptr;
  ~FaceGuard() {
    if (face) FT_Done_Face(face);
  }
};

int32_t Scale(long units, int unitsPerEm) {
  return static_cast<int32_t>(std::lround(static_cast<double>(units) * 1000.0 / unitsPerEm));
}

std::optional<FontMetrics> Measure(FT_Face face) {
  int upem = face->units_per_EM;
  if (upem <= 0) return std::nullopt;  // bitmap-only faces have no outline metrics
  FontMetrics m;
  if (face->family_name) m.family = face->family_name;
  if (const char* ps = FT_Get_Postscript_Name(face)) m.postscriptName = ps;

  // GDI's tmAscent/tmDescent of a TrueType face are the OS/2 table's Windows metrics.
  auto* os2 = static_cast<TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
  if (os2 && os2->version != 0xFFFF && (os2->usWinAscent != 0 || os2->usWinDescent != 0)) {
    m.ascent = Scale(os2->usWinAscent, upem);
    m.descent = Scale(os2->usWinDescent, upem);
  } else {
    m.ascent = Scale(face->ascender, upem);
    m.descent = Scale(face->descender < 0 ? -face->descender : face->descender, upem);
  }

  // Symbol fonts carry only a (3,0) cmap whose codes sit at U+F000 + byte.
  bool symbolOnly = true;
  for (int i = 0; i < face->num_charmaps; ++i)
    if (face->charmaps[i]->encoding == FT_ENCODING_UNICODE) symbolOnly = false;
  if (symbolOnly && FT_Select_Charmap(face, FT_ENCODING_MS_SYMBOL) != 0) symbolOnly = false;

  int32_t notdef = 0;
  if (FT_Load_Glyph(face, 0, FT_LOAD_NO_SCALE) == 0) notdef = Scale(face->glyph->advance.x, upem);
  for (int code = 1; code <= 255; ++code) {
    uint32_t cp = symbolOnly ? 0xF000u + static_cast<uint32_t>(code)
                             : vb::Cp1252CodePoint(static_cast<uint8_t>(code));
    FT_UInt glyph = FT_Get_Char_Index(face, cp);
    if (glyph == 0) {
      m.widths[static_cast<size_t>(code)] = notdef;
      continue;
    }
    if (code >= 32) {
      if (m.firstChar == 0) m.firstChar = code;
      m.lastChar = code;
    }
    if (FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING) == 0)
      m.widths[static_cast<size_t>(code)] = Scale(face->glyph->advance.x, upem);
  }
  if (m.firstChar == 0) {  // a face that maps nothing: keep the range well-formed
    m.firstChar = 32;
    m.lastChar = 32;
  }
  return m;
}

std::optional<std::string> FindFontFile(const std::string& family, bool bold, bool italic, int* index) {
  static std::once_flag once;
  std::call_once(once, [] { FcInit(); });
  FcPattern* pattern = FcPatternCreate();
  if (!pattern) return std::nullopt;
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
  FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
  FcPatternAddBool(pattern, FC_SCALABLE, FcTrue);
  FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultNoMatch;
  FcPattern* match = FcFontMatch(nullptr, pattern, &result);
  FcPatternDestroy(pattern);
  if (!match) return std::nullopt;
  std::optional<std::string> path;
  FcChar8* file = nullptr;
  if (FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch && file) {
    path = reinterpret_cast<const char*>(file);
    if (FcPatternGetInteger(match, FC_INDEX, 0, index) != FcResultMatch) *index = 0;
  }
  FcPatternDestroy(match);
  return path;
}

}  // namespace

std::optional<FontMetrics> MeasureSystemFont(const std::string& family, bool bold, bool italic) {
  thread_local std::map<std::tuple<std::string, bool, bool>, std::optional<FontMetrics>> cache;
  auto key = std::make_tuple(family, bold, italic);
  if (auto it = cache.find(key); it != cache.end()) return it->second;

  std::optional<FontMetrics> result;
  int index = 0;
  if (auto file = FindFontFile(family, bold, italic, &index); file && Library()) {
    FaceGuard g;
    if (FT_New_Face(Library(), file->c_str(), index, &g.face) == 0) {
      result = Measure(g.face);
      if (result) result->file = *file;
    }
  }
  cache.emplace(std::move(key), result);
  return result;
}

std::optional<FontMetrics> MeasureFontBytes(const uint8_t* data, size_t size) {
  if (!data || size == 0 || !Library()) return std::nullopt;
  FaceGuard g;
  if (FT_New_Memory_Face(Library(), data, static_cast<FT_Long>(size), 0, &g.face) != 0) return std::nullopt;
  if (!FT_IS_SFNT(g.face)) return std::nullopt;
  return Measure(g.face);
}

}  // namespace velmora::fonts
