// A second process for the concurrency tests: counts in the ini file or writes audit records,
// through the same classes a host and an executor use.
#include <cstdlib>
#include <string>

#include "core/context.h"
#include "velmora/core.h"

int main(int argc, char** argv) {
  const std::string mode = argc >= 3 ? argv[1] : "";
  // "both" also counts after each record: the mix a killed executor leaves behind.
  const bool audits = mode == "audit" || mode == "both", counts = mode == "counter" || mode == "both";
  if ((!audits && !counts) || (audits && argc < 4)) return 2;
  const long count = std::strtol(argv[2], nullptr, 10);
  velmora::CFileAdmin files;
  auto& context = velmora::core::ThreadContext();
  context.Config.IniFile = files.IniFilePath();
  velmora::CAuditor* auditor = audits ? &context.Auditor() : nullptr;
  if (auditor) auditor->Enable(true);
  for (long i = 0; i < count; ++i) {
    const std::string id = audits ? std::string(argv[3]) + std::to_string(i) : "";
    if (auditor && (!auditor->Save(id, velmora::audHeader) || !auditor->Save(id, velmora::audMarkPetitionDone) ||
                    !auditor->Save(id, velmora::audSetResponse, velmora::rcvService)))
      return 1;
    if (counts && !context.Config.UpdateAndSaveSended()) return 1;
  }
  return 0;
}
