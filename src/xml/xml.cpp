#include "xml/xml.h"

#include <cctype>
#include <cstring>
#include <sstream>

#include "os/files.h"
#include "vbcompat/text.h"

namespace velmora {

namespace {

bool IsTextNode(const pugi::xml_node& n) {
  return n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata;
}

}  // namespace

std::string XmlNode::nodeName() const {
  switch (node_.type()) {
    case pugi::node_pcdata: return "#text";
    case pugi::node_cdata: return "#cdata-section";
    case pugi::node_comment: return "#comment";
    case pugi::node_document: return "#document";
    default: return node_.name();
  }
}

std::string XmlNode::LocalName() const {
  std::string name = nodeName();
  if (node_.type() != pugi::node_element) return name;
  size_t colon = name.find(':');
  return colon == std::string::npos ? name : name.substr(colon + 1);
}

// A reply labelled UTF-8 but written in Latin-1 holds bytes that are not UTF-8; the text is read
// through Windows-1252 then, so every value handed on is valid UTF-8.
std::string XmlNode::Text() const {
  if (!node_) return {};
  if (IsTextNode(node_)) return vb::AsUtf8(node_.value());
  // Walked without recursion: a reply may nest as deep as the loader allows.
  std::string text;
  pugi::xml_node n = node_.first_child();
  while (n) {
    if (IsTextNode(n)) text += n.value();
    if (n.first_child()) {
      n = n.first_child();
      continue;
    }
    while (n && n != node_ && !n.next_sibling()) n = n.parent();
    if (!n || n == node_) break;
    n = n.next_sibling();
  }
  return vb::AsUtf8(text);
}

XmlNodeList XmlNode::childNodes() const {
  std::vector<pugi::xml_node> nodes;
  for (pugi::xml_node c = node_.first_child(); c; c = c.next_sibling())
    if (c.type() == pugi::node_element || IsTextNode(c)) nodes.push_back(c);
  return XmlNodeList(owner_, std::move(nodes));
}

XmlNodeList XmlNodeList::ElementChildren(std::shared_ptr<const pugi::xml_document> owner, pugi::xml_node parent) {
  std::vector<pugi::xml_node> nodes;
  for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling())
    if (c.type() == pugi::node_element) nodes.push_back(c);
  return XmlNodeList(std::move(owner), std::move(nodes));
}

namespace xml {

bool WithinDepth(const pugi::xml_node& root, size_t maxDepth) {
  size_t depth = 0;
  pugi::xml_node n = root.first_child();
  if (!n) return true;
  depth = 1;
  while (n) {
    if (depth > maxDepth) return false;
    if (n.first_child()) {
      n = n.first_child();
      ++depth;
      continue;
    }
    while (n != root && !n.next_sibling()) {
      n = n.parent();
      --depth;
    }
    if (n == root) break;
    n = n.next_sibling();
  }
  return true;
}

namespace {

// What the old parser insisted on and pugixml lets pass: exactly one document element and no
// text outside it.
bool WellFormedTop(const pugi::xml_document& doc) {
  int elements = 0;
  for (pugi::xml_node c = doc.first_child(); c; c = c.next_sibling()) {
    if (c.type() == pugi::node_element) ++elements;
    if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) return false;
  }
  return elements == 1;
}

// A reference the old parser accepted without a DTD: the five predefined entities and character
// references. pugixml passes any other "&" through as text; here it makes the text ill-formed.
bool ValidReferences(const char* text) {
  for (const char* p = text; *p; ++p) {
    if (*p != '&') continue;
    const char* q = p + 1;
    if (*q == '#') {
      ++q;
      bool hex = *q == 'x';
      if (hex) ++q;
      const char* digits = q;
      while (hex ? std::isxdigit(static_cast<unsigned char>(*q)) : std::isdigit(static_cast<unsigned char>(*q))) ++q;
      if (q == digits || *q != ';') return false;
    } else {
      const char* name = q;
      while (std::isalnum(static_cast<unsigned char>(*q))) ++q;
      std::string_view n(name, static_cast<size_t>(q - name));
      if (*q != ';' || (n != "lt" && n != "gt" && n != "amp" && n != "apos" && n != "quot")) return false;
    }
    p = q;
  }
  return true;
}

// Checks what pugixml does not: references in text and attribute values, and attributes named
// twice on one element. Walked without recursion.
bool ValidContent(const pugi::xml_document& doc) {
  for (pugi::xml_node n = doc.first_child(); n;) {
    if (n.type() == pugi::node_pcdata && !ValidReferences(n.value())) return false;
    if (n.type() == pugi::node_element) {
      for (pugi::xml_attribute a = n.first_attribute(); a; a = a.next_attribute()) {
        if (!ValidReferences(a.value())) return false;
        for (pugi::xml_attribute b = a.next_attribute(); b; b = b.next_attribute())
          if (std::strcmp(a.name(), b.name()) == 0) return false;
      }
    }
    if (n.first_child()) {
      n = n.first_child();
      continue;
    }
    while (n && !n.next_sibling()) n = n.parent();
    if (n) n = n.next_sibling();
  }
  return true;
}

// pugixml quietly drops text outside the document element; the old parser refused it.
bool NoTextOutside(std::string_view text) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return !text.empty() && text.front() == '<' && text.back() == '>';
}

}  // namespace

Document::Document() : doc_(std::make_shared<pugi::xml_document>()) {}

bool Document::LoadXml(std::string_view text) {
  doc_->reset();
  if (text.size() > kMaxDocumentBytes) return false;
  // First pass with references left as written, to check them; the second decodes them.
  pugi::xml_parse_result r = doc_->load_buffer(text.data(), text.size(), kParseOptions & ~pugi::parse_escapes);
  bool ok = r && NoTextOutside(text) && WellFormedTop(*doc_) && WithinDepth(*doc_, kMaxDepth + 1) && ValidContent(*doc_);
  if (ok) ok = static_cast<bool>(doc_->load_buffer(text.data(), text.size(), kParseOptions));
  if (!ok) doc_->reset();
  return ok;
}

bool Document::Load(const std::string& path) {
  doc_->reset();
  int64_t length = os::FileLength(path);
  if (length <= 0 || static_cast<uint64_t>(length) > kMaxDocumentBytes) return false;
  std::optional<std::string> data = os::ReadWholeFile(path);
  if (!data) return false;
  return LoadXml(*data);
}

std::string Document::Serialize() const {
  std::ostringstream out;
  doc_->save(out, "\t", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

void Document::Save(const std::string& path, const std::string& source) const {
  os::WriteFileAtomic(path, Serialize(), source);
}

XmlNodeList Document::ChildNodes() const {
  return XmlNodeList::ElementChildren(doc_, doc_->document_element());
}

}  // namespace xml
}  // namespace velmora
