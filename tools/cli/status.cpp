#include "status.h"

#include <sys/stat.h>

#include "json.h"
#include "texts.h"
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
  const std::string logSize =
      stat(log.c_str(), &st) == 0 ? Say("cli.status.log_size", {std::to_string(st.st_size)}) : Say("cli.status.log_missing");
  if (json) {
    out << "{\"passed\":" << (passed ? "true" : "false") << ",\"checks\":[";
    for (size_t i = 0; i < checks.size(); ++i)
      out << (i ? "," : "") << "{\"name\":" << Quoted(checks[i].name) << ",\"passed\":"
          << (checks[i].passed ? "true" : "false") << (checks[i].warning ? ",\"warning\":true" : "")
          << ",\"detail\":" << Quoted(checks[i].detail) << "}";
    out << "],\"log\":" << Quoted(log) << "}\n";
  } else {
    for (const Check& c : checks)
      out << Say(!c.passed ? "cli.status.fail" : c.warning ? "cli.status.warn" : "cli.status.pass", {c.name, c.detail}) << "\n";
    out << Say("cli.status.totals", {enviados, recibidos, log, logSize}) << "\n";
    out << Say(passed ? "cli.status.all_passed" : "cli.status.some_failed") << "\n";
  }
  return passed ? 0 : 1;
}

}  // namespace velmora::cli
