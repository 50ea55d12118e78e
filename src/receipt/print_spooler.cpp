#include "receipt/print_spooler.h"

#include <cstdlib>

#include "os/paths.h"
#include "os/process.h"

namespace velmora::receipt {

bool SpoolToPrinter(const std::string& file, std::chrono::milliseconds wait) {
  const char* chosen = std::getenv("VELMORA_PRINTER_PROGRAM");
  const std::string program = os::FindProgram(chosen && *chosen ? chosen : "lp");
  if (program.empty()) return false;
  // The spooler copies the file before it exits, so the caller may delete it afterwards.
  return os::RunWithDeadline({program, file}, wait);
}

}  // namespace velmora::receipt
