#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "core/boundary.h"
#include "support/context_fixture.h"

namespace velmora {
namespace {

using testing::ContextFixture;
using testing::Lines;

// The trace lines of the method "C.M", without their date.
std::vector<std::string> TraceOfM(const ContextFixture& f) {
  std::vector<std::string> out;
  for (const auto& line : Lines(f.Trace()))
    if (const auto at = line.find("\tC.M\t"); at != std::string::npos) out.push_back(line.substr(at - 3));
  return out;
}

std::string Text(bool value) { return core::Shown(value); }

TEST(MethodBoundary, EachOptionKeepsItsTraceLogAndResult) {
  struct Case {
    const char* name;
    std::function<std::string()> call;  // the method's result as text
    std::string result;
    std::vector<std::string> trace;
    std::string logged;  // what the log line starts with; empty: nothing recorded
  };
  using S = std::string;
  bool afterRan = false;
  const std::vector<Case> cases = {
      {"success", [] { return Text(core::Method<bool>({.trace = "C.M", .argument = "a"}, [] { return true; })); },
       "True", {"IN \tC.M\ta\t", "OUT\tC.M\tTrue\t"}, ""},
      {"failure logged under another source",
       [] { return Text(core::Method<bool>({.trace = "C.M", .source = "C.X"}, [] { Raise(32009, "C.X"); return true; })); },
       "False", {"IN \tC.M\t\t", "OUT\tC.M\tFalse\t"}, "C.X:(32009)No se puede cargar el archivo XML"},
      {"checks refuse before IN",
       [] { return core::Method<S>({.trace = "C.M", .checks = [] { Raise(32009, "C.M"); }}, [] { return S("x"); }); },
       "", {}, "C.M:(32009)"},
      {"failure after checks closes with an empty OUT",
       [] { return core::Method<S>({.trace = "C.M", .checks = [] {}}, []() -> S { Raise(32009, "C.M"); }); },
       "", {"IN \tC.M\t\t", "OUT\tC.M\t\t"}, "C.M:(32009)"},
      {"admit turns away: empty OUT, no after",
       [&] {
         return Text(core::Method<bool>({.trace = "C.M", .onFailure = true, .admit = [] { return false; },
                                         .after = [&](bool&) { afterRan = true; }},
                                        [] { return false; }));
       },
       "True", {"IN \tC.M\t\t", "OUT\tC.M\t\t"}, ""},
      {"a filled result stands through a later failure",
       [] { return Text(core::Method<bool>({.trace = "C.M"}, [](bool& r) { r = true; Raise(32000, "Host.Evento"); })); },
       "True", {"IN \tC.M\t\t", "OUT\tC.M\tTrue\t"}, "C.M:(32000)"},
      {"nothing shown", [] { return core::Method<S>({.trace = "C.M", .shown = nullptr}, [] { return S("x"); }); },
       "x", {"IN \tC.M\t\t", "OUT\tC.M\t\t"}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ContextFixture f;
    core::ThreadContext().TraceLog.Flags = lfgToFile;
    EXPECT_EQ(c.call(), c.result);
    EXPECT_EQ(TraceOfM(f), c.trace);
    if (c.logged.empty())
      EXPECT_EQ(core::ThreadContext().Errors.Errores().Count(), 0u);
    else
      EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 " + c.logged + "*")) << f.Log();
  }
  EXPECT_FALSE(afterRan);
}

}  // namespace
}  // namespace velmora
