#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "soap/service_description.h"
#include "xml/xml.h"

namespace velmora::soap {

// The rpc request of `operation`: the operation element in the body namespace, and inside it one
// unqualified accessor per input part. The nodes are copied, in order, as the children of the
// first part's accessor: the old client passed a node list as the content of its part, and the
// service expects exactly that shape.
std::string BuildRequestEnvelope(const OperationDescription& operation, const std::vector<pugi::xml_node>& nodes);

// Reads a reply envelope. A Fault raises SoapFailure::Fault with its code, string and detail
// text; anything that is not an envelope with a body raises SoapFailure::Malformed. The result
// is the element children of the return part (matched by the output part's name, else the
// wrapper's first element child), with every href="#id" replaced by what it refers to, at every
// depth, in a document of its own. nullopt when the reply carries no return value (no accessor,
// or xsi:nil).
std::optional<XmlNodeList> ReadResponseEnvelope(std::string_view text, const OperationDescription& operation,
                                                const std::string& source);

// True when `text` is an envelope whose body holds a Fault; fills `description` with it.
bool ReadFault(std::string_view text, std::string& description);

}  // namespace velmora::soap
