#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "support/font_test_env.h"
#include "support/test_support.h"
#include "velmora/barcode.h"
#include "velmora/error.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

struct {
  const std::string& root = testing::TestFonts().Root();
} const xdg;

const std::string kFontSource = std::string(VELMORA_SOURCE_DIR) + "/resources/";


bool FontconfigKnows(const char* family) {
  FcPattern* pattern = FcPatternBuild(nullptr, FC_FAMILY, FcTypeString, family, nullptr);
  FcObjectSet* os = FcObjectSetBuild(FC_FAMILY, FC_FILE, nullptr);
  FcFontSet* set = FcFontList(nullptr, pattern, os);
  const bool found = set && set->nfont > 0;
  if (set) FcFontSetDestroy(set);
  FcObjectSetDestroy(os);
  FcPatternDestroy(pattern);
  return found;
}

TEST(jrInstalarFuente, FontsFolderIsTheUsersDataFolder) {
  jrInstalarFuente inst;
  EXPECT_EQ(inst.DirectorioFuentesSistema(), xdg.root + "/data/fonts");

  const std::string data = getenv("XDG_DATA_HOME"), home = getenv("HOME") ? getenv("HOME") : "";
  setenv("XDG_DATA_HOME", "", 1);
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(jrInstalarFuente().DirectorioFuentesSistema(), "/home/someone/.local/share/fonts");
  // A till started as a service has no HOME: the account's home from the password database
  // (only looked at here; the test setup pins it elsewhere so nothing is installed there).
  setenv("HOME", "", 1);
  os::SetAccountHomeForTesting({});
  EXPECT_EQ(jrInstalarFuente().DirectorioFuentesSistema(), std::string(getpwuid(getuid())->pw_dir) + "/.local/share/fonts");
  os::SetAccountHomeForTesting([] { return std::string(); });
  std::string text;
  EXPECT_EQ(testing::ErrorNumber([] { jrInstalarFuente(); }, &text), static_cast<int32_t>(0x80040001u));
  EXPECT_EQ(text, "No se ha podido determinar el directorio de fuentes del sistema.");
  testing::TestFonts().PinAccountHome();
  setenv("XDG_DATA_HOME", data.c_str(), 1);
  setenv("HOME", home.c_str(), 1);
}

TEST(jrInstalarFuente, PathIsTrimmedAndEndsInASlash) {
  jrInstalarFuente inst;
  for (const auto& [given, stored] : std::vector<std::pair<std::string, std::string>>{
           {"  /opt/fuentes  ", "/opt/fuentes/"}, {" /opt/fuentes/ ", "/opt/fuentes/"}, {"", "/"}}) {
    inst.PathTTF(given);
    EXPECT_EQ(inst.PathTTF(), stored) << given;
  }
}

TEST(jrInstalarFuente, InstalarRefusesWhatItCannotInstall) {
  const std::string dir = xdg.root + "/src/";
  fs::create_directories(dir);
  std::ofstream(dir + "notafont.ttf") << "plain text";
  std::ofstream(dir + "ab") << "x";

  struct Case {
    std::string file, path;
    uint32_t number;
    std::string text;
  };
  const std::vector<Case> cases = {
      {"", dir, 0x80040003u, "No se ha introducido el nombre del fichero que contiene la fuente."},
      {"pdffont.ttf", "", 0x80040004u, "No se ha introducido el path del fichero que contiene la fuente."},
      {"missing.ttf", dir, 0x80040005u, "No se ha podido encontrar el fichero " + dir + "missing.ttf."},
      {"ab", dir, 5u, "Argumento o llamada a procedimiento no válida"},
      {"notafont.ttf", dir, 0x80040006u, "Error ejecutando AddFontResource."},
  };
  for (const Case& c : cases) {
    jrInstalarFuente inst;
    inst.FicheroTTF = c.file;
    if (!c.path.empty()) inst.PathTTF(c.path);
    std::string text;
    EXPECT_EQ(testing::ErrorNumber([&] { inst.Instalar(); }, &text), static_cast<int32_t>(c.number)) << c.file;
    EXPECT_EQ(text, c.text);
  }
  // The short name was copied before its refusal, as the old installer did.
  EXPECT_TRUE(fs::exists(xdg.root + "/data/fonts/ab"));
}

TEST(jrInstalarFuente, InstallsRegistersAndRemovesTheFont) {
  jrInstalarFuente inst;
  inst.FicheroTTF = "code_pdf417.ttf";
  inst.PathTTF(kFontSource);
  const std::string installed = inst.DirectorioFuentesSistema() + "/code_pdf417.ttf";

  for (int time = 0; time < 2; ++time) {  // a second install copies over and registers again
    ASSERT_EQ(testing::ErrorNumber([&] { inst.Instalar(); }), 0);
    ASSERT_TRUE(fs::exists(installed));
    EXPECT_EQ(fs::file_size(installed), fs::file_size(kFontSource + "code_pdf417.ttf"));
    struct stat st{};
    ASSERT_EQ(stat(installed.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
  }
  EXPECT_TRUE(FontconfigKnows("Code PDF417"));
  // The folder's cache was rewritten for other programs.
  bool cached = false;
  for (const auto& e : fs::directory_iterator(xdg.root + "/cache/fontconfig"))
    cached |= e.path().string().find(".cache-") != std::string::npos;
  EXPECT_TRUE(cached);

  inst.Desinstalar(false);
  EXPECT_TRUE(fs::exists(installed));
  inst.Desinstalar(true);
  EXPECT_FALSE(fs::exists(installed));

  std::string text;
  EXPECT_EQ(testing::ErrorNumber([&] { inst.Desinstalar(true); }, &text), static_cast<int32_t>(0x80040008u));
  EXPECT_EQ(text, "No se ha podido desinstalar la fuente code_pdf417.ttf");
  inst.FicheroTTF.clear();
  EXPECT_EQ(testing::ErrorNumber([&] { inst.Desinstalar(false); }), static_cast<int32_t>(0x80040003u));
}

}  // namespace
}  // namespace velmora
