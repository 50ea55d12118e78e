#pragma once

// The XML layer of the message classes: what the old DOM parser gave them (load from text or
// file, save, the document element's children as a node list, nodeName, Text, nodeTypedValue),
// on pugixml. pugixml types stay in this folder and in the files that include it; the public
// headers only name `velmora::XmlNodeList`.
//
// Building a node list from any document (the SOAP client does this with the reply it parsed):
//
//   auto doc = std::make_shared<pugi::xml_document>();
//   doc->load_string(text, velmora::xml::xml::kParseOptions);
//   pugi::xml_node ret = doc->document_element().child("return");
//   velmora::XmlNodeList list = velmora::XmlNodeList::ElementChildren(doc, ret);
//   // or, from nodes picked by hand:
//   velmora::XmlNodeList list2(doc, {ret.child("NAvisos"), ret.child("codigoAviso")});
//
// The list holds a shared owner of the document, so it may outlive the code that parsed it and
// be handed across subsystems by value.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace velmora {

class XmlNodeList;

// One node of a document, kept alive by its owner.
class XmlNode {
 public:
  XmlNode() = default;
  XmlNode(std::shared_ptr<const pugi::xml_document> owner, pugi::xml_node node)
      : owner_(std::move(owner)), node_(node) {}

  // The name as written, prefix included ("m:NAvisos"); "#text" and "#cdata-section" for text.
  std::string nodeName() const;
  // The name without its prefix ("NAvisos"), what the readers match on.
  std::string LocalName() const;
  // All text of the node and its descendants, in document order, as it stands (no trimming),
  // always valid UTF-8: bytes that are not are read as Windows-1252.
  std::string Text() const;
  // Untyped documents give the same as Text().
  std::string nodeTypedValue() const { return Text(); }
  // The element, text and CDATA children (whitespace-only text is dropped at parse time;
  // comments and processing instructions are not listed).
  XmlNodeList childNodes() const;

  pugi::xml_node Raw() const { return node_; }

 private:
  std::shared_ptr<const pugi::xml_document> owner_;
  pugi::xml_node node_;
};

// An ordered list of nodes, all of one document whose owner the list shares. 0-based, as the
// DOM's item(i).
class XmlNodeList {
 public:
  XmlNodeList() = default;
  XmlNodeList(std::shared_ptr<const pugi::xml_document> owner, std::vector<pugi::xml_node> nodes)
      : owner_(std::move(owner)), nodes_(std::move(nodes)) {}

  // The element children of `parent`, in document order.
  static XmlNodeList ElementChildren(std::shared_ptr<const pugi::xml_document> owner, pugi::xml_node parent);

  size_t length() const { return nodes_.size(); }
  XmlNode Item(size_t index) const { return XmlNode(owner_, nodes_.at(index)); }

  const std::shared_ptr<const pugi::xml_document>& Owner() const { return owner_; }
  const std::vector<pugi::xml_node>& Nodes() const { return nodes_; }

 private:
  std::shared_ptr<const pugi::xml_document> owner_;
  std::vector<pugi::xml_node> nodes_;
};

namespace xml {

// Parse options: predefined and numeric character references are decoded; a DOCTYPE is skipped
// unread, so no entity it declares is ever expanded (an undeclared "&name;" stays as text);
// whitespace-only text is dropped, as the old parser did with preserveWhiteSpace off.
inline constexpr unsigned kParseOptions = pugi::parse_default;

// Limits of what a reader accepts as a document. A reply or message file beyond them is treated
// as one that does not load: the messages are a few kilobytes, and a nesting deeper than the
// old parser's default limit (256) was never accepted by it either.
inline constexpr size_t kMaxDocumentBytes = 8u * 1024u * 1024u;
inline constexpr size_t kMaxDepth = 256;

class Document {
 public:
  Document();

  // loadXML: false when the text is not well-formed (or breaks the limits); the document is
  // then empty.
  bool LoadXml(std::string_view text);
  // Load: false when the file is missing, unreadable, empty, not well-formed or over the limits.
  bool Load(const std::string& path);
  // Save: the document in pugixml's serialisation, UTF-8, written atomically with mode 0600.
  // Throws velmora::Error with `source` when the file cannot be written.
  void Save(const std::string& path, const std::string& source) const;
  // The same serialisation as text.
  std::string Serialize() const;

  bool Empty() const { return !doc_->document_element(); }
  // documentElement.childNodes: the element children of the document element.
  XmlNodeList ChildNodes() const;

  const std::shared_ptr<pugi::xml_document>& Raw() const { return doc_; }

 private:
  std::shared_ptr<pugi::xml_document> doc_;
};

// True when no element of the tree lies deeper than kMaxDepth.
bool WithinDepth(const pugi::xml_node& root, size_t maxDepth = kMaxDepth);

}  // namespace xml
}  // namespace velmora
