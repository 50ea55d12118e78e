#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::cli {

// One dispensation as read from a request file: property name -> value.
using RequestFields = std::map<std::string, std::string>;

// A request file, ini style: one "[Dispensacion]" section for a single dispensation, or
// "[Dispensacion1]", "[Dispensacion2]", ... for a batch (numbered from 1, in order, no gaps);
// "Property=Value" lines with the request's property names (IdFarmacia, IDPrescripcion, ...),
// ";" or "#" comment lines and blank lines. Like the ini file: names and sections in any case,
// an optional UTF-8 byte order mark, and a line that is not UTF-8 read as Windows-1252 (the
// fields come back as UTF-8, under the property's own spelling). Values keep inner blanks; blanks around the name and
// the value are dropped. Throws std::invalid_argument naming the line for anything else
// (unknown section or property, a line outside a section, a property given twice, a regimen or
// prescription type that is not a number, sections of both kinds, no section at all).
struct RequestFile {
  bool batch = false;  // numbered sections
  std::vector<RequestFields> requests;
};
RequestFile ParseRequestFile(std::string_view text);

// The property names a request file may use, in the request's order.
const std::vector<std::string>& RequestPropertyNames();

}  // namespace velmora::cli
