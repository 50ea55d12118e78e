#pragma once

#include <memory>

#include "soap/soap_client.h"
#include "vbcompat/text.h"
#include "velmora/error.h"
#include "velmora/executor.h"

namespace velmora {

// Runs a call of the SOAP client. A failure's text is largely the service's own (a fault string
// of any size, line ends included): it reaches the log and Errores as one bounded line.
template <class Call>
auto ServiceCall(Call&& call) -> decltype(call()) {
  try {
    return call();
  } catch (const Error& e) {
    throw Error(e.Number, e.Source, vb::OneLogLine(e.Description));
  }
}

struct CExecutor::Impl {
  // Created at start-up once the configuration has loaded, as the old object did; a connection
  // attempt on an object whose start-up failed creates it then.
  std::unique_ptr<soap::SoapClient> client;
};

}  // namespace velmora
