// A second process for the concurrency tests: counts in the ini file or writes audit records,
// through the same classes a host and an executor use.
#include <cstdlib>
#include <iostream>
#include <string>

#include "core/context.h"
#include "velmora/core.h"

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const std::string mode = argv[1];
  const long count = std::strtol(argv[2], nullptr, 10);
  velmora::CFileAdmin files;
  auto& context = velmora::core::ThreadContext();
  context.Config.IniFile = files.IniFilePath();
  if (mode == "counter") {
    for (long i = 0; i < count; ++i)
      if (!context.Config.UpdateAndSaveSended()) return 1;
    return 0;
  }
  // "both" also counts after each record: the mix a killed executor leaves behind.
  if ((mode == "audit" || mode == "both") && argc >= 4) {
    auto& auditor = context.Auditor();
    auditor.Enable(true);
    for (long i = 0; i < count; ++i) {
      const std::string id = std::string(argv[3]) + std::to_string(i);
      if (!auditor.Save(id, velmora::audHeader) || !auditor.Save(id, velmora::audMarkPetitionDone) ||
          !auditor.Save(id, velmora::audSetResponse, velmora::rcvService))
        return 1;
      if (mode == "both" && !context.Config.UpdateAndSaveSended()) return 1;
    }
    return 0;
  }
  return 2;
}
