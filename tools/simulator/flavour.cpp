#include "flavour.h"

#include <sstream>

#include <pugixml.hpp>

namespace velmora::sim {

namespace {

const ServiceFlavour kFlavours[] = {
    {"standard", "http://dispensacion.salud.example/wsdl", "urn:Dispensacion", "urn:Dispensacion#SolicitudDispensacion",
     "urn:Dispensacion#SolicitudDispensacionMasiva", "arg0", "return", "/dispensacion"},
    {"alternate", "urn:receta-v2:definiciones", "http://receta.example.org/v2/servicio",
     "http://receta.example.org/v2/acciones/Dispensar", "http://receta.example.org/v2/acciones/DispensarLote",
     "peticion", "resultado", "/servicios/receta-v2"},
};

struct Prefixes {
  std::string wsdl, soap, tns;
};

std::string Q(const std::string& prefix, const char* local) {
  return prefix.empty() ? std::string(local) : prefix + ":" + local;
}

void AddMessage(pugi::xml_node defs, const Prefixes& p, const std::string& name, const std::string& part,
                const std::string& type) {
  pugi::xml_node m = defs.append_child(Q(p.wsdl, "message").c_str());
  m.append_attribute("name") = name.c_str();
  pugi::xml_node pt = m.append_child(Q(p.wsdl, "part").c_str());
  pt.append_attribute("name") = part.c_str();
  pt.append_attribute("type") = type.c_str();
}

void AddBody(pugi::xml_node parent, const Prefixes& p, const ServiceFlavour& f) {
  pugi::xml_node b = parent.append_child(Q(p.soap, "body").c_str());
  b.append_attribute("use") = "encoded";
  b.append_attribute("encodingStyle") = "http://schemas.xmlsoap.org/soap/encoding/";
  b.append_attribute("namespace") = f.bodyNamespace.c_str();
}

}  // namespace

const ServiceFlavour* FindFlavour(const std::string& name) {
  for (const auto& f : kFlavours)
    if (f.name == name) return &f;
  return nullptr;
}

std::string BuildWsdl(const ServiceFlavour& f, const std::string& endpoint) {
  // The alternate flavour writes WSDL elements in the default namespace and uses other
  // prefixes, as other toolkits do.
  const bool standard = f.name == "standard";
  Prefixes p = standard ? Prefixes{"wsdl", "wsdlsoap", "impl"} : Prefixes{"", "s", "r2"};
  pugi::xml_document doc;
  pugi::xml_node decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  pugi::xml_node defs = doc.append_child(Q(p.wsdl, "definitions").c_str());
  defs.append_attribute("targetNamespace") = f.targetNamespace.c_str();
  defs.append_attribute(("xmlns:" + p.tns).c_str()) = f.targetNamespace.c_str();
  defs.append_attribute(p.wsdl.empty() ? "xmlns" : ("xmlns:" + p.wsdl).c_str()) = "http://schemas.xmlsoap.org/wsdl/";
  defs.append_attribute(("xmlns:" + p.soap).c_str()) = "http://schemas.xmlsoap.org/wsdl/soap/";
  defs.append_attribute("xmlns:xsd") = "http://www.w3.org/2001/XMLSchema";
  defs.append_attribute("xmlns:soapenc") = "http://schemas.xmlsoap.org/soap/encoding/";

  const std::string tns = p.tns + ":";
  for (const char* op : {kSingleOperation, kBatchOperation}) {
    AddMessage(defs, p, std::string(op) + "Request", f.inputPart, tns + "PeticionDispensacion");
    AddMessage(defs, p, std::string(op) + "Response", f.outputPart, tns + "RespuestaPeticion");
  }
  pugi::xml_node portType = defs.append_child(Q(p.wsdl, "portType").c_str());
  portType.append_attribute("name") = "Dispensacion";
  for (const char* op : {kSingleOperation, kBatchOperation}) {
    pugi::xml_node o = portType.append_child(Q(p.wsdl, "operation").c_str());
    o.append_attribute("name") = op;
    o.append_attribute("parameterOrder") = f.inputPart.c_str();
    o.append_child(Q(p.wsdl, "input").c_str()).append_attribute("message") = (tns + op + "Request").c_str();
    o.append_child(Q(p.wsdl, "output").c_str()).append_attribute("message") = (tns + op + "Response").c_str();
  }
  pugi::xml_node binding = defs.append_child(Q(p.wsdl, "binding").c_str());
  binding.append_attribute("name") = "DispensacionSoapBinding";
  binding.append_attribute("type") = (tns + "Dispensacion").c_str();
  pugi::xml_node sb = binding.append_child(Q(p.soap, "binding").c_str());
  sb.append_attribute("style") = "rpc";
  sb.append_attribute("transport") = "http://schemas.xmlsoap.org/soap/http";
  for (const char* op : {kSingleOperation, kBatchOperation}) {
    pugi::xml_node o = binding.append_child(Q(p.wsdl, "operation").c_str());
    o.append_attribute("name") = op;
    o.append_child(Q(p.soap, "operation").c_str()).append_attribute("soapAction") =
        (std::string(op) == kSingleOperation ? f.singleAction : f.batchAction).c_str();
    AddBody(o.append_child(Q(p.wsdl, "input").c_str()), p, f);
    AddBody(o.append_child(Q(p.wsdl, "output").c_str()), p, f);
  }
  pugi::xml_node service = defs.append_child(Q(p.wsdl, "service").c_str());
  service.append_attribute("name") = "DispensacionService";
  pugi::xml_node port = service.append_child(Q(p.wsdl, "port").c_str());
  port.append_attribute("name") = "Dispensacion";
  port.append_attribute("binding") = (tns + "DispensacionSoapBinding").c_str();
  port.append_child(Q(p.soap, "address").c_str()).append_attribute("location") = endpoint.c_str();

  std::ostringstream out;
  doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

}  // namespace velmora::sim
