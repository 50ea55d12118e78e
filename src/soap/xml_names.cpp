#include "soap/xml_names.h"

namespace velmora::soap {

std::string_view LocalPart(std::string_view qualifiedName) {
  size_t colon = qualifiedName.find(':');
  return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

namespace {

std::string_view PrefixOf(std::string_view qualifiedName) {
  size_t colon = qualifiedName.find(':');
  return colon == std::string_view::npos ? std::string_view() : qualifiedName.substr(0, colon);
}

}  // namespace

std::string NamespaceForPrefix(pugi::xml_node node, std::string_view prefix) {
  std::string attribute = prefix.empty() ? std::string("xmlns") : "xmlns:" + std::string(prefix);
  for (pugi::xml_node n = node; n && n.type() == pugi::node_element; n = n.parent())
    if (pugi::xml_attribute a = n.attribute(attribute.c_str())) return a.value();
  if (prefix == "xml") return "http://www.w3.org/XML/1998/namespace";
  return {};
}

std::string NamespaceOf(pugi::xml_node element) {
  return NamespaceForPrefix(element, PrefixOf(element.name()));
}

bool IsElement(pugi::xml_node element, std::string_view ns, std::string_view localName) {
  return element.type() == pugi::node_element && LocalPart(element.name()) == localName &&
         NamespaceOf(element) == ns;
}

pugi::xml_node ChildElement(pugi::xml_node parent, std::string_view ns, std::string_view localName) {
  for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling())
    if (IsElement(c, ns, localName)) return c;
  return {};
}

pugi::xml_node FirstElementChild(pugi::xml_node parent) {
  for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling())
    if (c.type() == pugi::node_element) return c;
  return {};
}

pugi::xml_attribute AttributeByLocalName(pugi::xml_node element, std::string_view localName) {
  for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
    std::string_view name = a.name();
    if (name.substr(0, 5) == "xmlns") continue;
    if (LocalPart(name) == localName) return a;
  }
  return {};
}

}  // namespace velmora::soap
