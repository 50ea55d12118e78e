#pragma once

#include <string>

#include "core/context.h"
#include "os/clock.h"
#include "support/runtime_folder.h"

namespace velmora::testing {

// A runtime folder whose thread context logs to its own velmora.log with a fixed clock.
class CoreFixture {
 public:
  explicit CoreFixture(const std::string& ini = RuntimeFolder::DefaultIni()) : folder(ini) {
    os::SetClockForTesting([] { return os::LocalTime{2024, 2, 3, 9, 5, 7}; });
    auto& c = core::ThreadContext();
    c.MessageLog = CLog{folder.Path("velmora.log"), 1, "Log envío/recepción mensajes con SOAP "};
    c.TraceLog = CLog{folder.Path("velmora.txt"), 0, "Log de trazas del "};
    c.Errors = CError();
    c.Config = CConfig();
    c.Config.IniFile = folder.Path("velmora.ini");
    c.ResetAuditor();
  }
  ~CoreFixture() {
    os::SetClockForTesting({});
    core::ThreadContext().MessageLog.Flags = 0;
    core::ThreadContext().TraceLog.Flags = 0;
    core::ThreadContext().ResetAuditor();
  }
  std::string Log() const { return folder.Read("velmora.log"); }
  bool LogHas(const std::string& line) const { return Log().find(line + "\r\n") != std::string::npos; }

  RuntimeFolder folder;
};

}  // namespace velmora::testing
