#include "receipt/barcode_font_setup.h"

#include <string_view>

#include "barcode/embedded_resources.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "velmora/barcode.h"

namespace velmora::receipt {

void EnsureBarcodeFontInstalled() {
  constexpr const char* kFontFile = "pdffont.ttf";
  jrInstalarFuente installer;
  if (platform::PathExists(installer.DirectorioFuentesSistema() + "/" + kFontFile)) return;
  const std::string folder = platform::RuntimeFolder();
  const auto bytes = barcode::BarcodeFontBytes();
  platform::WriteFileAtomic(folder + kFontFile,
                            std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                            "cPDF.mostrarPDF");
  installer.FicheroTTF = kFontFile;
  installer.PathTTF(folder);
  installer.Instalar();
}

}  // namespace velmora::receipt
