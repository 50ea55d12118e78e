#pragma once

#include <string>
#include <vector>

#include "flavour.h"
#include "scenario.h"

namespace velmora::sim {

// What the service sends back: the status, the body, and whether to cut the connection after
// the first half of the body.
struct Answer {
  int status = 200;
  std::string contentType = "text/xml; charset=utf-8";
  std::string body;
  bool dropHalfway = false;
};

// The answer of `scenario` to one operation. `batchItems` holds the codigoDispensado of each
// item of a batch request, in order. Built from raw XML here, never from the library's message
// classes, so a fault in those cannot hide on both sides.
Answer BuildAnswer(const Scenario& scenario, const ServiceFlavour& flavour, bool batch, const std::string& successCode,
                   const std::vector<std::string>& batchItems);

// A SOAP 1.1 Fault, HTTP 500.
Answer BuildFault(const std::string& faultCode, const std::string& faultString, const std::string& detail);

}  // namespace velmora::sim
