#pragma once

#include <map>
#include <ostream>
#include <string>

#include "velmora/interface.h"

namespace velmora::cli {

// A JSON string: quotes, backslashes and control characters escaped; UTF-8 passes as it is.
std::string Quoted(const std::string& s);

// "rspReceived", "rspDefault" or "rspInternal".
const char* ResponseTypeName(ResponseTypeEnum type);

// What a person at the counter needs to read of an answer, and of the errors behind it.
void PrintVerdict(std::ostream& out, const CRespuestaPeticion& response, ResponseTypeEnum type, CError& errors);
void PrintVerdict(std::ostream& out, const CRespDispensaciones& response, ResponseTypeEnum type, CError& errors);

// The same as one JSON object, for programs that drive the command line.
void PrintJson(std::ostream& out, const std::string& id, const CRespuestaPeticion& response, ResponseTypeEnum type,
               CError& errors);
void PrintJson(std::ostream& out, const std::string& id, const CRespDispensaciones& response, ResponseTypeEnum type,
               CError& errors);

// Fills a request from a request file's fields (names as the request's properties).
void FillRequest(CPeticionDispensacion& request, const std::map<std::string, std::string>& fields);

}  // namespace velmora::cli
