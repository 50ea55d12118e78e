#include "velmora/messages.h"

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "errors/catalogue.h"
#include "messages/body.h"
#include "vbcompat/dates.h"
#include "os/files.h"
#include "os/paths.h"
#include "vbcompat/text.h"
#include "xml/xml.h"
#include "velmora/core.h"
#include "velmora/error.h"

namespace velmora {

using messages::Element;
using messages::Fire;
using vb::Trim;

namespace {

constexpr const char* kToString = "CPeticionDispensacion.ToString";

bool IsItp(const std::string& id) { return Trim(id).compare(0, 3, "ITP") == 0; }

bool ReadsAsDate(const std::string& text) { return vb::ReadDate(text).has_value(); }

}  // namespace

CPeticionDispensacion::CPeticionDispensacion() { core::TraceScope trace("CPeticionDispensacion.Class_Initialize"); }

CPeticionDispensacion::CPeticionDispensacion(const CPeticionDispensacion& other) : IObject(other) {
  core::TraceScope trace("CPeticionDispensacion.Class_Initialize");
  *this = other;
}

CPeticionDispensacion::~CPeticionDispensacion() {
  core::TraceScope trace("CPeticionDispensacion.Class_Terminate");
}

std::string CPeticionDispensacion::ParseDate(const std::string& text) {
  return core::Method<std::string>({.trace = "CPeticionDispensacion.ParseDate", .argument = text}, [&] {
    if (text.empty()) return std::string();
    core::LogLine("CPeticionDispensacion.ParseDate:" + errors::Text("log.parsing_dates"));
    std::optional<os::LocalTime> date = vb::ReadDate(text);
    if (!date) Raise(errnum::kInvalidDate, "CPeticionDispensacion.ParseDate");
    return vb::FormatYyyymmdd(*date);
  });
}

// Step 3 of the body: the prescriber's details travel only with an "ITP" identifier, and then
// the identifier itself is sent empty.
std::string CPeticionDispensacion::PrescriberElements() {
  std::string out;
  if (IsItp(IDPrescripcion)) {
    out += "<idPrescripcion ></idPrescripcion>\r\n";
    out += Element("codColegiadoPrescriptor", CodigoColegiadoPrescriptor);
    out += Element("fechaPrescripcion", ParseDate(FechaPrescripcion));
    out += Element("TIS", Tis);
    out += Element("nombreFormula", FormulaMagistral);
    if (RegimenReceta != RegimenVacio) out += Element("regimenReceta", messages::Decimal(RegimenReceta));
    if (TipoPrescripcion != PrescripcionVacio)
      out += Element("tipoPrescripcion", messages::Decimal(TipoPrescripcion));
  } else {
    out += Element("idPrescripcion", IDPrescripcion);
  }
  return out;
}

std::string CPeticionDispensacion::ToString(bool withEnvelope) {
  return core::Method<std::string>(
      {.trace = kToString, .argument = vb::BoolText(withEnvelope), .shown = messages::ShownWithoutPassword}, [&] {
    std::string body = "<PeticionDispensacion " + messages::Esquema() + "> ";
    body += Element("importe", Importe);
    body += Element("importeAportacion", ImporteAportacion);
    body += Element("codFarmacia", IdFarmacia);
    body += Element("fechaDispensacion", ParseDate(FechaDispensacion));
    body += Element("idioma", Idioma);
    body += Element("idUsuario", IdUsuario);
    body += Element("idFarmaceutico", IdFarmaceutico);
    body += Element("claveUsuario", ClaveUsuario);
    body += Element("envasesDispensados", EnvasesDispensados);
    body += Element("numeroReceta", NumeroReceta);
    body += Element("codProvincia", IdProvincia);
    body += Element("codigoDispensado", CodigoDispensado);
    body += PrescriberElements();
    body += "</PeticionDispensacion>\r\n";
    return messages::Enveloped(withEnvelope, messages::RequestEnvelopeHeader(), std::move(body));
  });
}

std::string CPeticionDispensacion::ToStringNew() {
  return core::Method<std::string>({.trace = "CPeticionDispensacion.ToStringNew"}, [&] {
    std::string item = "<P70ItemPeticionDispensacion>";
    item += Element("importe", Importe);
    item += Element("importeAportacion", ImporteAportacion);
    item += Element("fechaDispensacion", ParseDate(FechaDispensacion));
    item += Element("envasesDispensados", EnvasesDispensados);
    item += Element("numeroReceta", NumeroReceta);
    item += Element("codigoDispensado", CodigoDispensado);
    item += PrescriberElements();
    item += "</P70ItemPeticionDispensacion>";
    return item;
  });
}

// Errors are reported under "ToXML", the name the log line and the catalogue give this step.
bool CPeticionDispensacion::ToXMLFile(const std::string& path) {
  return core::Method<bool>(
      {.trace = "CPeticionDispensacion.ToXMLFile", .argument = path, .source = "CPeticionDispensacion.ToXML"}, [&] {
    messages::SaveBody(ToString(false), path, "CPeticionDispensacion.ToXML");
    core::LogLine("CPeticionDispensacion.ToXML:" + errors::Text("log.writing_request", {path}));
    return true;
  });
}

bool CPeticionDispensacion::FromXMLFile(const std::string& path) {
  // The file is read for its errors only: a request is never rebuilt from it.
  return core::Method<bool>({.trace = "CPeticionDispensacion.FromXMLFile", .argument = path}, [&] {
    xml::Document doc;
    doc.Load(path);
    return false;
  });
}

std::shared_ptr<XmlNodeList> CPeticionDispensacion::IObject_ToXML() {
  static constexpr const char* kMethod = "CPeticionDispensacion.IObject_ToXML";
  // The OUT line stays empty: the list has no text form.
  return core::Method<std::shared_ptr<XmlNodeList>>({.trace = kMethod, .shown = nullptr}, [&] {
    core::LogLine("CPeticionDispensacion.IObject_ToXML:" + errors::Text("log.building_xml"));
    Fire(onBeforeTransformToXML);
    xml::Document doc;
    if (!doc.LoadXml(ToString(false))) Raise(errnum::kRequestXmlInvalid, kMethod);
    if (SaveSOAPMsgToFile) {
      const std::string file = os::WithSlash(CFileAdmin().GetDllPath()) + core::layout::kLibraryTitle +
                               std::string(core::layout::kRequestCopyExtension);
      os::DeleteFile(file, kMethod);
      doc.Save(file, kMethod);
      core::LogLine("CPeticionDispensacion.IObject_ToXML:" + errors::Text("log.building_request_xml"));
    }
    Fire(onEndTransformToXML);
    return std::make_shared<XmlNodeList>(doc.ChildNodes());
  });
}

// A request is never rebuilt from XML: the list is not read.
bool CPeticionDispensacion::IObject_FromXML(const XmlNodeList& nodes) {
  (void)nodes;
  static constexpr const char* kMethod = "CPeticionDispensacion.IObject_FromXML";
  return core::Method<bool>({.trace = kMethod}, [&] {
    core::LogLine("CPeticionDispensacion.IObject_FromXML:" + errors::Text("log.loading_from_xml"));
    Fire(onBeforeTransformFromXML);
    Fire(onEndTransformFromXML);
    return true;
  });
}

// The check asks for the prescriber's details when the identifier is empty, while the body sends
// them only with an "ITP" identifier. Both rules are what the service and the pharmacies' software
// were built against, so they stay different.
std::vector<std::string> CPeticionDispensacion::MissingFields() const {
  std::vector<std::string> missing;
  // Exact emptiness: a value of blanks counts as set.
  const std::pair<const char*, const std::string*> required[] = {
      {"ClaveUsuario", &ClaveUsuario},   {"IdUsuario", &IdUsuario},
      {"Idioma", &Idioma},               {"FechaDispensacion", &FechaDispensacion},
      {"IdFarmacia", &IdFarmacia},       {"IdFarmaceutico", &IdFarmaceutico},
      {"EnvasesDispensados", &EnvasesDispensados}, {"Importe", &Importe},
      {"ImporteAportacion", &ImporteAportacion},   {"IdProvincia", &IdProvincia}};
  for (const auto& [name, field] : required)
    if (field->empty()) missing.emplace_back(name);
  if (!FechaDispensacion.empty() && !ReadsAsDate(FechaDispensacion)) missing.emplace_back("FechaDispensacion");
  // Without an identifier the service needs the prescription itself.
  if (Trim(IDPrescripcion).empty()) {
    if (Trim(CodigoColegiadoPrescriptor).empty()) missing.emplace_back("CodigoColegiadoPrescriptor");
    if (Trim(Tis).empty()) missing.emplace_back("Tis");
    if (!ReadsAsDate(Trim(FechaPrescripcion))) missing.emplace_back("FechaPrescripcion");
    if (RegimenReceta == RegimenVacio) missing.emplace_back("RegimenReceta");
    if (TipoPrescripcion == PrescripcionVacio) missing.emplace_back("TipoPrescripcion");
    if (TipoPrescripcion == Formula_Magistral && Trim(FormulaMagistral).empty()) missing.emplace_back("FormulaMagistral");
  }
  return missing;
}

bool CPeticionDispensacion::IObject_RequiredFields() {
  static constexpr const char* kMethod = "CPeticionDispensacion.IObject_RequiredFields";
  return core::Method<bool>({.trace = kMethod}, [&] {
    core::LogLine("CPeticionDispensacion.IObject_RequiredFields:" + errors::Text("log.checking_required_fields"));
    return MissingFields().empty();
  });
}

}  // namespace velmora
