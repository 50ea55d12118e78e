#include "velmora/pdf.h"

#include <zlib.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "pdf/pdf_writer.h"
#include "errors/catalogue.h"
#include "errors/error_map.h"
#include "os/files.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_GIF
#define STBI_NO_STDIO
// Image dimensions are 16-bit in the document's records.
#define STBI_MAX_DIMENSIONS 32767
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wdouble-promotion"
#pragma GCC diagnostic ignored "-Wimplicit-fallthrough"
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace velmora {

using pdf::Int;
using pdf::WriteLine;

namespace {

constexpr double kPi = 3.1415;

[[noreturn]] void RaiseBadPicture(const char* source) { throw Error(errnum::kInvalidPicture, source, errors::Text("INVALID_PICTURE")); }

// Larger pictures are refused rather than decoded, with a text that says why: a few bytes of a
// crafted header can announce gigabytes, and the decoder would allocate them before finding the
// data missing. A receipt's logo is a few thousand pixels.
constexpr int64_t kMaxPixels = 25'000'000;

// A PNG whose chunks claim more bytes than the file holds. The decoder trusts a chunk's length
// and allocates it up front, so such files are turned away before it sees them.
bool PngChunksOverrun(const uint8_t* data, size_t size) {
  static const uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  if (size < 8 || std::memcmp(data, kSignature, 8) != 0) return false;
  size_t at = 8;
  while (at + 8 <= size) {
    uint64_t length = (uint64_t{data[at]} << 24) | (uint64_t{data[at + 1]} << 16) | (uint64_t{data[at + 2]} << 8) |
                      uint64_t{data[at + 3]};
    bool end = std::memcmp(data + at + 4, "IEND", 4) == 0;
    if (length + 12 > size - at) return true;
    at += static_cast<size_t>(length) + 12;
    if (end) return false;
  }
  return false;
}

// A transparent pixel prints as the paper under it: white, not the black that the colour
// channels of a transparent logo usually hold.
uint8_t OnWhite(uint8_t value, uint8_t alpha) {
  return static_cast<uint8_t>((value * alpha + 255 * (255 - alpha) + 127) / 255);
}

PdfPicture Decode(const uint8_t* data, size_t size, const char* source) {
  if (!data || size == 0 || size > static_cast<size_t>(std::numeric_limits<int>::max())) RaiseBadPicture(source);
  if (PngChunksOverrun(data, size)) RaiseBadPicture(source);
  int w = 0, h = 0, channels = 0;
  if (!stbi_info_from_memory(data, static_cast<int>(size), &w, &h, &channels)) RaiseBadPicture(source);
  // A BMP stored from the top row down says so with a negative height, which the header probe
  // hands on as it stands; the decoder itself turns such a picture the right way up.
  if (h < 0 && h != std::numeric_limits<int>::min() && size >= 2 && data[0] == 'B' && data[1] == 'M') h = -h;
  if (w <= 0 || h <= 0) RaiseBadPicture(source);
  if (static_cast<int64_t>(w) * h > kMaxPixels)
    throw Error(errnum::kInvalidPicture, source, errors::Text("pdf.picture_too_large", {std::to_string(kMaxPixels)}));
  const bool alpha = channels == 2 || channels == 4;
  const int wanted = alpha ? 4 : 3;
  stbi_uc* pixels = stbi_load_from_memory(data, static_cast<int>(size), &w, &h, &channels, wanted);
  if (!pixels) RaiseBadPicture(source);
  PdfPicture p;
  p.Width = w;
  p.Height = h;
  const size_t count = static_cast<size_t>(w) * static_cast<size_t>(h);
  if (alpha) {
    p.Pixels.resize(count * 3);
    for (size_t i = 0; i < count; ++i)
      for (size_t c = 0; c < 3; ++c) p.Pixels[i * 3 + c] = OnWhite(pixels[i * 4 + c], pixels[i * 4 + 3]);
  } else {
    p.Pixels.assign(pixels, pixels + count * 3);
  }
  stbi_image_free(pixels);
  return p;
}

}  // namespace

void cPDF::LoadImageFromFile(const std::string& PictureFile, const std::string& Name, bool GrayScale, bool Zipped) {
  const char* src = "cPDF.LoadImageFromFile";
  std::string bytes = os::ReadFileOrRaise(PictureFile, src);
  WriteImage(Decode(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), src), Name, GrayScale, Zipped);
}

void cPDF::LoadImageFromMemory(const uint8_t* data, size_t size, const std::string& Name, bool GrayScale,
                               bool Zipped) {
  WriteImage(Decode(data, size, "cPDF.LoadImageFromMemory"), Name, GrayScale, Zipped);
}

void cPDF::LoadImage(const PdfPicture& Image, const std::string& Name, bool GrayScale, bool Zipped) {
  WriteImage(Image, Name, GrayScale, Zipped);
}

void cPDF::WriteImage(const PdfPicture& picture, const std::string& name, bool grayScale, bool zipped) {
  Own("cPDF.LoadImage");
  const char* src = "cPDF.LoadImage";
  // Everything that can fail is checked before an object number is taken, so a refused image
  // leaves no gap in the cross-reference table.
  if (pageOpen_) Raise(errnum::kInvalidCall, src);  // the object would land inside the page's content stream
  if (picture.Width <= 0 || picture.Height <= 0 || picture.Width > std::numeric_limits<int16_t>::max() ||
      picture.Height > std::numeric_limits<int16_t>::max())
    RaiseBadPicture(src);
  size_t count = static_cast<size_t>(picture.Width) * static_cast<size_t>(picture.Height) * 3;
  if (picture.Pixels.size() != count) RaiseBadPicture(src);
  if (Imagenes.Find(name)) RaisePdfCollectionError(errnum::kDuplicateKey);

  std::string data(picture.Pixels.begin(), picture.Pixels.end());
  if (grayScale) {
    for (size_t i = 0; i < count; i += 3) {
      char g = static_cast<char>(pdf::Grey(static_cast<uint8_t>(data[i]), static_cast<uint8_t>(data[i + 1]),
                                           static_cast<uint8_t>(data[i + 2])));
      data[i] = data[i + 1] = data[i + 2] = g;
    }
  }
  if (zipped) {
    uLongf packedLength = compressBound(static_cast<uLong>(data.size()));
    std::string packed(packedLength, '\0');
    if (compress(reinterpret_cast<Bytef*>(packed.data()), &packedLength,
                 reinterpret_cast<const Bytef*>(data.data()), static_cast<uLong>(data.size())) != Z_OK)
      Raise(errnum::kOutOfMemory, src);
    packed.resize(packedLength);
    data = std::move(packed);
  }
  if (data.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Raise(errnum::kOverflow, src);

  int16_t n = pdf::NextObjectNumber();
  pdf::RegisterObject(n);
  WriteLine(Int(n) + " 0 obj");
  WriteLine("<<");
  WriteLine("/Type /XObject");
  WriteLine("/Subtype /Image");
  WriteLine("/Name /" + name);
  WriteLine("/BitsPerComponent 8");
  WriteLine("/ColorSpace /DeviceRGB");
  WriteLine(zipped ? "/Filter /FlateDecode" : "/Filter []");
  WriteLine("/Width " + Int(picture.Width));
  WriteLine("/Height " + Int(picture.Height));
  WriteLine("/Length " + Int(static_cast<int64_t>(data.size())));
  WriteLine(">>");
  WriteLine("stream");
  // The data is followed by the line's carriage return, which /Length does not count.
  pdf::WriteBytes(data, true);
  WriteLine("endstream");
  WriteLine("endobj");
  Imagenes.Add(name, n, static_cast<int16_t>(picture.Height), static_cast<int16_t>(picture.Width));
}

void cPDF::WImage(int32_t Top, int32_t Left, int32_t Height, int32_t Width, const std::string& ImageName,
                  double Rotation) {
  Own("cPDF.WImage");
  const char* src = "cPDF.WImage";
  if (!Imagenes.Find(ImageName)) Raise(errnum::kInvalidCall, src);
  int64_t y = static_cast<int64_t>(PageHeight()) - Top;
  if (y < std::numeric_limits<int32_t>::min() || y > std::numeric_limits<int32_t>::max()) Raise(errnum::kOverflow, src);
  WriteLine("q");
  WriteLine("1 0 0 1 " + Int(Left) + " " + Int(y) + " cm");
  if (Rotation != 0) {
    double a = Rotation * kPi / 180.0;
    double c = std::cos(a), s = std::sin(a);
    WriteLine(pdf::Fixed(c, 4) + " " + pdf::Fixed(s, 4) + " " + pdf::Fixed(-s, 4) + " " + pdf::Fixed(c, 4) +
              " 0 0 cm ");
  }
  WriteLine(Int(Width) + " 0 0 " + Int(Height) + " 0 0  cm");
  WriteLine("/" + ImageName + " Do");
  WriteLine("Q");
}

}  // namespace velmora
