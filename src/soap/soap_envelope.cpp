#include "soap/soap_envelope.h"

#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "errors/catalogue.h"
#include "soap/soap_error.h"
#include "soap/xml_names.h"

namespace velmora::soap {

namespace {

// Multi-reference graphs come from outside: a reference chain or nesting deeper than this is
// refused rather than followed into a stack overflow.
constexpr size_t kMaxResolveDepth = 256;
// References can share targets, so a small reply could expand exponentially; the answers of
// this service are a few hundred nodes.
constexpr size_t kMaxResolvedNodes = 200000;

// Declarations the copied nodes may rely on that the envelope does not make: a node list cut
// out of its document loses what its ancestors declared. The default namespace is left out: it
// would put the accessor itself into a namespace.
void CopyInScopeNamespaces(pugi::xml_node from, pugi::xml_node to) {
  for (pugi::xml_node n = from; n && n.type() == pugi::node_element; n = n.parent())
    for (pugi::xml_attribute a = n.first_attribute(); a; a = a.next_attribute()) {
      std::string_view name = a.name();
      if (name.substr(0, 6) == "xmlns:" && !to.attribute(a.name())) to.append_attribute(a.name()) = a.value();
    }
}

}  // namespace

std::string BuildRequestEnvelope(const OperationDescription& operation, const std::vector<pugi::xml_node>& nodes) {
  pugi::xml_document doc;
  pugi::xml_node decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  decl.append_attribute("standalone") = "no";
  pugi::xml_node envelope = doc.append_child("SOAP-ENV:Envelope");
  envelope.append_attribute("xmlns:SOAPSDK1") = kSchemaNs;
  envelope.append_attribute("xmlns:SOAPSDK2") = kSchemaInstanceNs;
  envelope.append_attribute("xmlns:SOAPSDK3") = kEncodingNs;
  envelope.append_attribute("xmlns:SOAP-ENV") = kEnvelopeNs;
  pugi::xml_node body = envelope.append_child("SOAP-ENV:Body");
  if (!operation.encodingStyle.empty())
    body.append_attribute("SOAP-ENV:encodingStyle") = operation.encodingStyle.c_str();
  pugi::xml_node call = body.append_child(("SOAPSDK4:" + operation.name).c_str());
  call.append_attribute("xmlns:SOAPSDK4") = operation.bodyNamespace.c_str();
  for (size_t i = 0; i < operation.inputParts.size(); ++i) {
    pugi::xml_node accessor = call.append_child(operation.inputParts[i].c_str());
    if (i > 0 || nodes.empty()) continue;
    CopyInScopeNamespaces(nodes.front().parent(), accessor);
    std::string defaultNs = NamespaceForPrefix(nodes.front().parent(), "");
    for (const pugi::xml_node& n : nodes) {
      pugi::xml_node copy = accessor.append_copy(n);
      if (!defaultNs.empty() && copy.type() == pugi::node_element && !copy.attribute("xmlns"))
        copy.append_attribute("xmlns") = defaultNs.c_str();
    }
  }
  std::ostringstream out;
  doc.save(out, "", pugi::format_raw, pugi::encoding_utf8);
  return out.str();
}

namespace {

pugi::xml_node FindBody(const pugi::xml_document& doc) {
  pugi::xml_node envelope = doc.document_element();
  if (!IsElement(envelope, kEnvelopeNs, "Envelope")) return {};
  return ChildElement(envelope, kEnvelopeNs, "Body");
}

std::string FaultDescription(pugi::xml_node fault) {
  // faultcode, faultstring and detail are unqualified in SOAP 1.1, but some servers qualify them.
  auto child = [&](const char* local) -> pugi::xml_node {
    for (pugi::xml_node c = fault.first_child(); c; c = c.next_sibling())
      if (c.type() == pugi::node_element && LocalPart(c.name()) == local) return c;
    return {};
  };
  std::string text = child("faultcode").text().get();
  std::string faultString = child("faultstring").text().get();
  if (!faultString.empty()) text += (text.empty() ? "" : " - ") + faultString;
  if (pugi::xml_node detail = child("detail")) {
    // All text of the detail, in document order.
    struct Collect : pugi::xml_tree_walker {
      std::string text;
      bool for_each(pugi::xml_node& n) override {
        if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata) {
          if (!text.empty()) text += ' ';
          text += n.value();
        }
        return text.size() < 2000;
      }
    } collect;
    detail.traverse(collect);
    if (!collect.text.empty()) text += " (" + collect.text + ")";
  }
  return text;
}

class Resolver {
 public:
  Resolver(pugi::xml_node body, const std::string& source) : source_(source) {
    // Targets of references may sit anywhere in the body (Java stacks put them after the
    // wrapper, others nest them).
    struct Index : pugi::xml_tree_walker {
      std::map<std::string, pugi::xml_node>* ids;
      bool for_each(pugi::xml_node& n) override {
        if (n.type() == pugi::node_element)
          if (pugi::xml_attribute id = n.attribute("id")) ids->emplace(id.value(), n);
        return true;
      }
    } index;
    index.ids = &ids_;
    body.traverse(index);
  }

  // Copies `from` under `to` with references replaced: the referring element keeps its name and
  // its own attributes, and takes the attributes (but the id) and the children of its target.
  void Copy(pugi::xml_node from, pugi::xml_node to, size_t depth) {
    if (depth > kMaxResolveDepth) RaiseSoapError(SoapFailure::Malformed, source_, errors::Text("soap.envelope.too_deep"));
    if (++copied_ > kMaxResolvedNodes) RaiseSoapError(SoapFailure::Malformed, source_, errors::Text("soap.envelope.too_many_references"));
    if (from.type() != pugi::node_element) {
      to.append_copy(from);
      return;
    }
    pugi::xml_node copy = to.append_child(from.name());
    for (pugi::xml_attribute a = from.first_attribute(); a; a = a.next_attribute())
      if (std::string_view(a.name()) != "href") copy.append_attribute(a.name()) = a.value();
    pugi::xml_node content = from;
    std::string followed;
    if (pugi::xml_attribute href = from.attribute("href")) {
      std::string_view ref = href.value();
      if (ref.empty() || ref[0] != '#')
        RaiseSoapError(SoapFailure::Malformed, source_, errors::Text("soap.envelope.external_reference", {ref}));
      followed = std::string(ref.substr(1));
      auto it = ids_.find(followed);
      if (it == ids_.end()) RaiseSoapError(SoapFailure::Malformed, source_, errors::Text("soap.envelope.dangling_reference", {ref}));
      if (!active_.insert(followed).second)
        RaiseSoapError(SoapFailure::Malformed, source_, errors::Text("soap.envelope.circular_reference", {ref}));
      content = it->second;
      for (pugi::xml_attribute a = content.first_attribute(); a; a = a.next_attribute()) {
        std::string_view name = a.name();
        if (name != "id" && !copy.attribute(a.name())) copy.append_attribute(a.name()) = a.value();
      }
    }
    for (pugi::xml_node c = content.first_child(); c; c = c.next_sibling()) Copy(c, copy, depth + 1);
    if (!followed.empty()) active_.erase(followed);
  }

 private:
  const std::string& source_;
  std::map<std::string, pugi::xml_node> ids_;
  std::set<std::string> active_;
  size_t copied_ = 0;
};

bool IsNil(pugi::xml_node accessor) {
  pugi::xml_attribute nil = AttributeByLocalName(accessor, "nil");
  return nil && (std::string_view(nil.value()) == "true" || std::string_view(nil.value()) == "1");
}

}  // namespace

bool ReadFault(std::string_view text, std::string& description) {
  pugi::xml_document doc;
  if (!doc.load_buffer(text.data(), text.size(), xml::kParseOptions)) return false;
  pugi::xml_node fault = ChildElement(FindBody(doc), kEnvelopeNs, "Fault");
  if (!fault) return false;
  description = FaultDescription(fault);
  return true;
}

std::optional<XmlNodeList> ReadResponseEnvelope(std::string_view text, const OperationDescription& operation,
                                                const std::string& source) {
  if (text.size() > xml::kMaxDocumentBytes)
    RaiseSoapError(SoapFailure::Malformed, source, errors::Text("soap.envelope.too_large"));
  pugi::xml_document doc;
  pugi::xml_parse_result parsed = doc.load_buffer(text.data(), text.size(), xml::kParseOptions);
  if (!parsed)
    RaiseSoapError(SoapFailure::Malformed, source,
                   errors::Text("soap.envelope.not_xml", {parsed.description(), std::to_string(parsed.offset)}));
  pugi::xml_node body = FindBody(doc);
  if (!body) RaiseSoapError(SoapFailure::Malformed, source, errors::Text("soap.envelope.no_body"));
  pugi::xml_node wrapper = FirstElementChild(body);
  if (!wrapper) RaiseSoapError(SoapFailure::Malformed, source, errors::Text("soap.envelope.empty_body"));
  if (IsElement(wrapper, kEnvelopeNs, "Fault"))
    RaiseSoapError(SoapFailure::Fault, source, FaultDescription(wrapper));

  pugi::xml_node accessor;
  if (!operation.outputParts.empty())
    for (pugi::xml_node c = wrapper.first_child(); c; c = c.next_sibling())
      if (c.type() == pugi::node_element && LocalPart(c.name()) == operation.outputParts.front()) {
        accessor = c;
        break;
      }
  if (!accessor) accessor = FirstElementChild(wrapper);
  if (!accessor || IsNil(accessor)) return std::nullopt;

  auto result = std::make_shared<pugi::xml_document>();
  pugi::xml_node root = result->append_child(LocalPart(accessor.name()).data());
  // The readers look at names and text only, but an array's xsi:type and arrayType keep their
  // meaning only with the prefixes declared.
  CopyInScopeNamespaces(accessor, root);
  Resolver resolver(body, source);
  if (accessor.attribute("href")) {
    pugi::xml_node holder = result->append_child("holder");
    resolver.Copy(accessor, holder, 0);
    for (pugi::xml_attribute a = holder.first_child().first_attribute(); a; a = a.next_attribute())
      if (!root.attribute(a.name())) root.append_attribute(a.name()) = a.value();
    for (pugi::xml_node c = holder.first_child().first_child(); c; c = c.next_sibling()) root.append_copy(c);
    result->remove_child(holder);
  } else {
    for (pugi::xml_node c = accessor.first_child(); c; c = c.next_sibling()) resolver.Copy(c, root, 1);
  }
  return XmlNodeList::ElementChildren(result, root);
}

}  // namespace velmora::soap
