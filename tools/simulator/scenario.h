#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace velmora::sim {

enum class ScenarioKind {
  Accepted,       // dispensation done: the success code among the warning codes
  Warnings,       // done, with a second warning
  Rejected,       // not done: two rejection reasons
  Markup,         // not done: a reason text holding "&" and markup that reads as an acceptance
  Latin1,         // done, the texts written in Latin-1 while the reply says UTF-8
  FaultLong,      // SOAP Fault whose text is long and holds line ends
  Multiref,       // done with warnings, every value sent as a multi-reference (Java style)
  NoReturn,       // a reply whose return value is nil
  Slow,           // accepted, after `seconds`
  Fault,          // SOAP Fault with HTTP 500
  Http500,        // HTTP 500 with an HTML page
  IllFormed,      // HTTP 200 with text that is not well-formed XML
  Drop,           // the connection is closed halfway through the answer
  Hangup,         // the connection is closed once the request is read, no byte answered
  BatchAccepted,  // the whole batch accepted
  BatchRejected,  // every second item of the batch rejected
};

struct Scenario {
  ScenarioKind kind = ScenarioKind::Accepted;
  int seconds = 0;        // for Slow
  bool rejected = false;  // for Slow: the answer, when it comes, is a rejection
  std::string Name() const;
};

// "accepted", "warnings", "rejected", "markup", "latin1", "fault-long", "multiref", "noreturn",
// "slow-N" (or "slow:N", and "slow-N-rejected" for a late rejection), "fault", "http500",
// "illformed", "drop", "hangup", "batch-accepted", "batch-rejected"; nullopt otherwise.
std::optional<Scenario> ParseScenario(const std::string& name);

// A scenario named for a single request applies its nearest batch counterpart to a batch, and
// the other way round, so that one selection serves both operations.
Scenario ForOperation(const Scenario& s, bool batch);

// Which scenario answers a request: the codigoDispensado value "sim:<scenario>" names it
// directly; else the value looked up in the scenario file; else the default, which the control
// endpoint may change while the simulator runs.
class ScenarioSelector {
 public:
  explicit ScenarioSelector(Scenario defaultScenario) : default_(defaultScenario) {}

  // Lines "<codigoDispensado> = <scenario>"; "#" starts a comment. Returns an error text or "".
  std::string LoadFile(const std::string& path);

  Scenario Select(const std::string& codigoDispensado) const;
  void SetDefault(const Scenario& s);
  Scenario Default() const;

 private:
  mutable std::mutex mutex_;
  Scenario default_;
  std::map<std::string, Scenario> byCode_;
};

}  // namespace velmora::sim
