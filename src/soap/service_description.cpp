#include "soap/service_description.h"

#include <pugixml.hpp>

#include "errors/catalogue.h"
#include "soap/soap_error.h"
#include "soap/xml_names.h"

namespace velmora::soap {

namespace {

[[noreturn]] void Invalid(const std::string& source, const std::string& detail) {
  RaiseSoapError(SoapFailure::Description, source, detail);
}

// The definition named by a QName attribute ("tns:Foo"): WSDLs in the wild bind the prefix to
// the target namespace or leave it dangling, so the local part decides.
pugi::xml_node FindNamed(pugi::xml_node definitions, const char* kind, std::string_view qname) {
  std::string_view local = LocalPart(qname);
  for (pugi::xml_node c = definitions.first_child(); c; c = c.next_sibling())
    if (IsElement(c, kWsdlNs, kind) && local == c.attribute("name").value()) return c;
  return {};
}

std::vector<std::string> SplitBlanks(std::string_view text) {
  std::vector<std::string> words;
  size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r')) ++i;
    size_t start = i;
    while (i < text.size() && !(text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r')) ++i;
    if (i > start) words.emplace_back(text.substr(start, i - start));
  }
  return words;
}

// The part names of a message in document order, reordered by parameterOrder where that names
// them all, and narrowed to a soap:body "parts" list when one is given.
std::vector<std::string> PartNames(pugi::xml_node definitions, std::string_view messageName,
                                   std::string_view parameterOrder, std::string_view bodyParts,
                                   const std::string& source) {
  pugi::xml_node message = FindNamed(definitions, "message", messageName);
  if (!message) Invalid(source, errors::Text("soap.wsdl.no_message", {messageName}));
  std::vector<std::string> parts;
  for (pugi::xml_node p = message.first_child(); p; p = p.next_sibling())
    if (IsElement(p, kWsdlNs, "part")) parts.emplace_back(p.attribute("name").value());
  auto contains = [](const std::vector<std::string>& list, const std::string& name) {
    for (const auto& n : list)
      if (n == name) return true;
    return false;
  };
  std::vector<std::string> order = SplitBlanks(parameterOrder);
  if (!order.empty()) {
    std::vector<std::string> ordered;
    for (const auto& name : order)
      if (contains(parts, name)) ordered.push_back(name);
    for (const auto& name : parts)
      if (!contains(ordered, name)) ordered.push_back(name);
    parts = std::move(ordered);
  }
  std::vector<std::string> only = SplitBlanks(bodyParts);
  if (!only.empty()) {
    std::vector<std::string> narrowed;
    for (const auto& name : parts)
      if (contains(only, name)) narrowed.push_back(name);
    parts = std::move(narrowed);
  }
  return parts;
}

}  // namespace

ServiceDescription ParseServiceDescription(std::string_view text, const std::string& source) {
  pugi::xml_document doc;
  if (!doc.load_buffer(text.data(), text.size(), pugi::parse_default))
    Invalid(source, errors::Text("soap.wsdl.not_xml"));
  pugi::xml_node definitions = doc.document_element();
  if (!IsElement(definitions, kWsdlNs, "definitions")) Invalid(source, errors::Text("soap.wsdl.no_definitions"));

  ServiceDescription result;
  result.targetNamespace = definitions.attribute("targetNamespace").value();

  pugi::xml_node port, address;
  for (pugi::xml_node service = definitions.first_child(); service && !port; service = service.next_sibling()) {
    if (!IsElement(service, kWsdlNs, "service")) continue;
    for (pugi::xml_node p = service.first_child(); p; p = p.next_sibling()) {
      if (!IsElement(p, kWsdlNs, "port")) continue;
      if (pugi::xml_node a = ChildElement(p, kWsdlSoapNs, "address")) {
        port = p;
        address = a;
        result.serviceName = service.attribute("name").value();
        break;
      }
    }
  }
  if (!port) Invalid(source, errors::Text("soap.wsdl.no_port"));
  result.portName = port.attribute("name").value();
  result.endpoint = address.attribute("location").value();
  if (result.endpoint.empty()) Invalid(source, errors::Text("soap.wsdl.no_location"));

  pugi::xml_node binding = FindNamed(definitions, "binding", port.attribute("binding").value());
  if (!binding) Invalid(source, errors::Text("soap.wsdl.no_binding"));
  pugi::xml_node soapBinding = ChildElement(binding, kWsdlSoapNs, "binding");
  if (!soapBinding) Invalid(source, errors::Text("soap.wsdl.binding_not_soap"));
  std::string bindingStyle = soapBinding.attribute("style").as_string("document");
  pugi::xml_node portType = FindNamed(definitions, "portType", binding.attribute("type").value());
  if (!portType) Invalid(source, errors::Text("soap.wsdl.no_port_type"));

  for (pugi::xml_node op = binding.first_child(); op; op = op.next_sibling()) {
    if (!IsElement(op, kWsdlNs, "operation")) continue;
    OperationDescription d;
    d.name = op.attribute("name").value();
    pugi::xml_node soapOperation = ChildElement(op, kWsdlSoapNs, "operation");
    d.soapAction = soapOperation.attribute("soapAction").value();
    d.style = soapOperation.attribute("style").as_string(bindingStyle.c_str());

    pugi::xml_node abstract;
    for (pugi::xml_node o = portType.first_child(); o; o = o.next_sibling())
      if (IsElement(o, kWsdlNs, "operation") && d.name == o.attribute("name").value()) {
        abstract = o;
        break;
      }
    if (!abstract) Invalid(source, errors::Text("soap.wsdl.not_in_port_type", {d.name}));

    pugi::xml_node inputBody = ChildElement(ChildElement(op, kWsdlNs, "input"), kWsdlSoapNs, "body");
    pugi::xml_node outputBody = ChildElement(ChildElement(op, kWsdlNs, "output"), kWsdlSoapNs, "body");
    d.use = inputBody.attribute("use").as_string("literal");
    d.encodingStyle = inputBody.attribute("encodingStyle").value();
    d.bodyNamespace = inputBody.attribute("namespace").value();
    d.outputNamespace = outputBody.attribute("namespace").as_string(d.bodyNamespace.c_str());

    std::string_view parameterOrder = abstract.attribute("parameterOrder").value();
    pugi::xml_node input = ChildElement(abstract, kWsdlNs, "input");
    if (!input) Invalid(source, errors::Text("soap.wsdl.no_input_message", {d.name}));
    d.inputParts = PartNames(definitions, input.attribute("message").value(), parameterOrder,
                             inputBody.attribute("parts").value(), source);
    if (pugi::xml_node output = ChildElement(abstract, kWsdlNs, "output"))
      d.outputParts = PartNames(definitions, output.attribute("message").value(), {},
                                outputBody.attribute("parts").value(), source);
    result.operations[d.name] = std::move(d);
  }
  return result;
}

}  // namespace velmora::soap
