#pragma once

// Pieces every message body is built from, by plain concatenation. Values are written as they
// stand, never escaped: a value holding "<" or "&" makes the body ill-formed, and the parse
// before saving is what reports it (32003). The service has always been sent the bytes the
// pharmacy typed, so escaping here would change what it receives.

#include <functional>
#include <string>
#include <string_view>

namespace velmora::messages {

inline constexpr std::string_view kCrLf = "\r\n";

// "<name >value</name>" + CR LF: the start tag keeps its blank before ">".
std::string Element(std::string_view name, std::string_view value);

// The library-wide namespace declarations the bodies open with (the configured EsquemaXML).
const std::string& Esquema();

// The SOAP header of the request and batch bodies (carries the configured declarations) and of
// the response bodies (fixed declarations).
std::string RequestEnvelopeHeader();
std::string ResponseEnvelopeHeader();

// The footer is built closing arg0, the operation and the body, and then replaced whole by the
// envelope's end tag: the enveloped text ends with the body and "</SOAP-ENV:Envelope>" alone.
// Readers of old saved messages depend on this exact form, so it is kept.
std::string EnvelopeFooter();

// Body alone, or header + body + footer.
std::string Enveloped(bool withEnvelope, const std::string& header, std::string body);

// Parses `body` and saves it at `path`; raises 32003 with `source` when it does not parse, so no
// file is written then.
void SaveBody(const std::string& body, const std::string& path, const std::string& source);

inline void Fire(const std::function<void()>& event) {
  if (event) event();
}

// Decimal text of an integer, locale-free.
std::string Decimal(long long value);

}  // namespace velmora::messages
