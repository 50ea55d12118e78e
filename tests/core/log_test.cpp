#include <gtest/gtest.h>

#include "support/context_fixture.h"

namespace velmora {
namespace {

using testing::ContextFixture;
using testing::Lines;

TEST(Log, NewFileStartsWithTheFrameThenTheLine) {
  ContextFixture f;
  auto& log = core::ThreadContext().MessageLog;
  log.Writeln("primera", true);
  log.Writeln("segunda", false);
  const std::string frame(80, '*');
  EXPECT_EQ(Lines(f.Log()), (std::vector<std::string>{frame, "Log envío/recepción mensajes con SOAP velmora 1.0\t03/02/2024 9:05:07",
                                                       frame, "2024/02/03 09:05:07  Iniciando la clase CInterface",
                                                       "2024/02/03 09:05:07 primera", "segunda"}));
}

TEST(Log, FlagsDecideWhatIsWritten) {
  ContextFixture f;
  CLog log{f.folder.Path("t.txt"), 0, "T "};
  log.Writeln("x", true);
  log.WriteTrace(true, "CConfig.LoadIni", "", true);
  log.Flags = lfgToDebug;
  log.Writeln("x", true);
  log.WriteTrace(true, "CConfig.LoadIni", "", true);
  EXPECT_EQ(f.folder.Read("t.txt"), "");
  log.Flags = lfgToFile | lfgToDebug;
  log.WriteTrace(true, "CConfig.LoadIni", "", true);
  log.WriteTrace(false, "CConfig.LoadIni", "True", false);
  const auto lines = Lines(f.folder.Read("t.txt"));
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[4], "2024/02/03 09:05:07 IN \tCConfig.LoadIni\t\t");
  EXPECT_EQ(lines[5], "OUT\tCConfig.LoadIni\tTrue\t");
}

TEST(Log, HandlerRecordsAndLogsInTheClassMethodForm) {
  ContextFixture f;
  try {
    Raise(32009, "CRespuestaPeticion.FromXMLFile");
  } catch (const std::exception& e) {
    const Error handled = core::HandleError("CRespuestaPeticion.FromXMLFile", e);
    EXPECT_EQ(handled.Number, 32009);
  }
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 CRespuestaPeticion.FromXMLFile:(32009)No se puede cargar el archivo XML"));
  const auto& items = core::ThreadContext().Errors.Errores();
  ASSERT_EQ(items.Count(), 1u);
  EXPECT_EQ(items.Item(1)->Number, 32009);
  EXPECT_EQ(items.Item(1)->Source, "CRespuestaPeticion.FromXMLFile");
  EXPECT_EQ(items.Item(1)->HelpContext, "0");
  // An unwritable log never turns a handled error into an escaping one.
  core::ThreadContext().MessageLog.FileName = f.folder.Path("no/such/folder/x.log");
  EXPECT_NO_THROW(core::HandleError("CX.Y", std::runtime_error("boom")));
  EXPECT_EQ(core::ThreadContext().Errors.Errores().Item(2)->Number, 5);
}

TEST(Errors, ResetLeavesTheNewestItem) {
  for (size_t n : {0u, 1u, 3u}) {
    CError errors;
    for (size_t i = 1; i <= n; ++i) errors.AddError(Error(static_cast<int32_t>(32000 + i), "S", "d"));
    errors.ResetErrorsCollection();
    EXPECT_EQ(errors.Errores().Count(), n == 0 ? 0u : 1u);
    if (n) { EXPECT_EQ(errors.Errores().Item(1)->Number, static_cast<int32_t>(32000 + n)); }
  }
}

}  // namespace
}  // namespace velmora
