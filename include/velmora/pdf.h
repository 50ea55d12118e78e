#pragma once

// The library's own PDF 1.3 writer. A document is written line by line, straight into a file or
// into memory; every line ends with a single carriage return. Positions given by callers are in
// points from the top-left corner of the page. Colours are 0x00BBGGRR. Texts are UTF-8 and are
// written as Windows-1252 bytes (a character the code page lacks becomes "?").
//
// Errors reach the caller as velmora::Error; only PDFCreate traps its own and returns false.
// One document at a time per thread: the object counter, the offsets and the output belong to
// the thread, and constructing a cPDF resets them.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "velmora/error.h"
#include "velmora/export.h"

namespace velmora {

// Named only by cPDF's receipt members below, which the receipt defines.
class CListadoDispensaciones;
class BarCode128;
class cPDF417;

enum Page_Size : int32_t {
  A4_Vertical = 0,
  A4_Horizontal = 1,
  Folio_Vertical = 2,
  Folio_Horizontal = 3,
  UsarAnchoAlto = 4,
};
enum eEncoding : int32_t { MacRomanEncoding = 0, MacExpertEncoding = 1, WinAnsiEncoding = 2 };
enum eType : int32_t { TrueType = 0, Type1 = 1 };
enum eStyle : int32_t { Normal = 0, Bold = 1, Italic = 2, BoldItalic = 3 };
enum eBaseFont : int32_t {
  Times_Roman = 0,
  Helvetica = 1,
  Courier = 2,
  Symbol = 3,
  Times_Bold = 4,
  Helvetica_Bold = 5,
  Courier_Bold = 6,
  ZapfDingbats = 7,
  Times_Italic = 8,
  Helvetica_Oblique = 9,
  Courier_Oblique = 10,
  Times_BoldItalic = 11,
  Helvetica_BoldOblique = 12,
  Courier_BoldOblique = 13,
};
enum AlignH : int32_t { hLeft = 0, hRight = 1, hCenter = 2, hjustify = 3 };
enum AlignV : int32_t { vTop = 0, vBottom = 1, vMiddle = 2 };
enum eTextState : int32_t {
  BeginText = 0,
  SetFont = 1,
  SetColor = 2,
  SetPos = 3,
  TextShow = 4,
  NewLine = 5,
  CharSpace = 6,
  WordSpace = 7,
  HorizontalScale = 8,
  TextLeading = 9,
  RenderMode = 10,
  TextRise = 11,
  TransformationMatrix = 12,
  EndText = 13,
};
enum eRenderMode : int32_t {
  FillText = 0,
  StrokeText = 1,
  FillStroke = 2,
  Invisible = 3,
  FillPath = 4,
  StrokePath = 5,
  FillStrokePath = 6,
  Path = 7,
};
enum eLineCap : int32_t { ButtCap = 0, RoundCap = 1, ProyectingSquareCap = 2 };
enum eLineJoin : int32_t { MilterJoin = 0, RoundJoin = 1, BevelJoin = 2 };

// The `Name(Base, …)` names of eBaseFont as PDF base font names ("Times-Roman", …).
VELMORA_API const char* BaseFontName(eBaseFont font);

// A value of WTextCode's data array: written as an integer, as the shortest decimal of a
// double ("." as separator), or as text.
using PdfValue = std::variant<int64_t, double, std::string>;

// A date as the document's Info stamps it.
struct PdfDateTime {
  int Year = 1899, Month = 12, Day = 30, Hour = 0, Minute = 0, Second = 0;
};

// A picture held in memory: rows from the top down, three bytes (red, green, blue) per pixel,
// no padding.
struct PdfPicture {
  int32_t Width = 0;
  int32_t Height = 0;
  std::vector<uint8_t> Pixels;
};

// One indirect object, page, image or block.
class VELMORA_API cObjeto {
 public:
  int16_t pdfObj = 0;
  int32_t OffSet = 0;  // of the line "N 0 obj"
  std::string Name;
  int16_t Height = 0;
  int16_t Width = 0;
};

// Keyed collection in insertion order: Item by 1-based index (error 9 outside) or by key
// (error 5 when missing), Add rejects a key in use (error 457).
template <class T>
class PdfCollection {
 public:
  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  T& Item(int32_t index);
  T& Item(const std::string& key);
  const T& Item(int32_t index) const;
  T* Find(const std::string& key);
  const T* Find(const std::string& key) const;
  void RemoveAll() {
    items_.clear();
    keys_.clear();
  }

  // Enumeration in insertion order yields T&.
  class iterator {
   public:
    using Base = typename std::vector<std::unique_ptr<T>>::const_iterator;
    explicit iterator(Base it) : it_(it) {}
    T& operator*() const { return **it_; }
    T* operator->() const { return it_->get(); }
    iterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator!=(const iterator& o) const { return it_ != o.it_; }
    bool operator==(const iterator& o) const { return it_ == o.it_; }

   private:
    Base it_;
  };
  iterator begin() const { return iterator(items_.begin()); }
  iterator end() const { return iterator(items_.end()); }

 protected:
  // An empty key stores the item without one. A key in use raises 457.
  T& Insert(const std::string& key, T item);

 private:
  // Items are held by pointer so references handed out survive later additions.
  std::vector<std::unique_ptr<T>> items_;
  std::unordered_map<std::string, size_t> keys_;
};

// Every written indirect object, keyed by its number followed by "N" ("7N").
class VELMORA_API cObjetos : public PdfCollection<cObjeto> {
 public:
  cObjeto& Add(int16_t pdfObj, int32_t OffSet);
};

// Page records; the caller sets pdfObj and OffSet after Add.
class VELMORA_API cPaginas : public PdfCollection<cObjeto> {
 public:
  cObjeto& Add(int16_t Height, int16_t Width);
};

// Images (Name, pdfObj, Width and Height in pixels) and blocks (Name, pdfObj), keyed by Name.
class VELMORA_API cImagenes : public PdfCollection<cObjeto> {
 public:
  cObjeto& Add(const std::string& Name, int16_t pdfObj, int16_t Height = 0, int16_t Width = 0);
};
class VELMORA_API cBloques : public PdfCollection<cObjeto> {
 public:
  cObjeto& Add(const std::string& Name, int16_t pdfObj);
};

class VELMORA_API cFont {
 public:
  std::string Name;      // resource name used in content ("F1"); key in cFonts
  std::string BaseFont;  // Type1: PDF base font name; TrueType: face name ("Times New Roman")
  eEncoding Encoding = WinAnsiEncoding;
  int16_t pdfObj = 0;  // object number of the font dictionary; 0 until written
  eType fType = TrueType;
  eStyle fStyle = Normal;

  // Metrics in thousandths of an em, filled by Measure (on first use of the font).
  std::array<int32_t, 256> Widths{};  // by Windows-1252 code; index 0 unused
  int32_t Ascent = 0;
  int32_t Descent = 0;  // positive
  int32_t FirstChar = 0;
  int32_t LastChar = 0;
  bool Measured = false;

  // Sets Name, BaseFont, TrueType and the style ("Bold", "Italic", "BoldItalic", anything
  // else Normal), then measures the face.
  void LoadFontTTF(const std::string& name, const std::string& baseFont, const std::string& style = {});

  // Embeds a TrueType file given as bytes: the font is measured from these bytes and written
  // with a /FontFile2 stream, so viewers need not have it installed. Raises 5 when the bytes are
  // not a TrueType font. The font becomes TrueType.
  void EmbedFontData(std::vector<uint8_t> bytes);
  const std::vector<uint8_t>& EmbeddedData() const { return embedded_; }

  // Fills the metrics once: the embedded bytes, else the system face (TrueType) or the system's
  // face of the same name (Type1, for GetTextWidth only). Raises 5 when no face can be read.
  void Measure();

 private:
  std::vector<uint8_t> embedded_;
};

class VELMORA_API cFonts : public PdfCollection<cFont> {
 public:
  // Stores a new font under Name; measures nothing.
  cFont& Add(const std::string& Name, const std::string& BaseFont, eType fType = TrueType,
             eStyle fStyle = Normal, eEncoding Encoding = WinAnsiEncoding);
};

class VELMORA_API cOutline {
 public:
  int16_t pdfObj = 0;
  int32_t OffSet = 0;
  std::string Name;
  std::string Descripcion;
  std::string Parent;  // Name of the parent entry; empty at the top level
  int16_t Page = 0;
  int16_t PosX = 0;
  int16_t PosY = 0;
  int16_t Zoom = 0;
  bool HasZoom = false;  // false writes "null" as the zoom of the destination
};

class VELMORA_API cOutlines : public PdfCollection<cOutline> {
 public:
  cOutline& Add(cOutline outline);
};

class VELMORA_API cPDF {
 public:
  cPDF();  // resets the thread's writer state; CreationDate := now
  ~cPDF();
  cPDF(const cPDF&) = delete;
  cPDF& operator=(const cPDF&) = delete;

  // Document properties (the Info dictionary), written as they stand, unescaped.
  std::string Author = "Desconocido";
  PdfDateTime CreationDate;
  std::string Creator = "Desconocido";
  std::string Producer = "oPdf Writer";
  std::string Title = "Desconocido";
  std::string Subject = "Desconocido";
  std::string Keywords = "---";
  std::string FileName;
  eEncoding TextEncoding = WinAnsiEncoding;

  cFonts Fonts;
  cBloques Bloques;
  cImagenes Imagenes;
  cPaginas Paginas;
  cOutlines Outlines;

  // Encoders the receipt draws with: set and used by mostrarPDF only (src/receipt); the writer
  // itself never touches them.
  std::shared_ptr<BarCode128> code128;
  std::shared_ptr<cPDF417> codepdf417;

  // --- document -------------------------------------------------------------------------
  // A non-empty name writes to that file (replacing it); an empty one writes to memory and
  // receives FileName. False, with no file left behind, when the output cannot be started.
  bool PDFCreate(std::string& cFileName);
  bool PDFCreate(const std::string& cFileName = {});
  void NewPage(Page_Size nSize = A4_Vertical, int16_t nWidth = 0, int16_t nHeight = 0);
  void ClosePage();
  void PDFClose();
  std::vector<uint8_t> GetPDFStream() const;  // memory mode only; empty otherwise
  void WCode(std::string_view text);          // one raw content line
  // Opens the written file in file mode: $VELMORA_PDF_VIEWER when set (empty: nothing is
  // opened), else xdg-open; a bare name is looked up on PATH. Never raises: a viewer that is
  // missing or cannot be started comes back as the error it would have been (53 when missing),
  // for the caller to log; nothing when the viewer started or there was nothing to open.
  std::optional<Error> Show();
  int16_t PageWidth() const;
  int16_t PageHeight() const;
  int16_t PageCount() const { return pageCount_; }
  bool PageOpen() const { return pageOpen_; }

  // --- fonts and text -------------------------------------------------------------------
  void WText(int16_t Top, int16_t Left, const std::string& Text, const std::string& FontName,
             int16_t FontSize, double Rotation = 0);
  // Text wrapped inside a box, in lines FontSize apart. Breaking: explicit line ends (CR LF, CR or
  // LF) always break and an empty paragraph is an empty line; otherwise words (runs of blanks
  // count as one) are added while the line fits the width; a word wider than the box is cut
  // between characters so nothing crosses its edge. An empty text has no lines. A line's baseline
  // sits at the face's ascent share of its FontSize cell. hjustify spreads the blanks of every
  // line but the last of each paragraph with Tw. Border > 0 draws the box first (WRectangle).
  // A text area with no room (a width of zero or less, as when the margin is wider than half
  // the box, or not a number) holds one character per line; breaking always ends.
  void WTextBox(int16_t Top, int16_t Left, int16_t Height, int16_t Width, const std::string& Text,
                const std::string& FontName, int16_t FontSize, AlignH hAlign = hLeft,
                AlignV vAlign = vTop, int32_t TextColor = 0, int16_t Border = 0,
                int32_t BorderColor = 0, bool FillBox = false, int16_t TextMargin = 0);
  void WTextCode(eTextState Code, const std::vector<PdfValue>& vData = {});
  void SetTextColor(int32_t Color = 0) { textColor_ = Color; }
  double GetTextWidth(const std::string& Text, const std::string& FontName, int16_t FontSize);
  double GetCellHeight(const std::string& Text, const std::string& FontName, int16_t FontSize,
                       double CellWidth);
  // The lines WTextBox would write for Text in a box CellWidth wide (UTF-8).
  std::vector<std::string> BreakLines(const std::string& Text, const std::string& FontName,
                                      int16_t FontSize, double CellWidth);

  // --- graphics -------------------------------------------------------------------------
  void SetColors(int32_t ForeColor = -1, int32_t FillColor = -1);
  void SetLineFormat(uint8_t LineWidth = 1, eLineCap LineCap = ButtCap, eLineJoin LineJoin = MilterJoin,
                     int16_t DashPhase = 0, const std::string& DashArray = "[]");
  void MoveTo(double X, double Y);
  void WLineTo(double X, double Y, std::optional<double> StartX = std::nullopt,
               std::optional<double> StartY = std::nullopt);
  void WCurve(double X, double Y, std::optional<int16_t> ControlX1 = std::nullopt,
              std::optional<int16_t> ControlY1 = std::nullopt,
              std::optional<int16_t> ControlX2 = std::nullopt,
              std::optional<int16_t> ControlY2 = std::nullopt,
              std::optional<double> StartX = std::nullopt, std::optional<double> StartY = std::nullopt);
  void WCircle(double X, double Y, double Radio);
  void WRectangle(int16_t Top, int16_t Left, int16_t Height, int16_t Width, int16_t Border = 1,
                  int32_t BorderColor = 0, bool Fill = false);
  void SaveGraphicState();
  void RestoreGraphicState();
  void LineStroke();

  // --- images ---------------------------------------------------------------------------
  // PNG, JPEG, BMP (bottom-up or top-down) or GIF. Transparent parts are laid on white, as the
  // paper shows them. Missing file: 53; unreadable picture: 481, and 481 with a text that says
  // so for a picture of more than 25,000,000 pixels (a logo needs far fewer; a crafted header
  // must not make the till allocate gigabytes).
  void LoadImageFromFile(const std::string& PictureFile, const std::string& Name, bool GrayScale = false,
                         bool Zipped = false);
  // An encoded picture (PNG, JPEG, BMP, GIF) held in memory, such as a compiled-in logo.
  void LoadImageFromMemory(const uint8_t* data, size_t size, const std::string& Name,
                           bool GrayScale = false, bool Zipped = false);
  void LoadImage(const PdfPicture& Image, const std::string& Name, bool GrayScale = false,
                 bool Zipped = false);
  void WImage(int32_t Top, int32_t Left, int32_t Height, int32_t Width, const std::string& ImageName,
              double Rotation = 0);

  // --- outlines and blocks --------------------------------------------------------------
  // Page missing = the current page count; an entry without PercentZoom gets a "null" zoom.
  // A Parent that names no entry added before raises 5.
  void AddOutline(const std::string& Name, const std::string& Text, const std::string& Parent = {},
                  std::optional<int16_t> Page = std::nullopt, int16_t PosY = 0, int16_t PosX = 0,
                  std::optional<int16_t> PercentZoom = std::nullopt);
  void CreaBloque(const std::string& Name, const std::string& Archivo);
  void WBloque(const std::string& Name);

  // --- the dispensation receipt ---------------------------------------------------------
  // A member because callers have always called it on the writer, but not the writer's: it is
  // defined in the receipt room (src/receipt/mostrar_pdf.cpp), with the bar codes it draws.
  // Writes <runtime folder>/velmora.pdf for the batch and shows it.
  void mostrarPDF(CListadoDispensaciones& objListado);

 private:
  // Raises 5 when a newer writer of the thread has taken the document over since this one
  // started it: its writes would land in the other document or nowhere.
  void Own(const char* source) const;
  cFont& FontFor(const std::string& name, const char* source);
  void WriteFont(cFont& font);
  void WriteOutlines(int16_t root);
  void WriteImage(const PdfPicture& picture, const std::string& name, bool grayScale, bool zipped);

  uint64_t document_ = 0;  // the document this instance started; stale once another takes over
  bool pageOpen_ = false;
  bool textObjectOpen_ = false;
  int16_t pageCount_ = 0;
  int32_t textColor_ = 0;
  int32_t fillColor_ = 0xFFFFFF;  // the fill of WRectangle(Fill); see SetColors
};

// ---------------------------------------------------------------------------------------------
// PdfCollection members

[[noreturn]] VELMORA_API void RaisePdfCollectionError(int32_t number);

template <class T>
T& PdfCollection<T>::Item(int32_t index) {
  if (index < 1 || static_cast<size_t>(index) > items_.size()) RaisePdfCollectionError(errnum::kSubscriptOutOfRange);
  return *items_[static_cast<size_t>(index - 1)];
}
template <class T>
const T& PdfCollection<T>::Item(int32_t index) const {
  if (index < 1 || static_cast<size_t>(index) > items_.size()) RaisePdfCollectionError(errnum::kSubscriptOutOfRange);
  return *items_[static_cast<size_t>(index - 1)];
}
template <class T>
T& PdfCollection<T>::Item(const std::string& key) {
  T* found = Find(key);
  if (!found) RaisePdfCollectionError(errnum::kInvalidCall);
  return *found;
}
template <class T>
T* PdfCollection<T>::Find(const std::string& key) {
  auto it = keys_.find(key);
  return it == keys_.end() ? nullptr : items_[it->second].get();
}
template <class T>
const T* PdfCollection<T>::Find(const std::string& key) const {
  auto it = keys_.find(key);
  return it == keys_.end() ? nullptr : items_[it->second].get();
}
template <class T>
T& PdfCollection<T>::Insert(const std::string& key, T item) {
  if (!key.empty() && keys_.count(key)) RaisePdfCollectionError(errnum::kDuplicateKey);
  items_.push_back(std::make_unique<T>(std::move(item)));
  if (!key.empty()) keys_.emplace(key, items_.size() - 1);
  return *items_.back();
}

}  // namespace velmora
