#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::soap {

// What one operation of a SOAP 1.1 binding says about its messages.
struct OperationDescription {
  std::string name;
  std::string soapAction;
  std::string style;          // "rpc" or "document"
  std::string use;            // "encoded" or "literal", of the input body
  std::string encodingStyle;  // of the input body; empty for literal
  std::string bodyNamespace;  // namespace of the rpc operation element (not targetNamespace)
  std::vector<std::string> inputParts;
  std::vector<std::string> outputParts;
  std::string outputNamespace;
};

// What the client needs from a WSDL 1.1 document: the first SOAP 1.1 port of the first service
// that has one, and the operations of its binding.
struct ServiceDescription {
  std::string targetNamespace;
  std::string serviceName;
  std::string portName;
  std::string endpoint;
  std::map<std::string, OperationDescription> operations;
};

// Reads a WSDL 1.1 document. Throws velmora::Error (kSoapClientError, SoapFailure::Description)
// with `source` when the text is not XML or lacks a SOAP 1.1 port, its binding, port type or
// messages.
ServiceDescription ParseServiceDescription(std::string_view text, const std::string& source);

}  // namespace velmora::soap
