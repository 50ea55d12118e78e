// Picture bytes from anywhere (a logo file, a host's image) must either become an image object
// or be refused with the library's error, never crash; and the document stays whole either way.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "velmora/pdf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmora::cPDF pdf;
  if (!pdf.PDFCreate()) std::abort();
  bool loaded = true;
  try {
    pdf.LoadImageFromMemory(data, size, "Im", size % 2 == 1, size % 3 == 1);
  } catch (const velmora::Error&) {
    loaded = false;
  }
  pdf.NewPage();
  if (loaded) pdf.WImage(100, 100, 50, 50, "Im");
  pdf.PDFClose();
  std::vector<uint8_t> doc = pdf.GetPDFStream();
  const std::string tail(doc.end() - 6, doc.end());
  if (tail != "%%EOF\r") std::abort();
  return 0;
}
