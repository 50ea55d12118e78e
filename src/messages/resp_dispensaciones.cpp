#include "velmora/messages.h"

#include "core/boundary.h"
#include "core/context.h"
#include "errors/catalogue.h"
#include "messages/body.h"
#include "vbcompat/text.h"
#include "xml/xml.h"
#include "velmora/core.h"
#include "velmora/error.h"

namespace velmora {

using messages::Fire;
using vb::UpperCase;

namespace {

constexpr std::string_view kFailureText = errors::Find("INTERNAL_ERRORS")->text;

}  // namespace

CRespError& CRespError::createResp(const XmlNodeList& objNode) {
  core::LogLine("CRespError.createResp:" +
                errors::Text("log.row.start", {messages::Decimal(static_cast<long long>(objNode.length()))}));
  for (size_t i = 0; i < objNode.length(); ++i) {
    const XmlNode node = objNode.Item(i);
    const std::string value = node.nodeTypedValue();
    core::LogLine("CRespError.createResp:" + errors::Text("log.row.field", {node.nodeName(), value}));
    const std::string name = UpperCase(node.LocalName());
    if (name == "CODRESP")
      Codigo = value;
    else if (name == "DESCRESP")
      Description = value;
    else if (name == "CODDISP")
      CodigoDispensado = value;
    else if (name == "TIPRESP")
      TipoRespuesta = value;
  }
  return *this;
}

std::string CRespError::ToString() const {
  return "<P70ItemRespuestaPeticionDispensacion>\r\n"
         "<CodResp>" + messages::Escaped(Codigo) + "</CodResp>\r\n"
         "<DescResp>" + messages::Escaped(Description) + "</DescResp>\r\n"
         "<CodDisp>" + messages::Escaped(CodigoDispensado) + "</CodDisp>\r\n"
         "<TipResp>" + messages::Escaped(TipoRespuesta) + "</TipResp>\r\n"
         "</P70ItemRespuestaPeticionDispensacion>\r\n";
}

bool CRespDispensaciones::addDispensationResult(const CRespError& objRespError) {
  CRespError copy;
  copy.Codigo = objRespError.Codigo;
  copy.Description = objRespError.Description;
  copy.CodigoDispensado = objRespError.CodigoDispensado;
  copy.TipoRespuesta = objRespError.TipoRespuesta;
  resultado_.Add(std::move(copy));
  return true;
}

bool CRespDispensaciones::FromXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CRespDispensaciones.FromXMLFile";
  return core::Method<bool>({.trace = kMethod, .argument = path}, [&] {
    xml::Document doc;
    if (!doc.Load(path)) Raise(errnum::kXmlNotLoaded, kMethod);
    // 32000 keeps the single response's text, class name included.
    if (!IObject_FromXML(doc.ChildNodes())) Raise(errnum::kResponseNotFilled, kMethod);
    return true;
  });
}

// The rows are read only when the overall code is not "0", and then from every "Respuestas"
// node of the whole list, once per non-"0" result node. The log texts are this reader's own
// words and the batch tools grep for them.
bool CRespDispensaciones::IObject_FromXML(const XmlNodeList& nodes) {
  static constexpr const char* kMethod = "CRespDispensaciones.IObject_FromXML";
  return core::Method<bool>({.trace = kMethod}, [&] {
    core::LogLine("CRespDispensaciones.IObject_FromXML:" + errors::Text("log.loading_from_xml"));
    Fire(onBeforeTransformFromXML);
    for (size_t i = 0; i < nodes.length(); ++i) {
      const XmlNode node = nodes.Item(i);
      core::LogLine("CRespDispensaciones.IObject_FromXML:" +
                    errors::Text("log.batch_answer.node",
                                 {node.nodeName(), messages::Decimal(static_cast<long long>(i))}));
      if (UpperCase(node.LocalName()) != "RESULTRESP") continue;
      blnCodigoErrorDisp = node.Text() == "0";
      if (blnCodigoErrorDisp) {
        core::LogLine("CRespDispensaciones.IObject_FromXML:" + errors::Text("log.batch_answer.accepted"));
        dispensacionRealizada_ = true;
        continue;
      }
      core::LogLine("CRespDispensaciones.IObject_FromXML:" + errors::Text("log.batch_answer.refused"));
      for (size_t j = 0; j < nodes.length(); ++j) {
        const XmlNode list = nodes.Item(j);
        if (UpperCase(list.LocalName()) != "RESPUESTAS") continue;
        XmlNodeList items = list.childNodes();
        for (size_t k = 0; k < items.length(); ++k) {
          core::LogLine("CRespDispensaciones.IObject_FromXML:" + errors::Text("log.batch_answer.row"));
          // One working row is reused on purpose; the copy made by addDispensationResult is
          // what keeps the rows apart.
          addDispensationResult(working_.createResp(items.Item(k).childNodes()));
        }
      }
    }
    Fire(onEndTransformFromXML);
    return true;
  });
}

// The failure row every error of SetInternalResponse leaves, on its own in the list.
void CRespDispensaciones::AddFailureRow() {
  resultado_.Clear();
  working_.Codigo = "99999";
  working_.Description = kFailureText;
  working_.TipoRespuesta.assign(1, '1');  // not = "1": GCC 12 at -O3 warns (wrongly, -Wrestrict) on it
  working_.CodigoDispensado = "99999";
  addDispensationResult(working_);
}

// Each statement runs on its own: a failing one is recorded, leaves the failure row, and the
// next statement goes on. A forced response therefore holds the failure row and then the
// configured row.
void CRespDispensaciones::SetInternalResponse(bool obtained) {
  static constexpr const char* kMethod = "CRespDispensaciones.SetInternalResponse";
  core::TraceScope trace(kMethod, vb::BoolText(obtained));
  auto step = [&](const std::function<void()>& statement) {
    if (core::Recorded(kMethod, statement)) AddFailureRow();
  };
  if (!obtained) step([] { Raise(errnum::kForcedInternalResponse, kMethod); });
  bool haveIni = false;
  step([&] {
    haveIni = CFileAdmin().ExistIniFile();
    if (!haveIni) Raise(errnum::kIniUnreadable, kMethod);
  });
  if (!haveIni) return;
  CConfig& config = core::ThreadContext().Config;
  step([&] { blnCodigoErrorDisp = false; });
  step([&] { working_.Codigo = config.LoadInternalResponse("ResultResp"); });
  // One key fills three fields on purpose: the configured warning code is all the row has.
  step([&] { working_.Description = config.LoadInternalResponse("CodigoAviso"); });
  step([&] { working_.TipoRespuesta = config.LoadInternalResponse("CodigoAviso"); });
  step([&] { working_.CodigoDispensado = config.LoadInternalResponse("CodigoAviso"); });
  step([&] { addDispensationResult(working_); });
}

std::string CRespDispensaciones::ToString(bool withEnvelope) {
  static constexpr const char* kMethod = "CRespDispensaciones.ToString";
  return core::Method<std::string>({.trace = kMethod, .argument = vb::BoolText(withEnvelope)}, [&] {
    std::string body = "<RespuestaPeticion " + messages::Esquema() + "> ";
    body += std::string("<ResultResp >") + (blnCodigoErrorDisp ? "0" : "1") + "</ResultResp>\r\n";
    body += "<Respuestas >";
    for (const CRespError& row : resultado_) body += row.ToString();
    body += "</Respuestas>\r\n";
    body += "</RespuestaPeticion>\r\n";
    return messages::Enveloped(withEnvelope, messages::ResponseEnvelopeHeader(), std::move(body));
  });
}

bool CRespDispensaciones::ToXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CRespDispensaciones.ToXML";
  return core::Method<bool>({.trace = "CRespDispensaciones.ToXMLFile", .argument = path, .source = kMethod}, [&] {
    messages::SaveBody(ToString(false), path, kMethod);
    core::LogLine("CRespDispensaciones.ToXML:" + errors::Text("log.writing_response", {path}));
    return true;
  });
}

// Shares the single response's trace names.
std::shared_ptr<XmlNodeList> CRespDispensaciones::IObject_ToXML() {
  core::TraceScope trace("CRespuestaPeticion.IObject_ToXML");
  return nullptr;
}

bool CRespDispensaciones::IObject_RequiredFields() {
  core::TraceScope trace("CRespuestaPeticion.IObject_RequiredFields");
  trace.Result(true);
  return true;
}

}  // namespace velmora
