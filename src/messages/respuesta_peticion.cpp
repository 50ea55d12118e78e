#include "velmora/messages.h"

#include "core/boundary.h"
#include "core/context.h"
#include "errors/catalogue.h"
#include "messages/body.h"
#include "os/paths.h"
#include "vbcompat/text.h"
#include "vbcompat/vbconv.h"
#include "xml/xml.h"
#include "velmora/core.h"
#include "velmora/error.h"

namespace velmora {

using messages::Fire;
using vb::Trim;
using vb::UpperCase;

namespace {

// "<name Esquema xsi:type=... [n]">" + items + "</name>" CR LF.
std::string SoapArray(const char* name, const Collection<std::string>& items) {
  std::string out = "<";
  out += name;
  out += ' ';
  out += messages::Esquema();
  out += "xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[";
  out += messages::Decimal(static_cast<long long>(items.Count()));
  out += "]\">";
  for (size_t i = 1; i <= items.Count(); ++i) {
    out += "<SOAP-ENC:string>";
    out += messages::Escaped(*items.Item(i));
    out += "</SOAP-ENC:string>";
  }
  out += "</";
  out += name;
  out += '>';
  out += messages::kCrLf;
  return out;
}

int16_t NumericOrZero(const std::string& text, const std::string& source) {
  return vb::IsNumeric(text) ? vb::ToInt16(text, source) : int16_t{0};
}

// Array items: every non-blank child value, untrimmed.
void AddItems(const XmlNode& node, Collection<std::string>& into, const std::function<void(const std::string&)>& also = {}) {
  XmlNodeList children = node.childNodes();
  for (size_t i = 0; i < children.length(); ++i) {
    std::string value = children.Item(i).nodeTypedValue();
    if (Trim(value).empty()) continue;
    if (also) also(value);
    into.Add(value);
  }
}

}  // namespace

bool CRespuestaPeticion::FromXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CRespuestaPeticion.FromXMLFile";
  return core::Method<bool>({.trace = kMethod, .argument = path}, [&] {
    xml::Document doc;
    if (!doc.Load(path)) Raise(errnum::kXmlNotLoaded, kMethod);
    if (!IObject_FromXML(doc.ChildNodes())) Raise(errnum::kResponseNotFilled, kMethod);
    return true;
  });
}

// Names are matched on their local part, upper-cased: services answer with whatever prefix their
// toolkit picks. Items are appended to what the collections hold.
bool CRespuestaPeticion::IObject_FromXML(const XmlNodeList& nodes) {
  static constexpr const char* kMethod = "CRespuestaPeticion.IObject_FromXML";
  return core::Method<bool>({.trace = kMethod}, [&] {
    core::LogLine("CRespuestaPeticion.IObject_FromXML:" + errors::Text("log.loading_from_xml"));
    Fire(onBeforeTransformFromXML);
    const std::string okCode = Trim(core::ThreadContext().Config.CodigoDispensacionOk());
    for (size_t i = 0; i < nodes.length(); ++i) {
      const XmlNode node = nodes.Item(i);
      const std::string name = UpperCase(node.LocalName());
      if (name == "NAVISOS") {
        m_intNAvisos = NumericOrZero(node.Text(), kMethod);
      } else if (name == "NMOTIVOSRECHAZO") {
        m_intNMotivosRechazo = NumericOrZero(node.nodeTypedValue(), kMethod);
      } else if (name == "CODIGOAVISO") {
        AddItems(node, m_colCodigoAviso, [&](const std::string& value) {
          if (Trim(value) == okCode) dispensacionRealizada_ = true;
        });
      } else if (name == "CODIGOMOTIVOSRECHAZO") {
        AddItems(node, m_colCodigoMotivosRechazo);
      } else if (name == "TEXTOAVISO") {
        AddItems(node, m_colTextoAviso);
      } else if (name == "TEXTOMOTIVOSRECHAZO") {
        AddItems(node, m_colTextoMotivosRechazo);
      }
    }
    Fire(onEndTransformFromXML);
    return true;
  });
}

// The entry a failed internal response carries, in the shape of the batch response's failure
// row: the rejection lists are emptied and get the code "99999" and the text "errorInterface",
// the library's name and the error as the log writes it, e.g.
//   "errorInterface velmora:(32013)Se ha forzado la respuesta interna de 'Interface Velmora' ..."
// and the rejection count follows the list. Whatever is filled after the failure is added behind
// it, so a forced response reads: the failure entry first, then the configured one.
void CRespuestaPeticion::AddErrorInterfaceEntry(int32_t number, const std::string& description) {
  m_colCodigoMotivosRechazo.Clear();
  m_colTextoMotivosRechazo.Clear();
  m_colCodigoMotivosRechazo.Add("99999");
  m_colTextoMotivosRechazo.Add(std::string("errorInterface ") + os::kLibraryTitle + ":(" +
                               messages::Decimal(number) + ")" + description);
  m_intNMotivosRechazo = static_cast<int16_t>(m_colCodigoMotivosRechazo.Count());
}

// Each statement runs on its own: a failing one is recorded, adds the failure entry, and the
// next statement goes on, as the old handler's "resume next" did.
void CRespuestaPeticion::SetInternalResponse(bool obtained) {
  static constexpr const char* kMethod = "CRespuestaPeticion.SetInternalResponse";
  core::TraceScope trace(kMethod, vb::BoolText(obtained));
  auto step = [&](const std::function<void()>& statement) {
    if (const auto err = core::Recorded(kMethod, statement)) AddErrorInterfaceEntry(err->Number, err->Description);
  };
  if (!obtained) step([] { Raise(errnum::kForcedInternalResponse, kMethod); });
  bool haveIni = false;
  step([&] {
    haveIni = CFileAdmin().ExistIniFile();
    if (!haveIni) Raise(errnum::kIniUnreadable, kMethod);
  });
  if (!haveIni) return;
  CConfig& config = core::ThreadContext().Config;
  step([&] { m_colCodigoAviso.Add(config.LoadInternalResponse("CodigoAviso")); });
  step([&] { m_colTextoAviso.Add(config.LoadInternalResponse("TextoAviso")); });
  step([&] {
    std::string n = config.LoadInternalResponse("NumAvisos");
    m_intNAvisos = vb::IsNumeric(n) ? vb::ToInt16(n, kMethod)
                                          : static_cast<int16_t>(m_colCodigoAviso.Count());
  });
  step([&] { m_colCodigoMotivosRechazo.Add(config.LoadInternalResponse("CodigoMotivosRechazo")); });
  step([&] { m_colTextoMotivosRechazo.Add(config.LoadInternalResponse("TextoMotivosRechazo")); });
  step([&] {
    std::string n = config.LoadInternalResponse("NumMotivosRechazo");
    m_intNMotivosRechazo = vb::IsNumeric(n) ? vb::ToInt16(n, kMethod)
                                                  : static_cast<int16_t>(m_colCodigoMotivosRechazo.Count());
  });
}

// Traced under the request's name, which the two have always shared in the trace file.
std::string CRespuestaPeticion::ToString(bool withEnvelope) {
  static constexpr const char* kMethod = "CPeticionDispensacion.ToString";
  return core::Method<std::string>({.trace = kMethod, .argument = vb::BoolText(withEnvelope)}, [&] {
    std::string body = "<RespuestaPeticion " + messages::Esquema() + "> ";
    body += "<NMotivosRechazo >" + messages::Decimal(m_intNMotivosRechazo) + "</NMotivosRechazo>\r\n";
    body += "<NAvisos >" + messages::Decimal(m_intNAvisos) + "</NAvisos>\r\n";
    body += SoapArray("textoAviso", m_colTextoAviso);
    body += SoapArray("textoMotivosRechazo", m_colTextoMotivosRechazo);
    body += SoapArray("codigoMotivosRechazo", m_colCodigoMotivosRechazo);
    body += SoapArray("codigoAviso", m_colCodigoAviso);
    body += "</RespuestaPeticion>\r\n";
    return messages::Enveloped(withEnvelope, messages::ResponseEnvelopeHeader(), std::move(body));
  });
}

bool CRespuestaPeticion::ToXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CRespuestaPeticion.ToXML";
  return core::Method<bool>({.trace = "CRespuestaPeticion.ToXMLFile", .argument = path, .source = kMethod}, [&] {
    messages::SaveBody(ToString(false), path, kMethod);
    core::LogLine("CRespuestaPeticion.ToXML:" + errors::Text("log.writing_response", {path}));
    return true;
  });
}

std::shared_ptr<XmlNodeList> CRespuestaPeticion::IObject_ToXML() {
  core::TraceScope trace("CRespuestaPeticion.IObject_ToXML");
  return nullptr;
}

bool CRespuestaPeticion::IObject_RequiredFields() {
  static constexpr const char* kMethod = "CRespuestaPeticion.IObject_RequiredFields";
  // True even when it fails: a response has no required fields to miss.
  return core::Method<bool>({.trace = kMethod, .onFailure = true}, [&] {
    core::LogLine("CRespuestaPeticion.IObject_RequiredFields:" + errors::Text("log.no_required_fields"));
    return true;
  });
}

}  // namespace velmora
