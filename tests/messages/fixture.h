#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/context.h"
#include "os/clock.h"
#include "support/runtime_folder.h"
#include "velmora/core.h"

namespace velmora::testing {

// A runtime folder with the default ini loaded into this thread's configuration, the message
// log on (so tests can read its lines) and the clock fixed at 03/02/2024 09:05:07.
class MessagesTest : public ::testing::Test {
 protected:
  explicit MessagesTest(const std::string& ini = RuntimeFolder::DefaultIni()) : folder_(ini) {}

  void SetUp() override {
    os::SetClockForTesting([] { return os::LocalTime{2024, 2, 3, 9, 5, 7}; });
    auto& ctx = core::ThreadContext();
    ctx.Config.IniFile = CFileAdmin().IniFilePath();
    if (!folder_.Read("velmora.ini").empty()) ctx.Config.LoadIni();
    ctx.MessageLog.FileName = CFileAdmin().LogFilePath();
    ctx.MessageLog.Flags = lfgToFile;
    ctx.MessageLog.Title = "velmora";
    ctx.TraceLog.Flags = 0;
    ctx.Errors.Errores().Clear();
  }
  void TearDown() override {
    os::SetClockForTesting({});
    auto& ctx = core::ThreadContext();
    ctx.MessageLog.Flags = 0;
    ctx.EsquemaXML = kDefaultEsquemaXML;
  }

  std::string Log() const { return folder_.Read("velmora.log"); }
  bool LogHas(const std::string& text) const { return Log().find(text) != std::string::npos; }
  const CErrorItem* LastError() const {
    auto& errs = core::ThreadContext().Errors.Errores();
    return errs.Count() ? errs.Item(errs.Count()) : nullptr;
  }
  int32_t LastErrorNumber() const { return LastError() ? LastError()->Number : 0; }
  size_t ErrorCount() const { return core::ThreadContext().Errors.Errores().Count(); }

  RuntimeFolder folder_;
};

// The default namespace declarations with their trailing blank, as the bodies carry them.
inline const std::string kEsquema =
    "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
    "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
    "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" ";

}  // namespace velmora::testing
