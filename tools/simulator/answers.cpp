#include "answers.h"

#include <sstream>

#include <pugixml.hpp>

namespace velmora::sim {

namespace {

constexpr const char* kEnvNs = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kEncNs = "http://schemas.xmlsoap.org/soap/encoding/";

struct Body {
  pugi::xml_document doc;
  pugi::xml_node body;
};

void StartEnvelope(Body& b) {
  pugi::xml_node decl = b.doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  pugi::xml_node env = b.doc.append_child("soapenv:Envelope");
  env.append_attribute("xmlns:soapenv") = kEnvNs;
  env.append_attribute("xmlns:xsd") = "http://www.w3.org/2001/XMLSchema";
  env.append_attribute("xmlns:xsi") = "http://www.w3.org/2001/XMLSchema-instance";
  b.body = env.append_child("soapenv:Body");
}

std::string Serialize(const pugi::xml_document& doc) {
  std::ostringstream out;
  doc.save(out, "", pugi::format_raw, pugi::encoding_utf8);
  return out.str();
}

pugi::xml_node StartReturn(Body& b, const ServiceFlavour& f, const char* operation) {
  pugi::xml_node wrapper = b.body.append_child(("ns1:" + std::string(operation) + "Response").c_str());
  wrapper.append_attribute("soapenv:encodingStyle") = kEncNs;
  wrapper.append_attribute("xmlns:ns1") = f.bodyNamespace.c_str();
  return wrapper;
}

void Text(pugi::xml_node parent, const char* name, const std::string& value, const char* type) {
  pugi::xml_node e = parent.append_child(name);
  e.append_attribute("xsi:type") = type;
  e.text().set(value.c_str());
}

void StringArray(pugi::xml_node parent, const char* name, const std::vector<std::string>& items) {
  pugi::xml_node a = parent.append_child(name);
  a.append_attribute("xsi:type") = "soapenc:Array";
  a.append_attribute("soapenc:arrayType") = ("xsd:string[" + std::to_string(items.size()) + "]").c_str();
  a.append_attribute("xmlns:soapenc") = kEncNs;
  for (const auto& item : items) Text(a, "item", item, "xsd:string");
}

struct SingleContent {
  int motivos = 0;
  int avisos = 0;
  std::vector<std::string> textoAviso, textoMotivosRechazo, codigoMotivosRechazo, codigoAviso;
};

SingleContent ContentOf(ScenarioKind kind, const std::string& ok) {
  switch (kind) {
    case ScenarioKind::Rejected:
      return {2, 0, {}, {"Receta ya dispensada", "Código de producto no válido"}, {"2001", "2002"}, {}};
    case ScenarioKind::Markup:
      // Written into a file unescaped, this text would close the reasons and add the success
      // code as a warning: the file itself would then declare the dispensation done.
      return {1, 0, {}, {"Receta <b>anulada</b> & bloqueada</SOAP-ENC:string></textoMotivosRechazo><codigoAviso>" + ok +
                         "</codigoAviso><textoMotivosRechazo>"}, {"2001"}, {}};
    case ScenarioKind::Warnings:
      return {0, 2, {"Dispensación realizada", "Atención: envase próximo a caducar"}, {}, {}, {ok, "1201"}};
    case ScenarioKind::Multiref:
      // Non-ASCII text, and ">" which travels escaped; the reader must give both back as text.
      return {0, 1, {"Atención: dosis > 2 \"revisar\" — ñandú"}, {}, {}, {ok}};
    default:
      return {0, 1, {"Dispensación realizada"}, {}, {}, {ok}};
  }
}

std::string SingleAnswer(ScenarioKind kind, const ServiceFlavour& f, const std::string& ok) {
  Body b;
  StartEnvelope(b);
  pugi::xml_node wrapper = StartReturn(b, f, kSingleOperation);
  if (kind == ScenarioKind::NoReturn) {
    wrapper.append_child(f.outputPart.c_str()).append_attribute("xsi:nil") = "true";
    return Serialize(b.doc);
  }
  SingleContent c = ContentOf(kind, ok);
  if (kind != ScenarioKind::Multiref) {
    pugi::xml_node ret = wrapper.append_child(f.outputPart.c_str());
    ret.append_attribute("xsi:type") = "ns2:RespuestaPeticion";
    ret.append_attribute("xmlns:ns2") = "java:dispensacion.ejb";
    Text(ret, "NMotivosRechazo", std::to_string(c.motivos), "xsd:short");
    Text(ret, "NAvisos", std::to_string(c.avisos), "xsd:short");
    StringArray(ret, "textoAviso", c.textoAviso);
    StringArray(ret, "textoMotivosRechazo", c.textoMotivosRechazo);
    StringArray(ret, "codigoMotivosRechazo", c.codigoMotivosRechazo);
    StringArray(ret, "codigoAviso", c.codigoAviso);
    return Serialize(b.doc);
  }
  // Java style: the return value, each array and each array item are multi-references placed
  // after the wrapper, and a reference may point at a value that itself holds references.
  b.body.append_attribute("xmlns:soapenc") = kEncNs;
  wrapper.append_child(f.outputPart.c_str()).append_attribute("href") = "#id0";
  int next = 1;
  auto multiRef = [&](int id) {
    pugi::xml_node m = b.body.append_child("multiRef");
    m.append_attribute("id") = ("id" + std::to_string(id)).c_str();
    m.append_attribute("soapenc:root") = "0";
    m.append_attribute("soapenv:encodingStyle") = kEncNs;
    return m;
  };
  pugi::xml_node ret = multiRef(0);
  ret.append_attribute("xsi:type") = "ns2:RespuestaPeticion";
  ret.append_attribute("xmlns:ns2") = "java:dispensacion.ejb";
  Text(ret, "NMotivosRechazo", std::to_string(c.motivos), "xsd:short");
  Text(ret, "NAvisos", std::to_string(c.avisos), "xsd:short");
  for (auto [name, items] : {std::pair{"textoAviso", &c.textoAviso}, std::pair{"textoMotivosRechazo", &c.textoMotivosRechazo},
                             std::pair{"codigoMotivosRechazo", &c.codigoMotivosRechazo},
                             std::pair{"codigoAviso", &c.codigoAviso}}) {
    int arrayId = next++;
    ret.append_child(name).append_attribute("href") = ("#id" + std::to_string(arrayId)).c_str();
    pugi::xml_node array = multiRef(arrayId);
    array.append_attribute("xsi:type") = "soapenc:Array";
    array.append_attribute("soapenc:arrayType") = ("xsd:string[" + std::to_string(items->size()) + "]").c_str();
    for (const auto& item : *items) {
      int itemId = next++;
      array.append_child("item").append_attribute("href") = ("#id" + std::to_string(itemId)).c_str();
      pugi::xml_node value = multiRef(itemId);
      value.append_attribute("xsi:type") = "xsd:string";
      value.text().set(item.c_str());
    }
  }
  return Serialize(b.doc);
}

std::string BatchAnswer(ScenarioKind kind, const ServiceFlavour& f, const std::string& ok,
                        const std::vector<std::string>& items) {
  Body b;
  StartEnvelope(b);
  pugi::xml_node ret = StartReturn(b, f, kBatchOperation).append_child(f.outputPart.c_str());
  ret.append_attribute("xsi:type") = "ns2:RespuestaDispensaciones";
  ret.append_attribute("xmlns:ns2") = "java:dispensacion.ejb";
  const bool rejected = kind == ScenarioKind::BatchRejected;
  Text(ret, "ResultResp", rejected ? "1" : "0", "xsd:string");
  pugi::xml_node rows = ret.append_child("Respuestas");
  rows.append_attribute("xsi:type") = "soapenc:Array";
  rows.append_attribute("xmlns:soapenc") = kEncNs;
  size_t count = rejected ? items.size() : 0;
  rows.append_attribute("soapenc:arrayType") =
      ("ns2:P70ItemRespuestaPeticionDispensacion[" + std::to_string(count) + "]").c_str();
  for (size_t i = 0; i < count; ++i) {
    const bool bad = i % 2 == 1 || items.size() == 1;
    pugi::xml_node row = rows.append_child("item");
    Text(row, "CodResp", bad ? "2001" : ok, "xsd:string");
    Text(row, "DescResp", bad ? "Dispensación rechazada: receta ya dispensada" : "Dispensación realizada", "xsd:string");
    Text(row, "CodDisp", items[i], "xsd:string");
    Text(row, "TipResp", bad ? "1" : "0", "xsd:string");
  }
  return Serialize(b.doc);
}

// Latin-1 bytes of a UTF-8 text whose characters all lie below U+0100.
std::string Latin1(const std::string& utf8) {
  std::string out;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if ((c == 0xC2 || c == 0xC3) && i + 1 < utf8.size()) {
      out += static_cast<char>(((c & 0x03) << 6) | (static_cast<unsigned char>(utf8[++i]) & 0x3F));
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

}  // namespace

Answer BuildFault(const std::string& faultCode, const std::string& faultString, const std::string& detail) {
  Body b;
  StartEnvelope(b);
  pugi::xml_node fault = b.body.append_child("soapenv:Fault");
  fault.append_child("faultcode").text().set(faultCode.c_str());
  fault.append_child("faultstring").text().set(faultString.c_str());
  if (!detail.empty()) fault.append_child("detail").append_child("mensaje").text().set(detail.c_str());
  return {500, "text/xml; charset=utf-8", Serialize(b.doc), false};
}

Answer BuildAnswer(const Scenario& scenario, const ServiceFlavour& f, bool batch, const std::string& ok,
                   const std::vector<std::string>& batchItems) {
  switch (scenario.kind) {
    case ScenarioKind::Fault:
      return BuildFault("soapenv:Server", "Error interno del servicio de dispensación (simulado)",
                        "java.lang.IllegalStateException: base de datos no disponible");
    case ScenarioKind::Http500:
      return {500, "text/html; charset=utf-8",
              "<html><head><title>500 Internal Server Error</title></head><body><h1>Internal Server Error</h1>"
              "</body></html>",
              false};
    case ScenarioKind::FaultLong: {
      std::string text = "Error del servicio\r\n2024/01/01 00:00:00 CExecutor.SolicitudDispensacion:Linea falsa\r\n";
      text.append(size_t{1} << 20, 'x');
      return BuildFault("soapenv:Server", text, {});
    }
    case ScenarioKind::IllFormed:
      return {200, "text/xml; charset=utf-8",
              "<?xml version=\"1.0\"?><soapenv:Envelope xmlns:soapenv=\"" + std::string(kEnvNs) +
                  "\"><soapenv:Body><ns1:Respuesta><return><NAvisos>1</NAvisos></soapenv:Body>",
              false};
    default:
      break;
  }
  Answer a;
  ScenarioKind kind = scenario.kind == ScenarioKind::Slow || scenario.kind == ScenarioKind::Drop
                          ? (batch ? ScenarioKind::BatchAccepted : ScenarioKind::Accepted)
                          : scenario.kind;
  if (kind == ScenarioKind::Latin1) kind = ScenarioKind::Warnings;
  if (scenario.rejected) kind = batch ? ScenarioKind::BatchRejected : ScenarioKind::Rejected;
  a.body = batch ? BatchAnswer(kind, f, ok, batchItems) : SingleAnswer(kind, f, ok);
  if (scenario.kind == ScenarioKind::Latin1) a.body = Latin1(a.body);
  a.dropHalfway = scenario.kind == ScenarioKind::Drop;
  return a;
}

}  // namespace velmora::sim
