#include "velmora/pdf.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

#include "pdf/pdf_writer.h"
#include "os/clock.h"
#include "vbcompat/dates.h"
#include "errors/catalogue.h"
#include "errors/error_map.h"
#include "os/file_io.h"
#include "os/files.h"
#include "os/paths.h"
#include "os/process.h"
#include "vbcompat/text.h"

namespace velmora {

using pdf::Int;
using pdf::NextObjectNumber;
using pdf::RegisterObject;
using pdf::State;
using pdf::WriteLine;

namespace {

// Opens the output for writing and says whether this call created it: only a file the writer
// created itself is removed when the document cannot be started. A pipe nobody reads fails here
// instead of blocking the till.
int OpenOutput(const std::string& path, bool* created) {
  const int fd = os::OpenForWriting(path, created);
  if (fd < 0) errors::RaiseErrno(errno, "cPDF.PDFCreate");
  return fd;
}

}  // namespace

void cPDF::Own(const char* source) const {
  // Constructing a writer, or starting a document, takes the thread's output over; a writer
  // that lost it would otherwise write into the newer document or into nothing.
  if (document_ != State().document) throw Error(errnum::kInvalidCall, source, ErrorText(errnum::kInvalidCall));
}

void RaisePdfCollectionError(int32_t number) {
  if (number == errnum::kDuplicateKey)
    throw Error(errnum::kDuplicateKey, "Collection.Add", errors::Text("DUPLICATE_KEY"));
  Raise(number, "Collection.Item");
}

const char* BaseFontName(eBaseFont font) {
  static constexpr const char* kNames[] = {
      "Times-Roman",  "Helvetica",         "Courier",         "Symbol",
      "Times-Bold",   "Helvetica-Bold",    "Courier-Bold",    "ZapfDingbats",
      "Times-Italic", "Helvetica-Oblique", "Courier-Oblique", "Times-BoldItalic",
      "Helvetica-BoldOblique", "Courier-BoldOblique"};
  auto i = static_cast<int32_t>(font);
  return i >= 0 && i < 14 ? kNames[i] : "Helvetica";
}

cObjeto& cObjetos::Add(int16_t pdfObj, int32_t OffSet) {
  cObjeto o;
  o.pdfObj = pdfObj;
  o.OffSet = OffSet;
  return Insert(std::to_string(pdfObj) + "N", std::move(o));
}

cObjeto& cPaginas::Add(int16_t Height, int16_t Width) {
  cObjeto o;
  o.Height = Height;
  o.Width = Width;
  return Insert({}, std::move(o));
}

cObjeto& cImagenes::Add(const std::string& Name, int16_t pdfObj, int16_t Height, int16_t Width) {
  cObjeto o;
  o.Name = Name;
  o.pdfObj = pdfObj;
  o.Height = Height;
  o.Width = Width;
  return Insert(Name, std::move(o));
}

cObjeto& cBloques::Add(const std::string& Name, int16_t pdfObj) {
  cObjeto o;
  o.Name = Name;
  o.pdfObj = pdfObj;
  return Insert(Name, std::move(o));
}

cOutline& cOutlines::Add(cOutline outline) {
  std::string key = outline.Name;
  return Insert(key, std::move(outline));
}

cPDF::cPDF() {
  pdf::ResetState();
  os::LocalTime now = os::Now();
  CreationDate = {now.year, now.month, now.day, now.hour, now.minute, now.second};
}

// A document abandoned before PDFClose keeps the bytes written so far, but its file is not
// held open until some later writer of the thread comes along.
cPDF::~cPDF() {
  if (document_ != 0 && pdf::State().document == document_) pdf::ReleaseOutput();
}

bool cPDF::PDFCreate(const std::string& cFileName) {
  std::string name = cFileName;
  return PDFCreate(name);
}

bool cPDF::PDFCreate(std::string& cFileName) {
  // A second document on the same instance starts from a clean writer, not from the counters
  // of the first.
  pdf::ResetState();
  Paginas.RemoveAll();
  Imagenes.RemoveAll();
  Bloques.RemoveAll();
  Outlines.RemoveAll();
  for (cFont& f : Fonts) f.pdfObj = 0;
  pageOpen_ = false;
  textObjectOpen_ = false;
  pageCount_ = 0;

  auto& st = State();
  try {
    if (!cFileName.empty()) {
      FileName = cFileName;
      st.memory.clear();
      st.memoryMode = false;
      // Replacing a document means removing an earlier one; anything that is not a plain file
      // (a device, a pipe) is written to as it is and never removed.
      const auto existing = os::StatusOf(cFileName);
      if (existing && existing->regular && existing->size >= 1 && !os::RemoveFile(cFileName))
        errors::RaiseErrno(errno, "cPDF.PDFCreate");
      st.fd = OpenOutput(cFileName, &st.created);
      st.path = cFileName;
    } else {
      cFileName = FileName;
      st.memory.clear();
      st.memoryMode = true;
    }
    st.document = document_ = pdf::NewDocumentId();

    os::LocalTime t{CreationDate.Year, CreationDate.Month, CreationDate.Day,
                          CreationDate.Hour, CreationDate.Minute, CreationDate.Second};
    std::string date = "D:" + vb::FormatDate(t, "yyyymmddhhnnss");
    WriteLine("%PDF-1.3");
    pdf::WriteBytes("%\xE2\xE3\xCF\xD3", true);

    int16_t info = NextObjectNumber();
    RegisterObject(info);
    WriteLine(Int(info) + " 0 obj");
    WriteLine("<<");
    WriteLine("/Author (" + Author + ")");
    WriteLine("/CreationDate (" + date + ")");
    WriteLine("/Creator (" + Creator + ")");
    WriteLine("/Producer (" + Producer + ")");
    WriteLine("/Title (" + Title + ")");
    WriteLine("/Subject (" + Subject + ")");
    WriteLine("/Keywords (" + Keywords + ")");
    WriteLine(">>");
    WriteLine("endobj");
    // Hand the start to the kernel now, so a full disk shows here and not at the first page.
    pdf::Flush();
    return true;
  } catch (const std::exception&) {
    pdf::AbandonOutput();
    pdf::ResetState();
    document_ = 0;
    return false;
  }
}

void cPDF::NewPage(Page_Size nSize, int16_t nWidth, int16_t nHeight) {
  Own("cPDF.NewPage");
  auto& st = State();
  if (pageOpen_) ClosePage();
  switch (nSize) {
    case A4_Vertical:
      st.pageWidth = 595, st.pageHeight = 842;
      break;
    case A4_Horizontal:
      st.pageWidth = 842, st.pageHeight = 595;
      break;
    case Folio_Vertical:
      st.pageWidth = 612, st.pageHeight = 792;
      break;
    case Folio_Horizontal:
      st.pageWidth = 792, st.pageHeight = 612;
      break;
    default:
      st.pageWidth = nWidth, st.pageHeight = nHeight;
      break;
  }
  pageCount_ = pdf::Add16(pageCount_, 1, "cPDF.NewPage");
  int16_t page = NextObjectNumber();
  cObjeto& record = Paginas.Add(st.pageHeight, st.pageWidth);
  record.pdfObj = page;
  record.OffSet = st.offset;
  RegisterObject(page);
  int16_t contents = pdf::Add16(page, 1, "cPDF.NewPage");
  WriteLine(Int(page) + " 0 obj");
  WriteLine("<<");
  WriteLine("/Type /Page");
  WriteLine("/Parent 3 0 R");
  WriteLine("/MediaBox [ 0 0 " + Int(st.pageWidth) + " " + Int(st.pageHeight) + "]");
  WriteLine("/Contents " + Int(contents) + " 0 R");
  WriteLine("/Rotate 0");
  WriteLine(">>");
  WriteLine("endobj");

  contents = NextObjectNumber();
  RegisterObject(contents);
  WriteLine(Int(contents) + " 0 obj");
  WriteLine("<<");
  WriteLine("/Length " + Int(pdf::Add16(contents, 1, "cPDF.NewPage")) + " 0 R");
  WriteLine(">>");
  WriteLine("stream");
  pageOpen_ = true;
  st.streamStart = st.offset;
}

void cPDF::ClosePage() {
  Own("cPDF.ClosePage");
  auto& st = State();
  int32_t length = st.offset - st.streamStart;
  WriteLine("endstream");
  WriteLine("endobj");
  int16_t lengthObj = NextObjectNumber();
  RegisterObject(lengthObj);
  WriteLine(Int(lengthObj) + " 0 obj");
  WriteLine(Int(length));
  WriteLine("endobj");
  pageOpen_ = false;
  textObjectOpen_ = false;
}

void cPDF::PDFClose() {
  Own("cPDF.PDFClose");
  auto& st = State();
  if (pageOpen_) ClosePage();

  std::string fontList;
  for (cFont& font : Fonts) {
    if (font.pdfObj == 0) WriteFont(font);
    fontList += "/" + font.Name + " " + Int(font.pdfObj) + " 0 R\r";
  }
  std::string imageList;
  for (const cObjeto& image : Imagenes) imageList += "/" + image.Name + " " + Int(image.pdfObj) + " 0 R\r";
  std::string blockList;
  for (const cObjeto& block : Bloques) blockList += "/" + block.Name + " " + Int(block.pdfObj) + " 0 R\r";

  RegisterObject(4);
  WriteLine("4 0 obj");
  WriteLine("<< ");
  WriteLine("/Font");
  WriteLine("<< ");
  WriteLine(vb::Trim(fontList));
  WriteLine(">>");
  // Images and blocks share one /XObject dictionary. Written as two dictionaries under the same
  // key, as the writer once did, a reader keeps only the second and the images vanish from
  // every page, so both lists go into one.
  if (Imagenes.Count() > 0) {
    WriteLine("/ProcSet[/PDF /ImageB /Text]");
    WriteLine("/XObject ");
    WriteLine("<<");
    WriteLine(vb::Trim(imageList));
    if (Bloques.Count() > 0) WriteLine(vb::Trim(blockList));
    WriteLine(">>");
  } else if (Bloques.Count() > 0) {
    WriteLine("/XObject ");
    WriteLine("<<");
    WriteLine(vb::Trim(blockList));
    WriteLine(">>");
  }
  WriteLine(">>");
  WriteLine("endobj");

  RegisterObject(2);
  WriteLine("2 0 obj");
  WriteLine("<<");
  WriteLine("/Type /Catalog");
  WriteLine("/Pages 3 0 R");
  int16_t outlineRoot = 0;
  if (Outlines.Count() > 0) {
    outlineRoot = NextObjectNumber();
    WriteLine("/Outlines " + Int(outlineRoot) + " 0 R");
    WriteLine("/PageMode /UseOutlines");
  }
  WriteLine(">>");
  WriteLine("endobj");
  if (outlineRoot != 0) WriteOutlines(outlineRoot);

  RegisterObject(3);
  WriteLine("3 0 obj");
  WriteLine("<<");
  WriteLine("/Type /Pages");
  WriteLine("/Count " + Int(Paginas.Count()));
  std::string kids = "/Kids [ ";
  for (const cObjeto& page : Paginas) kids += Int(page.pdfObj) + " 0 R ";
  WriteLine(kids + "]");
  WriteLine("/Resources 4 0 R");
  WriteLine(">>");
  WriteLine("endobj");

  int32_t xref = st.offset;
  WriteLine("xref");
  int16_t size = NextObjectNumber();
  WriteLine("0 " + Int(size));
  WriteLine("0000000000 65535 f ");
  for (int32_t i = 1; i <= st.objects.Count(); ++i) {
    std::string offset = Int(st.objects.Item(std::to_string(i) + "N").OffSet);
    WriteLine(std::string(offset.size() < 10 ? 10 - offset.size() : 0, '0') + offset + " 00000 n ");
  }
  WriteLine("trailer");
  WriteLine("<<");
  WriteLine("/Size " + Int(size));
  WriteLine("/Root 2 0 R");
  WriteLine("/Info 1 0 R");
  WriteLine(">>");
  WriteLine("startxref");
  WriteLine(Int(xref));
  WriteLine("%%EOF");
  pdf::CloseOutput();
}

std::vector<uint8_t> cPDF::GetPDFStream() const {
  const auto& st = State();
  return st.memoryMode ? st.memory : std::vector<uint8_t>{};
}

void cPDF::WCode(std::string_view text) { Own("cPDF.WCode"); WriteLine(text); }

std::optional<Error> cPDF::Show() {
  if (State().memoryMode || FileName.empty()) return std::nullopt;
  std::string viewer = "xdg-open";
  if (const char* v = std::getenv("VELMORA_PDF_VIEWER")) {
    if (*v == '\0') return std::nullopt;  // viewing switched off (servers, tests)
    viewer = v;
  }
  // The viewer is a convenience for the counter: like the shell call it replaces, a viewer that
  // is missing or will not start is reported to the caller, never raised through the receipt.
  try {
    const std::string program = os::FindProgram(viewer);
    if (program.empty()) errors::RaiseErrno(ENOENT, "cPDF.Show");
    os::SpawnDetached({program, FileName}, os::RuntimeFolder(), "cPDF.Show");
  } catch (const Error& e) {
    return e;
  }
  return std::nullopt;
}

int16_t cPDF::PageWidth() const { return State().pageWidth; }
int16_t cPDF::PageHeight() const { return State().pageHeight; }

}  // namespace velmora
