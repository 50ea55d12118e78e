#include "options.h"

#include <charconv>

#include "flavour.h"
#include "scenario.h"

namespace velmora::sim {

std::optional<Options> ParseOptions(const std::vector<std::string>& args, std::string& error) {
  Options o;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h" || a == "--version") {
      (a == "--version" ? o.version : o.help) = true;
      continue;
    }
    std::string* target = nullptr;
    if (a == "--port-file") target = &o.portFile;
    else if (a == "--scenario") target = &o.scenario;
    else if (a == "--scenarios") target = &o.scenarioFile;
    else if (a == "--record") target = &o.recordFile;
    else if (a == "--flavour") target = &o.flavour;
    else if (a == "--success-code") target = &o.successCode;
    else if (a == "--tls-cert") target = &o.tlsCert;
    else if (a == "--tls-key") target = &o.tlsKey;
    else if (a == "--endpoint") target = &o.endpoint;
    else if (a == "--wsdl-redirect") target = &o.descriptionRedirect;
    int* number = a == "--port" ? &o.port : a == "--rtt" ? &o.rttMs : nullptr;
    if (!number && !target) {
      error = "unknown option '" + a + "'";
      return std::nullopt;
    }
    if (i + 1 >= args.size()) {
      error = a + " needs a value";
      return std::nullopt;
    }
    const std::string& value = args[++i];
    if (target) {
      *target = value;
      continue;
    }
    auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), *number);
    if (ec != std::errc() || end != value.data() + value.size() || *number < 0 || *number > 65535) {
      error = a + " needs a number from 0 to 65535";
      return std::nullopt;
    }
  }
  if (!ParseScenario(o.scenario)) {
    error = "unknown scenario '" + o.scenario + "' (see --help)";
    return std::nullopt;
  }
  if (!FindFlavour(o.flavour)) {
    error = "--flavour is 'standard' or 'alternate'";
    return std::nullopt;
  }
  if (o.tlsCert.empty() != o.tlsKey.empty()) {
    error = "--tls-cert and --tls-key go together";
    return std::nullopt;
  }
  return o;
}

std::string HelpText() {
  return R"(velmora-sim: a stand-in for the health service's dispensation web service.

It serves the service description (WSDL 1.1) and both operations, SolicitudDispensacion (one
dispensation) and SolicitudDispensacionMasiva (a batch), over SOAP 1.1 rpc/encoded, on 127.0.0.1
only. Point the "Servicio" key of velmora.ini at the WSDL address it prints, and the library
talks to it as it would to the real service.

Usage: velmora-sim [--port N] [--scenario NAME] [options]

  --port N             port to listen on; 0 (the default) picks a free one. The address is
                       printed on the first line of standard output:
                         velmora-sim listening on http://127.0.0.1:PORT/dispensacion?wsdl
  --port-file FILE     also write the port number to FILE once listening
  --scenario NAME      default answer (see below); "accepted" when not given
  --scenarios FILE     per-request answers: lines "<codigoDispensado> = <scenario>", "#" comments
  --record FILE        append every request received as one JSON line: operation, SOAPAction,
                       namespace, part name, codigoDispensado, scenario, proxy headers,
                       tlsResumed (yes/no on https), body
  --flavour NAME       "standard" (default) or "alternate": the alternate WSDL uses another
                       target namespace, body namespace, soapAction, part names and endpoint
                       path, to check that a client takes them all from the WSDL
  --success-code CODE  the warning code that means "dispensation done" (default 0000; it must
                       match CodigoDispensacionCorrecta in velmora.ini)
  --tls-cert FILE --tls-key FILE
                       serve https with this certificate and key (PEM) instead of http
  --rtt MS             make loopback look like a regional network: a relay in front of the
                       server holds each direction's bytes for MS/2 milliseconds (TLS
                       handshakes included) and a new connection carries nothing for its
                       first MS (the TCP handshake); 0, the default, adds nothing
  --endpoint URL       the endpoint the WSDL names (soap:address) instead of this simulator's
  --wsdl-redirect URL  answer the WSDL address with a redirect (302) to URL
  -h, --help           this text
  --version            the version, and nothing else

Scenarios:
  accepted             done: NAvisos 1, codigoAviso holds the success code
  warnings             done, with a second warning (code 1201)
  rejected             not done: two rejection reasons (2001, 2002)
  multiref             done; every value sent as a multi-reference (href="#id"), as Java
                       rpc/encoded services do, with non-ASCII and escaped text
  noreturn             a reply whose return value is nil
  slow-N               accepted, after N seconds (to try time-outs)
  slow-N-rejected      rejected, after N seconds (a late rejection)
  fault                SOAP Fault (HTTP 500) with faultcode, faultstring and detail
  http500              HTTP 500 with an HTML page, no SOAP
  illformed            HTTP 200 with XML that is not well-formed
  drop                 the connection is closed halfway through the answer
  hangup               the connection is closed once the request is read, before any byte of
                       an answer
  batch-accepted       the whole batch accepted (ResultResp 0)
  batch-rejected       ResultResp 1 and one row per item; every second item (or a lone one)
                       rejected
  A single-dispensation scenario given to a batch uses its batch counterpart and vice versa
  (accepted -> batch-accepted, rejected -> batch-rejected).

Choosing the scenario of each request, first match wins:
  1. the request's codigoDispensado (the first item's, for a batch) of the form
     "sim:<scenario>", e.g. sim:rejected or sim:slow-3;
  2. the codigoDispensado looked up in the --scenarios file;
  3. the default, which can be changed while running:
       curl -X POST --data rejected http://127.0.0.1:PORT/control/scenario
     (GET of the same address shows it).

A request that does not match the WSDL (SOAPAction, operation namespace, part name, endpoint)
gets a SOAP Fault "Client" saying what is wrong.

Stop it with Ctrl-C or SIGTERM.
)";
}

}  // namespace velmora::sim
