#include "barcode/font_registry.h"

#include <fontconfig/fontconfig.h>

namespace velmora::barcode {
namespace {

const FcChar8* Bytes(const std::string& s) { return reinterpret_cast<const FcChar8*>(s.c_str()); }

}  // namespace

bool RegisterFontFile(const std::string& file) {
  if (!FcInit()) return false;
  return FcConfigAppFontAddFile(nullptr, Bytes(file)) == FcTrue;
}

void RefreshFontCache(const std::string& folder) {
  if (!FcInit()) return;
  // A forced read scans the folder and writes its cache file, as fc-cache does for one folder.
  if (FcCache* cache = FcDirCacheRead(Bytes(folder), FcTrue, nullptr)) FcDirCacheUnload(cache);
  // This process's configuration is left as it is: RegisterFontFile has already added the font
  // to it, and rebuilding it here would drop what others registered.
}

}  // namespace velmora::barcode
