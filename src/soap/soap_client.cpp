#include "soap/soap_client.h"

#include "soap/http_transport.h"

#include <cctype>
#include <exception>
#include <string_view>

#include "errors/catalogue.h"
#include "os/files.h"
#include "soap/soap_envelope.h"
#include "soap/soap_error.h"
#include "velmora/error.h"

namespace velmora::soap {

namespace {

constexpr const char* kInitSource = "SoapClient.mssoapinit";

bool StartsWith(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
  return true;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// file:///path and file://localhost/path; %XX escapes decoded.
std::string FileUrlPath(std::string_view url) {
  std::string_view rest = url.substr(7);
  if (StartsWith(rest, "localhost/")) rest.remove_prefix(9);
  std::string path;
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == '%' && i + 2 < rest.size() && HexValue(rest[i + 1]) >= 0 && HexValue(rest[i + 2]) >= 0) {
      path += static_cast<char>(HexValue(rest[i + 1]) * 16 + HexValue(rest[i + 2]));
      i += 2;
    } else {
      path += rest[i];
    }
  }
  return path;
}

int32_t AsInteger(const ConnectorValue& value, const std::string& name) {
  if (const auto* i = std::get_if<int32_t>(&value)) return *i;
  if (const auto* b = std::get_if<bool>(&value)) return *b ? -1 : 0;
  const std::string& text = std::get<std::string>(value);
  int32_t result = 0;
  bool any = false;
  for (char c : text) {
    if (c < '0' || c > '9' || result > 214748363)
      RaiseSoapError(SoapFailure::Usage, "SoapClient.ConnectorProperty", errors::Text("soap.not_a_number", {name, text}));
    result = result * 10 + (c - '0');
    any = true;
  }
  if (!any) RaiseSoapError(SoapFailure::Usage, "SoapClient.ConnectorProperty", errors::Text("soap.empty_value", {name}));
  return result;
}

bool AsBool(const ConnectorValue& value) {
  if (const auto* b = std::get_if<bool>(&value)) return *b;
  if (const auto* i = std::get_if<int32_t>(&value)) return *i != 0;
  const std::string& text = std::get<std::string>(value);
  return !(text.empty() || text == "0" || text == "False" || text == "false");
}

std::string AsText(const ConnectorValue& value) {
  if (const auto* s = std::get_if<std::string>(&value)) return *s;
  if (const auto* b = std::get_if<bool>(&value)) return *b ? "True" : "False";
  return std::to_string(std::get<int32_t>(value));
}

// Said after an HTTP status, because some proxies answer a refused login with a plain 401.
std::string ThroughProxy(const ConnectionSettings& settings) {
  if (!settings.useProxy || settings.proxyServer.empty()) return {};
  return errors::Text("soap.through_proxy", {settings.proxyServer, std::to_string(settings.proxyPort)});
}

}  // namespace

SoapClient::SoapClient() : transport_(std::make_unique<HttpTransport>()) {}
SoapClient::SoapClient(std::unique_ptr<Transport> transport) : transport_(std::move(transport)) {}
SoapClient::~SoapClient() = default;

void SoapClient::mssoapinit(const std::string& url) {
  initialised_ = false;
  fromCache_ = false;
  url_ = url;
  if (!StartsWith(url, "http://") && !StartsWith(url, "https://")) {
    // A file costs no round trip, so it is read each time.
    std::string path = StartsWith(url, "file://") ? FileUrlPath(url) : url;
    std::optional<std::string> data = os::ReadWholeFile(path);
    if (!data) RaiseSoapError(SoapFailure::Description, kInitSource, errors::Text("soap.cannot_read", {path}));
    description_ = ParseServiceDescription(*data, kInitSource);
    initialised_ = true;
    return;
  }
  if (std::optional<std::string> cached = cache_.Load(url)) {
    try {
      Adopt(std::move(*cached), true);
      return;
    } catch (const Error&) {
      // A damaged file is only a miss.
    }
  }
  HttpReply reply = transport_->Get(url, settings_, kDescriptionTimeoutMs, kInitSource);
  if (reply.status < 200 || reply.status > 299)
    RaiseSoapError(SoapFailure::Description, kInitSource, errors::Text("soap.description_http", {url, std::to_string(reply.status), ThroughProxy(settings_)}));
  Adopt(std::move(reply.body), false);
  cache_.Store(url, descriptionText_);
}

void SoapClient::Adopt(std::string text, bool fromCache) {
  ServiceDescription description = ParseServiceDescription(text, kInitSource);
  // The request carries the user's password: a service reached over https keeps it on https.
  if (StartsWith(url_, "https://") && !StartsWith(description.endpoint, "https://")) {
    cache_.Forget();
    RaiseSoapError(SoapFailure::Downgrade, kInitSource, errors::Text("soap.endpoint_not_https", {url_, description.endpoint}));
  }
  description_ = std::move(description);
  descriptionText_ = std::move(text);
  fromCache_ = fromCache;
  initialised_ = true;
}

TlsFacts SoapClient::ProbeTls(const std::string& url) { return transport_->Probe(url, settings_, "SoapClient.ProbeTls"); }

void SoapClient::ConnectorProperty(const std::string& name, const ConnectorValue& value) {
  if (name == "UseProxy") {
    settings_.useProxy = AsBool(value);
  } else if (name == "ProxyServer") {
    settings_.proxyServer = AsText(value);
  } else if (name == "ProxyPort") {
    settings_.proxyPort = AsInteger(value, name);
  } else if (name == "ProxyUser") {
    settings_.proxyUser = AsText(value);
  } else if (name == "ProxyPassword") {
    settings_.proxyPassword = AsText(value);
  } else if (name == "Timeout") {
    settings_.timeoutMs = AsInteger(value, name);
  } else {
    RaiseSoapError(SoapFailure::Usage, "SoapClient.ConnectorProperty", errors::Text("soap.unknown_property", {name}));
  }
}

std::optional<XmlNodeList> SoapClient::Call(const std::string& operation, const XmlNodeList& arguments) {
  const std::string source = "SoapClient." + operation;
  if (!initialised_) RaiseSoapError(SoapFailure::Usage, source, errors::Text("soap.not_initialised"));
  bool posted = false;
  try {
    return Exchange(operation, arguments, source, posted);
  } catch (const Error&) {
    if (!fromCache_) throw;
    // Any failure may mean the service changed under a kept description: it is not used again.
    cache_.Forget();
    fromCache_ = false;
    // Only when no byte of the request left, and the service now describes itself otherwise,
    // does the request go again: a repeated dispensation could be registered twice.
    if (posted && !transport_->NothingSent()) throw;
    std::exception_ptr failure = std::current_exception();
    const std::string kept = descriptionText_;
    try {
      mssoapinit(url_);
    } catch (const Error&) {
      std::rethrow_exception(failure);
    }
    if (descriptionText_ == kept) std::rethrow_exception(failure);
    return Exchange(operation, arguments, source, posted);
  }
}

std::optional<XmlNodeList> SoapClient::Exchange(const std::string& operation, const XmlNodeList& arguments,
                                                const std::string& source, bool& posted) {
  auto it = description_.operations.find(operation);
  if (it == description_.operations.end())
    RaiseSoapError(SoapFailure::Usage, source, errors::Text("soap.no_operation", {operation}));
  const OperationDescription& op = it->second;
  if (op.style != "rpc") RaiseSoapError(SoapFailure::Usage, source, errors::Text("soap.style_unsupported", {op.style}));
  if (op.inputParts.empty()) RaiseSoapError(SoapFailure::Usage, source, errors::Text("soap.no_input_parts"));

  std::string envelope = BuildRequestEnvelope(op, arguments.Nodes());
  posted = true;
  HttpReply reply = transport_->PostSoap(description_.endpoint, op.soapAction, envelope, settings_, source);
  if (reply.status < 200 || reply.status > 299) {
    // SOAP over HTTP sends its Faults with status 500; any other error answer is the server's.
    std::string fault;
    if (ReadFault(reply.body, fault)) RaiseSoapError(SoapFailure::Fault, source, fault);
    RaiseSoapError(SoapFailure::HttpStatus, source, errors::Text("soap.call_http", {std::to_string(reply.status), description_.endpoint, ThroughProxy(settings_)}));
  }
  return ReadResponseEnvelope(reply.body, op, source);
}

}  // namespace velmora::soap
