#include "velmora/pdf.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>

#include "pdf/pdf_writer.h"
#include "pdf/type1_metrics.h"
#include "fonts/font_metrics.h"
#include "vbcompat/text.h"

namespace velmora {

using pdf::Fixed;
using pdf::Int;
using pdf::NextObjectNumber;
using pdf::RegisterObject;
using pdf::State;
using pdf::WriteLine;

namespace {

constexpr double kPi = 3.1415;  // the writer's own pi, kept so matrices match its output

std::string WithoutBlanks(const std::string& s) {
  std::string out;
  for (char c : s)
    if (c != ' ') out.push_back(c);
  return out;
}

const char* StyleSuffix(eStyle style) {
  switch (style) {
    case Bold: return ",Bold";
    case Italic: return ",Italic";
    case BoldItalic: return ",BoldItalic";
    default: return "";
  }
}

// A standard Type1 name ("Helvetica-BoldOblique") as the family and style to measure it by.
void SplitType1Name(const std::string& name, std::string* family, bool* bold, bool* italic) {
  auto dash = name.find('-');
  *family = name.substr(0, dash);
  std::string style = dash == std::string::npos ? std::string() : name.substr(dash + 1);
  *bold = style.find("Bold") != std::string::npos;
  *italic = style.find("Italic") != std::string::npos || style.find("Oblique") != std::string::npos;
}

std::string ValueText(const PdfValue& v) {
  if (auto* i = std::get_if<int64_t>(&v)) return Int(*i);
  if (auto* d = std::get_if<double>(&v)) return pdf::Shortest(*d);
  return std::get<std::string>(v);
}

double ValueNumber(const PdfValue& v, const char* source) {
  if (auto* i = std::get_if<int64_t>(&v)) return static_cast<double>(*i);
  if (auto* d = std::get_if<double>(&v)) return *d;
  try {
    size_t used = 0;
    const std::string& s = std::get<std::string>(v);
    double d = std::stod(s, &used);
    if (used == s.size()) return d;
  } catch (const std::logic_error&) {
  }
  Raise(errnum::kTypeMismatch, source);
}

const PdfValue& Arg(const std::vector<PdfValue>& v, size_t i) {
  if (i >= v.size()) Raise(errnum::kSubscriptOutOfRange, "cPDF.WTextCode");
  return v[i];
}

std::string MatrixLine(double rotation, double x, double y) {
  double a = rotation * kPi / 180.0;
  double c = std::cos(a), s = std::sin(a);
  return Fixed(c, 4) + " " + Fixed(s, 4) + " " + Fixed(-s, 4) + " " + Fixed(c, 4) + " " + Fixed(x, 4) +
         " " + Fixed(y, 4) + " Tm";
}

double WidthOf(const cFont& font, std::string_view cp1252, int16_t size) {
  int64_t units = 0;
  for (char c : cp1252) units += font.Widths[static_cast<uint8_t>(c)];
  return static_cast<double>(units) * size / 1000.0;
}

struct BrokenLine {
  std::string bytes;  // Windows-1252
  bool endsParagraph = false;
};

// Greedy breaking at blanks: explicit line breaks (CR LF, CR or LF) always break; runs of blanks
// between words count as one; a word wider than the box is cut between characters so nothing
// crosses the box's edge (each piece holds at least one character). An empty text has no lines;
// an empty paragraph is an empty line. A width with no room in it gives a character per line.
std::vector<BrokenLine> Break(const cFont& font, const std::string& cp1252, int16_t size, double width) {
  std::vector<BrokenLine> lines;
  if (cp1252.empty()) return lines;
  constexpr double kEps = 1e-9;
  auto fits = [&](std::string_view s) { return WidthOf(font, s, size) <= width + kEps; };

  std::vector<std::string> paragraphs(1);
  for (size_t i = 0; i < cp1252.size(); ++i) {
    char c = cp1252[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < cp1252.size() && cp1252[i + 1] == '\n') ++i;
      paragraphs.emplace_back();
    } else {
      paragraphs.back().push_back(c);
    }
  }

  for (const std::string& para : paragraphs) {
    size_t first = lines.size();
    std::string line;
    size_t pos = 0;
    while (pos < para.size()) {
      if (para[pos] == ' ') {
        ++pos;
        continue;
      }
      size_t end = para.find(' ', pos);
      if (end == std::string::npos) end = para.size();
      std::string word = para.substr(pos, end - pos);
      pos = end;
      std::string candidate = line.empty() ? word : line + " " + word;
      if (fits(candidate)) {
        line = std::move(candidate);
        continue;
      }
      if (!line.empty()) lines.push_back({std::move(line), false});
      line.clear();
      // Cut an over-wide word into pieces that fit; with no room at all (a width of zero or
      // less, or not a number) every piece is one character, so the loop always ends.
      while (!word.empty() && !fits(word)) {
        size_t n = 1;
        while (n < word.size() && fits(std::string_view(word).substr(0, n + 1))) ++n;
        lines.push_back({word.substr(0, n), false});
        word.erase(0, n);
      }
      line = std::move(word);
    }
    if (!line.empty() || lines.size() == first) lines.push_back({std::move(line), false});
    lines.back().endsParagraph = true;
  }
  return lines;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// cFont

void cFont::LoadFontTTF(const std::string& name, const std::string& baseFont, const std::string& style) {
  Name = name;
  BaseFont = baseFont;
  fType = TrueType;
  std::string s = vb::Trim(style);
  fStyle = s == "Bold" ? Bold : s == "Italic" ? Italic : s == "BoldItalic" ? BoldItalic : Normal;
  Measured = false;
  Measure();
}

void cFont::EmbedFontData(std::vector<uint8_t> bytes) {
  auto m = fonts::MeasureFontBytes(bytes.data(), bytes.size());
  if (!m) Raise(errnum::kInvalidCall, "cFont.EmbedFontData");
  embedded_ = std::move(bytes);
  fType = TrueType;
  Measured = false;
  Measure();
}

void cFont::Measure() {
  if (Measured) return;
  std::optional<fonts::FontMetrics> m;
  if (!embedded_.empty()) {
    m = fonts::MeasureFontBytes(embedded_.data(), embedded_.size());
  } else if (fType == TrueType) {
    m = fonts::MeasureSystemFont(BaseFont, fStyle == Bold || fStyle == BoldItalic,
                                    fStyle == Italic || fStyle == BoldItalic);
  } else if (const pdf::Type1Metrics* own = pdf::StandardType1Metrics(BaseFont)) {
    m = fonts::FontMetrics{};
    m->widths = own->widths;
    m->ascent = own->ascent;
    m->descent = own->descent;
    m->firstChar = own->firstChar;
    m->lastChar = own->lastChar;
  } else {
    std::string family;
    bool bold = false, italic = false;
    SplitType1Name(BaseFont, &family, &bold, &italic);
    m = fonts::MeasureSystemFont(family, bold, italic);
  }
  if (!m) Raise(errnum::kInvalidCall, "cFont.Measure");
  Widths = m->widths;
  Widths[0] = 0;
  Ascent = m->ascent;
  Descent = m->descent;
  FirstChar = m->firstChar;
  LastChar = m->lastChar;
  Measured = true;
}

cFont& cFonts::Add(const std::string& Name, const std::string& BaseFont, eType fType, eStyle fStyle,
                   eEncoding Encoding) {
  cFont f;
  f.Name = Name;
  f.BaseFont = BaseFont;
  f.fType = fType;
  f.fStyle = fStyle;
  f.Encoding = Encoding;
  return Insert(Name, std::move(f));
}

// ---------------------------------------------------------------------------------------------
// Writing fonts at close

void cPDF::WriteFont(cFont& font) {
  if (font.fType == Type1) {
    int16_t n = NextObjectNumber();
    RegisterObject(n);
    WriteLine(Int(n) + " 0 obj");
    WriteLine("<<");
    WriteLine("/Type /Font");
    WriteLine("/Subtype /Type1");
    WriteLine("/Name /" + font.Name);
    WriteLine("/BaseFont /" + font.BaseFont);
    WriteLine(">>");
    WriteLine("endobj");
    font.pdfObj = n;
    return;
  }

  font.Measure();
  const std::string faceName = WithoutBlanks(font.BaseFont);

  int16_t fileObj = 0;
  if (!font.EmbeddedData().empty()) {
    // The font program goes first so the descriptor can point back at it.
    const auto& raw = font.EmbeddedData();
    uLongf packedLength = compressBound(static_cast<uLong>(raw.size()));
    std::string packed(packedLength, '\0');
    if (compress(reinterpret_cast<Bytef*>(packed.data()), &packedLength, raw.data(),
                 static_cast<uLong>(raw.size())) != Z_OK)
      Raise(errnum::kOutOfMemory, "cPDF.PDFClose");
    packed.resize(packedLength);
    fileObj = NextObjectNumber();
    RegisterObject(fileObj);
    WriteLine(Int(fileObj) + " 0 obj");
    WriteLine("<<");
    WriteLine("/Length " + Int(static_cast<int64_t>(packed.size())));
    WriteLine("/Length1 " + Int(static_cast<int64_t>(raw.size())));
    WriteLine("/Filter /FlateDecode");
    WriteLine(">>");
    WriteLine("stream");
    pdf::WriteBytes(packed, true);
    WriteLine("endstream");
    WriteLine("endobj");
  }

  // Widths from the last character down to the first, each put in front; the running maximum
  // takes the previous character's width before each measurement, so the first character's
  // width never enters the bounding box. That is how the writer has always sized the box.
  std::string widths;
  int32_t maxWidth = 0, previous = 0;
  for (int32_t c = font.LastChar; c >= font.FirstChar; --c) {
    maxWidth = std::max(maxWidth, previous);
    int32_t w = font.Widths[static_cast<size_t>(c)];
    widths = Int(w) + " " + widths;
    previous = w;
  }

  int16_t descriptor = NextObjectNumber();
  RegisterObject(descriptor);
  WriteLine(Int(descriptor) + " 0 obj");
  WriteLine("<<");
  WriteLine("/Type /FontDescriptor");
  WriteLine("/FontName /" + faceName);
  WriteLine("/Flags 32 /FontBBox [ 0 -" + Int(font.Descent) + " " + Int(maxWidth) + " " + Int(font.Ascent) +
            " ] ");
  WriteLine("/StemV 80 ");
  WriteLine("/ItalicAngle 0 /CapHeight " + Int(font.Ascent));
  WriteLine("/Ascent " + Int(font.Ascent) + " /Descent -" + Int(font.Descent));
  if (fileObj != 0) WriteLine("/FontFile2 " + Int(fileObj) + " 0 R");
  WriteLine(">>");
  WriteLine("endobj");

  int16_t dict = NextObjectNumber();
  RegisterObject(dict);
  font.pdfObj = dict;
  WriteLine(Int(dict) + " 0 obj");
  WriteLine("<< /Type /Font ");
  WriteLine("/Subtype /TrueType");
  WriteLine("/Name /" + font.Name);
  WriteLine("/BaseFont /" + faceName + StyleSuffix(font.fStyle));
  WriteLine("/FirstChar " + Int(font.FirstChar));
  WriteLine("/LastChar " + Int(font.LastChar));
  WriteLine("/FontDescriptor " + Int(descriptor) + " 0 R");
  WriteLine("/Encoding /WinAnsiEncoding");
  WriteLine("/Widths [ " + widths + " ]");
  WriteLine(">>");
  WriteLine("endobj");
}

// ---------------------------------------------------------------------------------------------
// Text

cFont& cPDF::FontFor(const std::string& name, const char* source) {
  cFont* f = Fonts.Find(name);
  if (!f) Raise(errnum::kInvalidCall, source);
  return *f;
}

void cPDF::WText(int16_t Top, int16_t Left, const std::string& Text, const std::string& FontName,
                 int16_t FontSize, double Rotation) {
  Own("cPDF.WText");
  FontFor(FontName, "cPDF.WText");
  int16_t y = pdf::Sub16(PageHeight(), Top, "cPDF.WText");
  bool ownTextObject = !textObjectOpen_;
  WriteLine("q");
  if (ownTextObject) WriteLine("BT");
  WriteLine("/" + FontName + " " + Int(FontSize) + " Tf");
  WriteLine(MatrixLine(Rotation, Left, y));
  WriteLine(pdf::ColorTriple(textColor_) + " rg");
  // Appended, not "<" + string: GCC 12 at -O3 warns (wrongly, -Wrestrict) on that form here.
  WriteLine(std::string("<").append(pdf::HexString(Text)).append("> Tj"));
  if (ownTextObject) WriteLine("ET");
  WriteLine("Q");
}

void cPDF::WTextCode(eTextState Code, const std::vector<PdfValue>& vData) {
  Own("cPDF.WTextCode");
  if (Code != BeginText && !textObjectOpen_) return;
  const char* src = "cPDF.WTextCode";
  switch (Code) {
    case BeginText:
      WriteLine("BT");
      textObjectOpen_ = true;
      break;
    case SetFont:
      WriteLine("/" + ValueText(Arg(vData, 0)) + " " + ValueText(Arg(vData, 1)) + " Tf");
      break;
    case SetColor:
      WriteLine(pdf::ColorTriple(static_cast<int32_t>(ValueNumber(Arg(vData, 0), src))) + " rg");
      break;
    case SetPos: {
      const PdfValue& yv = Arg(vData, 1);
      std::string y = std::holds_alternative<double>(yv)
                          ? pdf::Shortest(PageHeight() - std::get<double>(yv))
                          : Int(PageHeight() - static_cast<int64_t>(ValueNumber(yv, src)));
      WriteLine(ValueText(Arg(vData, 0)) + " " + y + " Td");
      break;
    }
    case TextShow:
      WriteLine("<" + pdf::HexString(ValueText(Arg(vData, 0))) + "> Tj");
      break;
    case NewLine:
      WriteLine("T*");
      break;
    case CharSpace:
      WriteLine(ValueText(Arg(vData, 0)) + " Tc");
      break;
    case WordSpace:
      WriteLine(ValueText(Arg(vData, 0)) + " Tw");
      break;
    case HorizontalScale:
      WriteLine(ValueText(Arg(vData, 0)) + " Tz");
      break;
    case TextLeading:
      WriteLine(ValueText(Arg(vData, 0)) + " TL");
      break;
    case RenderMode:
      WriteLine(ValueText(Arg(vData, 0)) + " Tr");
      break;
    case TextRise:
      WriteLine(ValueText(Arg(vData, 0)) + " Ts");
      break;
    case TransformationMatrix: {
      std::string line;
      for (size_t i = 0; i < 6; ++i) line += Fixed(ValueNumber(Arg(vData, i), src), 4) + " ";
      WriteLine(line + "Tm");
      break;
    }
    case EndText:
      WriteLine("ET");
      textObjectOpen_ = false;
      break;
  }
}

double cPDF::GetTextWidth(const std::string& Text, const std::string& FontName, int16_t FontSize) {
  cFont& font = FontFor(FontName, "cPDF.GetTextWidth");
  font.Measure();
  return WidthOf(font, pdf::ToCp1252(Text), FontSize);
}

std::vector<std::string> cPDF::BreakLines(const std::string& Text, const std::string& FontName,
                                          int16_t FontSize, double CellWidth) {
  cFont& font = FontFor(FontName, "cPDF.BreakLines");
  font.Measure();
  std::vector<std::string> out;
  for (auto& line : Break(font, pdf::ToCp1252(Text), FontSize, CellWidth))
    out.push_back(vb::Cp1252ToUtf8(line.bytes));
  return out;
}

double cPDF::GetCellHeight(const std::string& Text, const std::string& FontName, int16_t FontSize,
                           double CellWidth) {
  cFont& font = FontFor(FontName, "cPDF.GetCellHeight");
  font.Measure();
  return static_cast<double>(Break(font, pdf::ToCp1252(Text), FontSize, CellWidth).size()) * FontSize;
}

void cPDF::WTextBox(int16_t Top, int16_t Left, int16_t Height, int16_t Width, const std::string& Text,
                    const std::string& FontName, int16_t FontSize, AlignH hAlign, AlignV vAlign,
                    int32_t TextColor, int16_t Border, int32_t BorderColor, bool FillBox,
                    int16_t TextMargin) {
  Own("cPDF.WTextBox");
  const char* src = "cPDF.WTextBox";
  cFont& font = FontFor(FontName, src);
  font.Measure();
  if (Border > 0) WRectangle(Top, Left, Height, Width, Border, BorderColor, FillBox);
  if (TextMargin > 0) {
    Top = pdf::Add16(Top, TextMargin, src);
    Left = pdf::Add16(Left, TextMargin, src);
    Height = pdf::Sub16(Height, 2 * TextMargin, src);
    Width = pdf::Sub16(Width, 2 * TextMargin, src);
  }

  auto lines = Break(font, pdf::ToCp1252(Text), FontSize, Width);
  WriteLine("BT");
  WriteLine("/" + FontName + " " + Int(FontSize) + " Tf");
  WriteLine(pdf::ColorTriple(TextColor) + " rg");

  // Each line is a cell FontSize high; the baseline sits where the face's ascent would put it
  // within the cell, so capitals touch neither neighbour.
  double block = static_cast<double>(lines.size()) * FontSize;
  double freeHeight = Height - block;
  double shift = vAlign == vBottom ? freeHeight : vAlign == vMiddle ? freeHeight / 2 : 0.0;
  int32_t extent = font.Ascent + font.Descent;
  double baseline = extent > 0 ? FontSize * static_cast<double>(font.Ascent) / extent : FontSize * 0.8;
  double wordSpacing = 0;
  for (size_t i = 0; i < lines.size(); ++i) {
    const BrokenLine& line = lines[i];
    double lineWidth = WidthOf(font, line.bytes, FontSize);
    double x = Left;
    if (hAlign == hRight) x = Left + (Width - lineWidth);
    if (hAlign == hCenter) x = Left + (Width - lineWidth) / 2;
    if (hAlign == hjustify) {
      auto blanks = std::count(line.bytes.begin(), line.bytes.end(), ' ');
      double wanted = !line.endsParagraph && blanks > 0 ? (Width - lineWidth) / static_cast<double>(blanks) : 0;
      if (wanted != wordSpacing) {
        WriteLine((wanted == 0 ? std::string("0") : Fixed(wanted, 2)) + " Tw");
        wordSpacing = wanted;
      }
    }
    double y = PageHeight() - (Top + shift + static_cast<double>(i) * FontSize + baseline);
    WriteLine("1 0 0 1 " + Fixed(x, 2) + " " + Fixed(y, 2) + " Tm");
    WriteLine(std::string("<").append(pdf::HexBytes(line.bytes)).append("> Tj"));  // as in WText
  }
  if (wordSpacing != 0) WriteLine("0 Tw");
  WriteLine("ET");
}

}  // namespace velmora
