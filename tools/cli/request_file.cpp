#include "request_file.h"

#include <charconv>
#include <stdexcept>

#include "velmora/tools.h"

namespace velmora::cli {

const std::vector<std::string>& RequestPropertyNames() {
  static const std::vector<std::string> names = {
      "Importe",        "ImporteAportacion", "IdFarmacia",      "FechaDispensacion",
      "IDPrescripcion", "Idioma",            "IdUsuario",       "IdFarmaceutico",
      "ClaveUsuario",   "EnvasesDispensados", "NumeroReceta",   "IdProvincia",
      "CodigoDispensado", "CodigoColegiadoPrescriptor", "FechaPrescripcion", "Tis",
      "RegimenReceta",  "FormulaMagistral",  "TipoPrescripcion", "Lector",
      "NombreMedicamento", "NombrePaciente", "NecesitaVisado",  "SaveSOAPMsgToFile",
  };
  return names;
}

namespace {

std::string_view Strip(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

// The property's own spelling for a name written in any case, as the ini's keys are read; empty
// when there is none.
std::string PropertyName(std::string_view name) {
  const std::string upper = tools::UpperCase(name);
  for (const auto& known : RequestPropertyNames())
    if (tools::UpperCase(known) == upper) return known;
  return {};
}

[[noreturn]] void Fail(size_t line, const std::string& what) {
  throw std::invalid_argument("line " + std::to_string(line) + ": " + what);
}

}  // namespace

RequestFile ParseRequestFile(std::string_view text) {
  RequestFile file;
  auto& requests = file.requests;
  bool single = false;
  size_t lineNumber = 0;
  // Saved by Windows editors as they come: a byte order mark first, or Windows-1252 lines, which
  // are read as the ini's are.
  size_t start = text.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view raw = text.substr(start, end - start);
    const std::string decoded = tools::IsValidUtf8(raw) ? std::string(raw) : tools::Cp1252ToUtf8(raw);
    const std::string_view line = Strip(decoded);
    ++lineNumber;
    start = end + 1;
    if (line.empty() || line.front() == ';' || line.front() == '#') continue;
    if (line.front() == '[') {
      const std::string expected = "[Dispensacion" + std::to_string(requests.size() + 1) + "]";
      const std::string section = tools::UpperCase(line);
      if (section == "[DISPENSACION]" && requests.empty() && !single) {
        single = true;
      } else if (section == tools::UpperCase(expected) && !single) {
        file.batch = true;
      } else {
        Fail(lineNumber, "unexpected section " + std::string(line) + " (use one [Dispensacion], or " +
                             (single ? std::string("no more sections") : expected) + ")");
      }
      requests.emplace_back();
      continue;
    }
    const size_t eq = line.find('=');
    if (eq == std::string_view::npos) Fail(lineNumber, "expected Property=Value");
    if (requests.empty()) Fail(lineNumber, "a property before the first [Dispensacion]");
    const std::string written(Strip(line.substr(0, eq)));
    const std::string value(Strip(line.substr(eq + 1)));
    const std::string name = PropertyName(written);
    if (name.empty()) Fail(lineNumber, "unknown property '" + written + "'");
    if (name == "RegimenReceta" || name == "TipoPrescripcion") {
      int number = 0;
      const auto [ptr, ec] = std::from_chars(value.data(), value.data() + value.size(), number);
      if (ec != std::errc() || ptr != value.data() + value.size())
        Fail(lineNumber, name + " must be a whole number");
    }
    if (name == "SaveSOAPMsgToFile" && value != "0" && value != "1")
      Fail(lineNumber, "SaveSOAPMsgToFile must be 0 or 1");
    if (!requests.back().emplace(name, value).second) Fail(lineNumber, "'" + name + "' given twice");
  }
  if (requests.empty()) throw std::invalid_argument("no [Dispensacion] section");
  return file;
}

}  // namespace velmora::cli
