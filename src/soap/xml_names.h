#pragma once

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace velmora::soap {

// pugixml keeps names as written; WSDL and SOAP documents are only understood through the
// namespace each prefix is bound to, since every toolkit picks its own prefixes.

inline constexpr const char* kWsdlNs = "http://schemas.xmlsoap.org/wsdl/";
inline constexpr const char* kWsdlSoapNs = "http://schemas.xmlsoap.org/wsdl/soap/";
inline constexpr const char* kEnvelopeNs = "http://schemas.xmlsoap.org/soap/envelope/";
inline constexpr const char* kEncodingNs = "http://schemas.xmlsoap.org/soap/encoding/";
inline constexpr const char* kSchemaNs = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kSchemaInstanceNs = "http://www.w3.org/2001/XMLSchema-instance";

// "m:Name" -> "Name"; a name without prefix is returned as it is.
std::string_view LocalPart(std::string_view qualifiedName);
// The namespace URI bound to `prefix` ("" for the default namespace) where `node` stands;
// empty when unbound.
std::string NamespaceForPrefix(pugi::xml_node node, std::string_view prefix);
// The namespace URI of an element's own name.
std::string NamespaceOf(pugi::xml_node element);
// True when `element` is `localName` in namespace `ns`.
bool IsElement(pugi::xml_node element, std::string_view ns, std::string_view localName);
// The first element child that is `localName` in `ns`, or an empty node.
pugi::xml_node ChildElement(pugi::xml_node parent, std::string_view ns, std::string_view localName);
// The first element child of any name, or an empty node.
pugi::xml_node FirstElementChild(pugi::xml_node parent);
// An attribute by local name whatever its prefix (the SOAP attributes are read this way:
// senders qualify them or not).
pugi::xml_attribute AttributeByLocalName(pugi::xml_node element, std::string_view localName);

}  // namespace velmora::soap
