#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "pdf/pdf_fixture.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace velmora::testing {
namespace {

PdfPicture Picture(int32_t w, int32_t h) {
  PdfPicture p{w, h, {}};
  for (int32_t i = 0; i < w * h; ++i) {
    p.Pixels.push_back(static_cast<uint8_t>(i * 40));
    p.Pixels.push_back(static_cast<uint8_t>(255 - i * 30));
    p.Pixels.push_back(static_cast<uint8_t>(100 + i));
  }
  return p;
}

// The bytes between "stream" CR and the CR before "endstream" of the object `n`.
std::string StreamOf(const std::string& doc, int n) {
  size_t obj = doc.find("\r" + std::to_string(n) + " 0 obj\r");
  size_t start = doc.find("stream\r", obj) + 7;
  size_t end = doc.find("\rendstream\r", start);
  return doc.substr(start, end - start);
}

TEST_F(PdfTest, ImageDocumentByteForByte) {
  const std::string expected =
      kHeaderAndInfo +
      CrLines({"5 0 obj", "<<", "/Type /XObject", "/Subtype /Image", "/Name /Im1", "/BitsPerComponent 8",
               "/ColorSpace /DeviceRGB", "/Filter []", "/Width 1", "/Height 1", "/Length 3", ">>", "stream",
               std::string("\xFF\x00\x00", 3), "endstream", "endobj"}) +                           // 198
      Resources("", {"/ProcSet[/PDF /ImageB /Text]", "/XObject ", "<<", "/Im1 5 0 R\r", ">>"}) +   // 365
      kCatalog + kNoPages +                                                                       // 458, 507
      XrefAndTrailer({15, 458, 507, 365, 198}, 577);
  EXPECT_EQ(WriteChecked("image.pdf", [](cPDF& pdf) { pdf.LoadImage(PdfPicture{1, 1, {0xFF, 0x00, 0x00}}, "Im1"); }),
            expected);
}

TEST_F(PdfTest, RawZippedAndGreyImages) {
  PdfPicture p = Picture(3, 2);
  std::string doc = WriteChecked("images.pdf", [&](cPDF& pdf) {
    pdf.LoadImage(p, "Raw");
    pdf.LoadImage(p, "Zip", false, true);
    pdf.LoadImage(p, "Grey", true);
    pdf.NewPage();
    pdf.WImage(200, 100, 60, 90, "Raw");
    pdf.WImage(300, 100, 60, 90, "Zip", 90);
    pdf.WImage(400, 100, 60, 90, "Grey");
  });
  std::string raw = StreamOf(doc, 5);
  EXPECT_EQ(raw, std::string(p.Pixels.begin(), p.Pixels.end()));
  EXPECT_EQ(raw.size(), 18u);

  std::string zipped = StreamOf(doc, 6);
  std::string unzipped(18, '\0');
  uLongf len = 18;
  ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(unzipped.data()), &len,
                       reinterpret_cast<const Bytef*>(zipped.data()), zipped.size()),
            Z_OK);
  EXPECT_EQ(unzipped, raw);
  EXPECT_NE(doc.find("/Name /Zip\r/BitsPerComponent 8\r/ColorSpace /DeviceRGB\r/Filter /FlateDecode\r"),
            std::string::npos);

  // Grey keeps three equal components per pixel: (0, 255, 100) is 161.
  EXPECT_EQ(StreamOf(doc, 7).substr(0, 3), "\xA1\xA1\xA1");

  EXPECT_NE(doc.find("stream\rq\r1 0 0 1 100 642 cm\r90 0 0 60 0 0  cm\r/Raw Do\rQ\r"
                     "q\r1 0 0 1 100 542 cm\r0.0000 1.0000 -1.0000 0.0000 0 0 cm \r90 0 0 60 0 0  cm\r/Zip Do\rQ\r"),
            std::string::npos);
  EXPECT_NE(doc.find("/XObject \r<<\r/Raw 5 0 R\r/Zip 6 0 R\r/Grey 7 0 R\r\r>>\r"), std::string::npos);
}

TEST_F(PdfTest, PictureFilesInEveryFormat) {
  std::vector<uint8_t> rgb;
  for (int i = 0; i < 16 * 8; ++i) {
    rgb.push_back(static_cast<uint8_t>(i * 2));
    rgb.push_back(static_cast<uint8_t>(i));
    rgb.push_back(200);
  }
  ASSERT_TRUE(stbi_write_png(Path("p.png").c_str(), 16, 8, 3, rgb.data(), 48));
  ASSERT_TRUE(stbi_write_jpg(Path("p.jpg").c_str(), 16, 8, 3, rgb.data(), 90));
  ASSERT_TRUE(stbi_write_bmp(Path("p.bmp").c_str(), 16, 8, 3, rgb.data()));
  // The smallest GIF: one white pixel.
  const unsigned char gif[] = {0x47, 0x49, 0x46, 0x38, 0x39, 0x61, 0x01, 0x00, 0x01, 0x00, 0x80, 0x00, 0x00,
                               0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x2C, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00,
                               0x01, 0x00, 0x00, 0x02, 0x02, 0x44, 0x01, 0x00, 0x3B};
  folder_->Write("p.gif", std::string(reinterpret_cast<const char*>(gif), sizeof gif));

  // The same BMP stored from the top row down (negative height), and a PNG whose transparent
  // pixel must print white and whose half-transparent black one half way to white.
  std::string topDown = ReadFile(Path("p.bmp"));
  const int32_t negative = -8;
  std::memcpy(topDown.data() + 22, &negative, 4);
  for (size_t row = 0; row < 4; ++row)
    std::swap_ranges(topDown.begin() + 54 + 48 * static_cast<long>(row), topDown.begin() + 54 + 48 * static_cast<long>(row + 1),
                     topDown.begin() + 54 + 48 * static_cast<long>(7 - row));
  folder_->Write("top.bmp", topDown);
  const uint8_t rgba[] = {255, 0, 0, 0, 0, 0, 0, 128};
  ASSERT_TRUE(stbi_write_png(Path("alpha.png").c_str(), 2, 1, 4, rgba, 8));

  std::vector<uint8_t> logo = SourceBytes("resources/receipt_logo.png");
  ASSERT_FALSE(logo.empty());

  std::string doc = WriteChecked("formats.pdf", [&](cPDF& pdf) {
    pdf.LoadImageFromFile(Path("p.png"), "Png", false, true);
    pdf.LoadImageFromFile(Path("p.jpg"), "Jpg", false, true);
    pdf.LoadImageFromFile(Path("p.bmp"), "Bmp");
    pdf.LoadImageFromFile(Path("p.gif"), "Gif");
    pdf.LoadImageFromMemory(logo.data(), logo.size(), "logoMarvo", false, true);
    pdf.LoadImageFromFile(Path("top.bmp"), "Top");
    pdf.LoadImageFromFile(Path("alpha.png"), "Alpha");
    pdf.NewPage();
    pdf.WImage(100, 50, 80, 160, "Png");
    pdf.WImage(200, 50, 80, 160, "Jpg");
    pdf.WImage(300, 50, 80, 160, "Bmp");
    pdf.WImage(400, 50, 80, 80, "Gif");
    pdf.WImage(40, 460, 25, 80, "logoMarvo");
  });
  EXPECT_EQ(StreamOf(doc, 7), std::string(rgb.begin(), rgb.end())) << "BMP pixels, top row first";
  EXPECT_EQ(StreamOf(doc, 8), std::string("\xFF\xFF\xFF", 3));
  EXPECT_EQ(StreamOf(doc, 10), std::string(rgb.begin(), rgb.end())) << "top-down BMP";
  EXPECT_EQ(StreamOf(doc, 11), std::string("\xFF\xFF\xFF\x7F\x7F\x7F", 6));
}

TEST_F(PdfTest, BadPicturesAreErrorsToTheCaller) {
  cPDF pdf;
  ASSERT_TRUE(pdf.PDFCreate());
  EXPECT_EQ(ErrorNumber([&] { pdf.LoadImageFromFile(Path("missing.png"), "A"); }), 53);
  folder_->Write("corrupt.png", "\x89PNG\r\n\x1a\n this is not a picture");
  // The last two: headers announcing far more than the file holds, refused before allocating.
  const std::string crashes = std::string(VELMORA_SOURCE_DIR) + "/fuzz/crashes/pdf_image/";
  for (const std::string& file : {Path("corrupt.png"), crashes + "png_chunk_longer_than_file.png",
                                  crashes + "bmp_huge_without_pixels.bmp"})
    EXPECT_EQ(ErrorNumber([&] { pdf.LoadImageFromFile(file, "A"); }), 481) << file;
  std::string text;
  ErrorNumber([&] { pdf.LoadImageFromFile(crashes + "bmp_huge_without_pixels.bmp", "A"); }, &text);
  EXPECT_EQ(text, "Imagen no válida: tiene más de 25000000 píxeles");
  EXPECT_THROW(pdf.LoadImage(PdfPicture{2, 2, {1, 2, 3}}, "A"), Error);
  EXPECT_THROW(pdf.LoadImageFromMemory(nullptr, 0, "A"), Error);
  pdf.LoadImage(PdfPicture{1, 1, {1, 2, 3}}, "A");
  EXPECT_THROW(pdf.LoadImage(PdfPicture{1, 1, {1, 2, 3}}, "A"), Error);  // name in use
  pdf.NewPage();
  EXPECT_THROW(pdf.LoadImage(PdfPicture{1, 1, {1, 2, 3}}, "B"), Error);  // inside a page
  EXPECT_THROW(pdf.WImage(1, 1, 1, 1, "Nope"), Error);
  pdf.PDFClose();
  // Nothing refused took an object number: the table is whole.
  EXPECT_EQ(XrefProblems(AsString(pdf.GetPDFStream())), "");
}

}  // namespace
}  // namespace velmora::testing
