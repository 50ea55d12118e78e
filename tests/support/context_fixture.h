#pragma once

// For tests of the rooms from core up: they link velmora_core, the rest of the support library
// does not.
#include <string>

#include "core/context.h"
#include "support/test_support.h"

namespace velmora::testing {

// A runtime folder and the fixed clock, with this thread's shared objects made fresh: the message
// log on into velmora.log, the trace off into velmora.txt, no errors, the configuration pointed
// at velmora.ini (and read from it when `loadIni`), a new auditor.
class ContextFixture {
 public:
  explicit ContextFixture(const std::string& ini = RuntimeFolder::DefaultIni(), bool loadIni = false) : folder(ini) {
    auto& c = core::ThreadContext();
    c.MessageLog = CLog{folder.Path("velmora.log"), lfgToFile, "Log envío/recepción mensajes con SOAP "};
    c.TraceLog = CLog{folder.Path("velmora.txt"), 0, "Log de trazas del "};
    c.Errors = CError();
    c.Config = CConfig();
    c.Config.IniFile = folder.Path("velmora.ini");
    if (loadIni && !ini.empty()) c.Config.LoadIni();
    c.ResetAuditor();
  }
  ~ContextFixture() {
    auto& c = core::ThreadContext();
    c.MessageLog.Flags = 0;
    c.TraceLog.Flags = 0;
    c.EsquemaXML = kDefaultEsquemaXML;
    c.ResetAuditor();
  }

  std::string Log() const { return folder.Read("velmora.log"); }
  std::string Trace() const { return folder.Read("velmora.txt"); }
  bool LogHas(const std::string& line) const { return HasLine(Log(), line); }
  static Collection<CErrorItem>& Errors() { return core::ThreadContext().Errors.Errores(); }
  static const CErrorItem* LastError() { return Errors().Count() ? Errors().Item(Errors().Count()) : nullptr; }
  static int32_t LastErrorNumber() { return LastError() ? LastError()->Number : 0; }

  FixedClock clock;
  RuntimeFolder folder;
};

}  // namespace velmora::testing
