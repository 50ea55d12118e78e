#include "status.h"

#include <sys/stat.h>

#include "json.h"
#include "velmora/core.h"

namespace velmora::cli {

int Status(std::ostream& out, bool json) {
  const std::vector<Check> checks = RunChecks();
  bool passed = true;
  for (const Check& c : checks) passed = passed && c.passed;
  CFileAdmin files;
  const std::string ini = files.IniFilePath();
  const std::string enviados = GetPrivateProfileStringEx(ini, "MensajeSOAP", "Enviados");
  const std::string recibidos = GetPrivateProfileStringEx(ini, "MensajeSOAP", "Recibidos");
  struct stat st{};
  const std::string log = files.LogFilePath();
  const std::string logSize = stat(log.c_str(), &st) == 0 ? std::to_string(st.st_size) + " bytes" : "not written yet";
  if (json) {
    out << "{\"passed\":" << (passed ? "true" : "false") << ",\"checks\":[";
    for (size_t i = 0; i < checks.size(); ++i)
      out << (i ? "," : "") << "{\"name\":" << Quoted(checks[i].name) << ",\"passed\":"
          << (checks[i].passed ? "true" : "false") << ",\"detail\":" << Quoted(checks[i].detail) << "}";
    out << "],\"log\":" << Quoted(log) << "}\n";
  } else {
    for (const Check& c : checks) out << (c.passed ? "PASS  " : "FAIL  ") << c.name << ": " << c.detail << "\n";
    out << "sent " << enviados << ", received " << recibidos << "; log " << log << " " << logSize << "\n";
    out << (passed ? "all checks passed\n" : "some checks FAILED\n");
  }
  return passed ? 0 : 1;
}

}  // namespace velmora::cli
