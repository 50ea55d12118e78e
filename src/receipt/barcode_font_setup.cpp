#include "receipt/barcode_font_setup.h"

#include <string_view>

#include "barcode/modules.h"
#include "os/files.h"
#include "os/paths.h"
#include "velmora/barcode.h"

namespace velmora::receipt {

void EnsureBarcodeFontInstalled() {
  constexpr const char* kFontFile = "pdffont.ttf";
  jrInstalarFuente installer;
  if (os::PathExists(installer.DirectorioFuentesSistema() + "/" + kFontFile)) return;
  const std::string folder = os::RuntimeFolder();
  const auto bytes = barcode::BarcodeFontBytes();
  os::WriteFileAtomic(folder + kFontFile,
                            std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                            "cPDF.mostrarPDF");
  installer.FicheroTTF = kFontFile;
  installer.PathTTF(folder);
  installer.Instalar();
}

}  // namespace velmora::receipt
