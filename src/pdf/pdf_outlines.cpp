#include "velmora/pdf.h"

#include <map>

#include "pdf/pdf_writer.h"
#include "errors/error_map.h"
#include "os/files.h"
#include "vbcompat/text.h"

namespace velmora {

using pdf::Int;
using pdf::WriteLine;

void cPDF::AddOutline(const std::string& Name, const std::string& Text, const std::string& Parent,
                      std::optional<int16_t> Page, int16_t PosY, int16_t PosX,
                      std::optional<int16_t> PercentZoom) {
  // The tree is written in the order entries were added, so a parent must come first; an entry
  // naming a parent that does not exist would have nowhere to hang.
  if (!Parent.empty() && !Outlines.Find(Parent)) Raise(errnum::kInvalidCall, "cPDF.AddOutline");
  cOutline o;
  o.Name = Name;
  o.Descripcion = Text;
  o.Parent = Parent;
  o.Page = Page.value_or(pageCount_);
  o.PosX = PosX;
  o.PosY = PosY;
  o.HasZoom = PercentZoom.has_value();
  o.Zoom = PercentZoom.value_or(0);
  Outlines.Add(std::move(o));
}

// Entries with children also carry /First, /Last and /Count, which a viewer needs to show the
// nesting; a flat list is written with exactly the root's keys and the entries' own.
void cPDF::WriteOutlines(int16_t root) {
  const char* src = "cPDF.PDFClose";
  auto& st = pdf::State();
  const int32_t count = Outlines.Count();
  pdf::RegisterObject(root);
  WriteLine(Int(root) + " 0 obj");
  WriteLine("<<");
  WriteLine("/Type /Outlines");
  WriteLine("/First " + Int(pdf::Add16(root, 1, src)) + " 0 R");
  WriteLine("/Last " + Int(pdf::Add16(root, count, src)) + " 0 R");
  WriteLine("/Count " + Int(count));
  WriteLine(">>");
  WriteLine("endobj");

  for (cOutline& o : Outlines) o.pdfObj = pdf::NextObjectNumber();

  std::map<std::string, std::vector<cOutline*>> children;  // by parent name, in order
  for (cOutline& o : Outlines) children[o.Parent].push_back(&o);

  for (cOutline& o : Outlines) {
    const auto& siblings = children[o.Parent];
    size_t at = 0;
    while (siblings[at] != &o) ++at;
    int16_t parent = o.Parent.empty() ? root : Outlines.Item(o.Parent).pdfObj;
    const cObjeto& page = Paginas.Item(o.Page);

    o.OffSet = st.offset;
    pdf::RegisterObject(o.pdfObj);
    WriteLine(Int(o.pdfObj) + " 0 obj");
    WriteLine("<<");
    WriteLine("/Title < " + pdf::HexString(o.Descripcion) + " > ");
    WriteLine("/Parent " + Int(parent) + " 0 R");
    if (at > 0) WriteLine("/Prev " + Int(siblings[at - 1]->pdfObj) + " 0 R");
    if (at + 1 < siblings.size()) WriteLine("/Next " + Int(siblings[at + 1]->pdfObj) + " 0 R");
    std::string zoom = o.HasZoom ? pdf::Shortest(o.Zoom / 100.0) : "null";
    WriteLine("/Dest [" + Int(page.pdfObj) + " 0 R /XYZ " + Int(o.PosX) + " " + Int(page.Height - o.PosY) + " " +
              zoom + " ]");
    if (auto it = children.find(o.Name); it != children.end() && !o.Name.empty()) {
      WriteLine("/First " + Int(it->second.front()->pdfObj) + " 0 R");
      WriteLine("/Last " + Int(it->second.back()->pdfObj) + " 0 R");
      WriteLine("/Count " + Int(static_cast<int64_t>(it->second.size())));
    }
    WriteLine(">>");
    WriteLine("endobj");
  }
}

void cPDF::CreaBloque(const std::string& Name, const std::string& Archivo) {
  Own("cPDF.CreaBloque");
  const char* src = "cPDF.CreaBloque";
  if (pageOpen_) Raise(errnum::kInvalidCall, src);  // the object would land inside the page's content stream
  if (Bloques.Find(Name)) RaisePdfCollectionError(errnum::kDuplicateKey);

  const std::string text = os::ReadFileOrRaise(Archivo, src);

  // The stream carries its /Length like every other stream: without it readers must search for
  // "endstream", and poppler draws nothing of the block.
  std::string bytes = pdf::ToCp1252(text);
  int16_t n = pdf::NextObjectNumber();
  pdf::RegisterObject(n);
  WriteLine(Int(n) + " 0 obj");
  WriteLine("<<");
  WriteLine("/Type /XObject");
  WriteLine("/Subtype /Form");
  WriteLine("/FormType 1");
  WriteLine("/BBox [0 0 595.2 842]");
  WriteLine("/Matrix [1 0 0 1 0 0]");
  WriteLine("/Name /" + Name);
  WriteLine("/ColorSpace /DeviceRGB");
  WriteLine("/Length " + Int(static_cast<int64_t>(bytes.size())));
  WriteLine(">>");
  WriteLine("stream");
  pdf::WriteBytes(bytes, true);
  WriteLine("endstream");
  WriteLine("endobj");
  Bloques.Add(Name, n);
}

void cPDF::WBloque(const std::string& Name) {
  Own("cPDF.WBloque");
  if (!Bloques.Find(Name)) Raise(errnum::kInvalidCall, "cPDF.WBloque");
  WriteLine("/" + Name + " Do");
}

}  // namespace velmora
