#include "messages/body.h"

#include <charconv>

#include "core/context.h"
#include "xml/xml.h"
#include "velmora/error.h"

namespace velmora::messages {

std::string Escaped(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  for (char c : value) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Element(std::string_view name, std::string_view value) {
  std::string out;
  out.reserve(2 * name.size() + value.size() + 8);
  out += '<';
  out += name;
  out += " >";
  out += Escaped(value);
  out += "</";
  out += name;
  out += '>';
  out += kCrLf;
  return out;
}

const std::string& Esquema() { return core::ThreadContext().EsquemaXML; }

std::string RequestEnvelopeHeader() {
  return "<?xml version='1.0' encoding='UTF-8'?>"
         "<SOAP-ENV:Envelope xmlns:SOAP-ENV='http://schemas.xmlsoap.org/soap/envelope/' "
         "xmlns:SOAP-ENC='http://schemas.xmlsoap.org/soap/encoding/' " +
         Esquema() +
         ">"
         "<SOAP-ENV:Body><ns0:solicitudDispensacion xmlns:ns0='urn:Dispensacion' "
         "SOAP-ENV:encodingStyle='http://schemas.xmlsoap.org/soap/encoding/'>"
         "<arg0 xsi:type='bean:PeticionDispensacion' xmlns:bean='java:dispensacion.ejb'>\r\n";
}

std::string ResponseEnvelopeHeader() {
  return "<?xml version='1.0' encoding='UTF-8'?>"
         "<SOAP-ENV:Envelope xmlns:SOAP-ENV='http://schemas.xmlsoap.org/soap/envelope/' "
         "xmlns:SOAP-ENC='http://schemas.xmlsoap.org/soap/encoding/' "
         "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:xsd='http://www.w3.org/2001/XMLSchema'>"
         "<SOAP-ENV:Body><ns0:solicitudDispensacion xmlns:ns0='urn:Dispensacion' "
         "SOAP-ENV:encodingStyle='http://schemas.xmlsoap.org/soap/encoding/'>"
         "<arg0 xsi:type='bean:PeticionDispensacion' xmlns:bean='java:dispensacion.ejb'>\r\n";
}

std::string EnvelopeFooter() {
  std::string footer = "</arg0></ns0:solicitudDispensacion>";
  footer += "</SOAP-ENV:Body>";
  footer = "</SOAP-ENV:Envelope>";
  return footer;
}

std::string Enveloped(bool withEnvelope, const std::string& header, std::string body) {
  if (!withEnvelope) return body;
  return header + body + EnvelopeFooter();
}

void SaveBody(const std::string& body, const std::string& path, const std::string& source) {
  xml::Document doc;
  if (!doc.LoadXml(body)) Raise(errnum::kRequestXmlInvalid, source);
  doc.Save(path, source);
}

std::string WithoutPassword(std::string body) {
  static constexpr std::string_view kOpen = "<claveUsuario >";
  const size_t start = body.find(kOpen);
  if (start == std::string::npos) return body;
  const size_t from = start + kOpen.size();
  const size_t end = body.find("</claveUsuario>", from);
  if (end != std::string::npos && end > from) body.replace(from, end - from, "********");
  return body;
}

std::string Decimal(long long value) {
  char buf[24];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

}  // namespace velmora::messages
