#include "velmora/barcode.h"

#include <cstdlib>

#include "barcode/font_registry.h"
#include "errors/catalogue.h"
#include "os/files.h"
#include "os/paths.h"
#include "vbcompat/text.h"
#include "velmora/error.h"

namespace velmora {
namespace {

// The component's own errors (velmora/error_codes.h), each raised with its catalogue text.
[[noreturn]] void Fail(errors::Key key, const char* method, std::initializer_list<std::string_view> args = {}) {
  throw Error(key.entry->number, std::string("jrInstalarFuente.") + method, errors::Format(key.entry->text, args));
}

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// The user's fonts folder as fontconfig's default configuration reads it. A till started as a
// service may have neither variable; the account's home from the password database is where
// fontconfig looks then too.
std::string UserFontsFolder() {
  std::string data = Env("XDG_DATA_HOME");
  if (data.empty() || data.front() != '/') {
    std::string home = Env("HOME");
    if (home.empty()) home = os::AccountHome();
    if (home.empty()) return {};
    data = os::WithSlash(home) + ".local/share";
  }
  return os::WithSlash(data) + "fonts";
}

void MakeFolders(const std::string& folder, const std::string& source) {
  for (size_t at = folder.find('/', 1);; at = folder.find('/', at + 1)) {
    const std::string part = folder.substr(0, at);
    if (!part.empty() && !os::IsDirectory(part)) os::MakeDirectory(part, source);
    if (at == std::string::npos) break;
  }
}

}  // namespace

jrInstalarFuente::jrInstalarFuente() : fonts_(UserFontsFolder()) {
  if (fonts_.empty())
    Fail("NO_FONTS_FOLDER", "Class_Initialize");
}

void jrInstalarFuente::PathTTF(const std::string& value) {
  path_ = vb::Trim(value);
  if (path_.empty() || path_.back() != '/') path_ += '/';
}

void jrInstalarFuente::Instalar() {
  if (FicheroTTF.empty())
    Fail("NO_FONT_FILE_NAME", "Instalar");
  if (path_.empty())
    Fail("NO_FONT_PATH", "Instalar");
  const std::string source = path_ + FicheroTTF;
  if (!os::PathExists(source))
    Fail("FONT_FILE_MISSING", "Instalar", {source});

  // The fonts folder may not exist yet on a fresh account; fontconfig looks there anyway.
  MakeFolders(fonts_, "jrInstalarFuente.Instalar");
  const std::string installed = fonts_ + "/" + FicheroTTF;
  os::CopyFileTo(source, installed, "jrInstalarFuente.Instalar");

  // Windows wanted a companion resource file named after the font file (".ttf" -> ".FOT");
  // fontconfig needs none, but a name too short to derive one is still refused here, after the
  // copy and before the font is registered, as callers have always seen it.
  if (FicheroTTF.size() < 3) Raise(errnum::kInvalidCall, "jrInstalarFuente.Instalar");

  if (!barcode::RegisterFontFile(installed))
    Fail("FONT_NOT_REGISTERED", "Instalar");
  barcode::RefreshFontCache(fonts_);
}

void jrInstalarFuente::Desinstalar(bool borrar) {
  if (FicheroTTF.empty())
    Fail("NO_FONT_FILE_NAME", "Desinstalar");
  // A font is registered with fontconfig by lying in a font folder; there is no registration to
  // withdraw from a font that is not there.
  const std::string installed = fonts_ + "/" + FicheroTTF;
  if (!os::PathExists(installed))
    Fail("FONT_NOT_UNINSTALLED", "Desinstalar", {FicheroTTF});
  if (borrar) os::DeleteFile(installed, "jrInstalarFuente.Desinstalar");
  barcode::RefreshFontCache(fonts_);
}

}  // namespace velmora
