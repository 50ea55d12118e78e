#pragma once

// Pieces every message body is built from, by plain concatenation. Values have "&", "<" and ">"
// escaped and nothing else: a body whose values hold none of the three keeps the exact bytes it
// always had, and a reason text or password that holds one can no longer break the file or
// smuggle elements into it (the readers decode the references again).

#include <functional>
#include <string>
#include <string_view>

namespace velmora::messages {

inline constexpr std::string_view kCrLf = "\r\n";

// `value` with "&", "<" and ">" written as character references.
std::string Escaped(std::string_view value);

// "<name >value</name>" + CR LF, the value escaped: the start tag keeps its blank before ">".
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

// `body` with the text of its "claveUsuario" element replaced, for the trace: the password is
// never written to a plain text file.
std::string WithoutPassword(std::string body);
// The same, in the shape a method's trace result takes (core::MethodShape::shown).
inline std::string ShownWithoutPassword(const std::string& body) { return WithoutPassword(body); }

// Decimal text of an integer, locale-free.
std::string Decimal(long long value);

}  // namespace velmora::messages
