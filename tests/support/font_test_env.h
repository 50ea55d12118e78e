#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "os/paths.h"
#include "support/test_support.h"

namespace velmora::testing {

// A private font setup for a test program: XDG data and cache folders in a temporary folder and
// a fontconfig configuration that sees the system's fonts and aliases plus that data folder's
// fonts, and writes its caches only into that cache folder, and the account's home pinned inside
// it. Construct it before anything uses
// fontconfig (a namespace-scope object does), since fontconfig reads all this once.
class FontTestEnvironment {
 public:
  FontTestEnvironment() {
    root_ = MakeTempFolder("velmora-fonts");
    root_.pop_back();
    setenv("XDG_DATA_HOME", (root_ + "/data").c_str(), 1);
    setenv("XDG_CACHE_HOME", (root_ + "/cache").c_str(), 1);
    const std::string conf = root_ + "/fonts.conf";
    std::ofstream(conf) << "<?xml version=\"1.0\"?>\n<!DOCTYPE fontconfig SYSTEM \"urn:fontconfig:fonts.dtd\">\n"
                           "<fontconfig>\n"
                           "  <dir>/usr/share/fonts</dir>\n"
                           "  <dir prefix=\"xdg\">fonts</dir>\n"
                           "  <cachedir prefix=\"xdg\">fontconfig</cachedir>\n"
                           "  <cachedir>/var/cache/fontconfig</cachedir>\n"
                           "  <include ignore_missing=\"yes\">/etc/fonts/conf.d</include>\n"
                           "</fontconfig>\n";
    setenv("FONTCONFIG_FILE", conf.c_str(), 1);
    PinAccountHome();
  }
  // With HOME unset the fonts folder falls back to the account's home: a folder of this setup.
  void PinAccountHome() const { os::SetAccountHomeForTesting([home = root_ + "/account"] { return home; }); }
  ~FontTestEnvironment() {
    std::error_code ec;
    std::filesystem::remove_all(root_, ec);
  }
  const std::string& Root() const { return root_; }

 private:
  std::string root_;
};

}  // namespace velmora::testing

namespace velmora::testing {

// The font setup every test program gets before main (tests/support/test_environment.cpp), so
// no test ever installs a font into the real user's folders or rewrites the system's caches.
const FontTestEnvironment& TestFonts();

}  // namespace velmora::testing
