#include "velmora/messages.h"

#include "core/context.h"
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
  core::TraceScope trace(kMethod, path);
  bool result = false;
  try {
    xml::Document doc;
    if (!doc.Load(path)) Raise(errnum::kXmlNotLoaded, kMethod);
    if (!IObject_FromXML(doc.ChildNodes())) Raise(errnum::kResponseNotFilled, kMethod);
    result = true;
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

// Names are matched on their local part, upper-cased: services answer with whatever prefix their
// toolkit picks. Items are appended to what the collections hold.
bool CRespuestaPeticion::IObject_FromXML(const XmlNodeList& nodes) {
  static constexpr const char* kMethod = "CRespuestaPeticion.IObject_FromXML";
  core::TraceScope trace(kMethod);
  bool result = false;
  try {
    core::LogLine(
        "CRespuestaPeticion.IObject_FromXML:Cargando propiedades de clase a partir de un objeto NodeList");
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
    result = true;
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
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
    try {
      statement();
    } catch (const std::exception& e) {
      Error err = core::HandleError(kMethod, e);
      AddErrorInterfaceEntry(err.Number, err.Description);
    }
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
  core::TraceScope trace(kMethod, vb::BoolText(withEnvelope));
  std::string result;
  try {
    std::string body = "<RespuestaPeticion " + messages::Esquema() + "> ";
    body += "<NMotivosRechazo >" + messages::Decimal(m_intNMotivosRechazo) + "</NMotivosRechazo>\r\n";
    body += "<NAvisos >" + messages::Decimal(m_intNAvisos) + "</NAvisos>\r\n";
    body += SoapArray("textoAviso", m_colTextoAviso);
    body += SoapArray("textoMotivosRechazo", m_colTextoMotivosRechazo);
    body += SoapArray("codigoMotivosRechazo", m_colCodigoMotivosRechazo);
    body += SoapArray("codigoAviso", m_colCodigoAviso);
    body += "</RespuestaPeticion>\r\n";
    result = messages::Enveloped(withEnvelope, messages::ResponseEnvelopeHeader(), std::move(body));
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

bool CRespuestaPeticion::ToXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CRespuestaPeticion.ToXML";
  core::TraceScope trace("CRespuestaPeticion.ToXMLFile", path);
  bool result = false;
  try {
    messages::SaveBody(ToString(false), path, kMethod);
    core::LogLine("CRespuestaPeticion.ToXML:Generando archivo " + path + " con la respuesta de la dispensación");
    result = true;
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

std::shared_ptr<XmlNodeList> CRespuestaPeticion::IObject_ToXML() {
  core::TraceScope trace("CRespuestaPeticion.IObject_ToXML");
  return nullptr;
}

bool CRespuestaPeticion::IObject_RequiredFields() {
  static constexpr const char* kMethod = "CRespuestaPeticion.IObject_RequiredFields";
  core::TraceScope trace(kMethod);
  try {
    core::LogLine("CRespuestaPeticion.IObject_RequiredFields:Una respuesta no tiene campos obligatorios");
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(true);
  return true;
}

}  // namespace velmora
