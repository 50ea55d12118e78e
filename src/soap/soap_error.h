#pragma once

#include <cstdint>
#include <string>

#include "velmora/error_codes.h"

namespace velmora::soap {

// Every failure of the SOAP client carries this one number (the COM E_FAIL that the old client
// surfaced to its callers); what happened is in the description, which names its kind first so
// that a log reader can tell a service's verdict from a network fault.
inline constexpr int32_t kSoapClientError = errnum::kSoapClient;

enum class SoapFailure {
  Description,  // the service description could not be had or read
  Fault,        // the service answered with a SOAP Fault
  HttpStatus,   // an HTTP status other than success, without a Fault
  ProxyAuth,    // the proxy refused the credentials (407)
  Malformed,    // the answer is not a readable SOAP envelope
  Transport,    // refused, dropped, name not found, TLS refused
  Timeout,      // no complete answer within the time-out
  Usage,        // a call the client cannot make (unknown operation, property, style)
  Downgrade,    // an https service that leads to plain http (where the password would travel)
  ClientCertificate,  // the configured client certificate or its key cannot be used
};

// Throws velmora::Error{kSoapClientError, source, "<kind>: <detail>"}.
[[noreturn]] void RaiseSoapError(SoapFailure kind, const std::string& source, const std::string& detail);

// The text a description starts with for `kind`.
const char* SoapFailureText(SoapFailure kind);

}  // namespace velmora::soap
