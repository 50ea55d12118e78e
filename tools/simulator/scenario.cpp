#include "scenario.h"

#include <charconv>
#include <fstream>
#include <string_view>

namespace velmora::sim {

namespace {

struct Named {
  const char* name;
  ScenarioKind kind;
};

constexpr Named kNames[] = {
    {"accepted", ScenarioKind::Accepted},     {"warnings", ScenarioKind::Warnings},
    {"rejected", ScenarioKind::Rejected},     {"multiref", ScenarioKind::Multiref},
    {"markup", ScenarioKind::Markup},         {"latin1", ScenarioKind::Latin1},
    {"fault-long", ScenarioKind::FaultLong},
    {"noreturn", ScenarioKind::NoReturn},     {"fault", ScenarioKind::Fault},
    {"http500", ScenarioKind::Http500},       {"illformed", ScenarioKind::IllFormed},
    {"drop", ScenarioKind::Drop},             {"batch-accepted", ScenarioKind::BatchAccepted},
    {"batch-rejected", ScenarioKind::BatchRejected}, {"hangup", ScenarioKind::Hangup},
};

std::string Trimmed(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return {};
  size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(b, e - b + 1);
}

}  // namespace

std::string Scenario::Name() const {
  if (kind == ScenarioKind::Slow) return "slow-" + std::to_string(seconds) + (rejected ? "-rejected" : "");
  for (const auto& n : kNames)
    if (n.kind == kind) return n.name;
  return "?";
}

std::optional<Scenario> ParseScenario(const std::string& text) {
  std::string name = Trimmed(text);
  constexpr std::string_view kRejected = "-rejected";
  const bool rejected = name.size() > kRejected.size() && name.ends_with(kRejected) && name.rfind("slow", 0) == 0;
  if (rejected) name.resize(name.size() - kRejected.size());
  for (const auto& n : kNames)
    if (name == n.name) return Scenario{n.kind, 0};
  if (name.rfind("slow", 0) == 0 && name.size() > 5 && (name[4] == '-' || name[4] == ':')) {
    int seconds = 0;
    const char* first = name.data() + 5;
    const char* last = name.data() + name.size();
    auto [end, ec] = std::from_chars(first, last, seconds);
    if (ec == std::errc() && end == last && seconds >= 0 && seconds <= 3600) return Scenario{ScenarioKind::Slow, seconds, rejected};
  }
  return std::nullopt;
}

Scenario ForOperation(const Scenario& s, bool batch) {
  Scenario r = s;
  if (batch) {
    if (s.kind == ScenarioKind::Accepted || s.kind == ScenarioKind::Warnings || s.kind == ScenarioKind::Multiref)
      r.kind = ScenarioKind::BatchAccepted;
    if (s.kind == ScenarioKind::Rejected) r.kind = ScenarioKind::BatchRejected;
  } else {
    if (s.kind == ScenarioKind::BatchAccepted) r.kind = ScenarioKind::Accepted;
    if (s.kind == ScenarioKind::BatchRejected) r.kind = ScenarioKind::Rejected;
  }
  return r;
}

std::string ScenarioSelector::LoadFile(const std::string& path) {
  std::ifstream in(path);
  if (!in) return "cannot read " + path;
  std::map<std::string, Scenario> table;
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    size_t hash = line.find('#');
    if (hash != std::string::npos) line.erase(hash);
    if (Trimmed(line).empty()) continue;
    size_t eq = line.find('=');
    std::optional<Scenario> s = eq == std::string::npos ? std::nullopt : ParseScenario(line.substr(eq + 1));
    if (!s) return path + ":" + std::to_string(number) + ": expected '<codigoDispensado> = <scenario>'";
    table[Trimmed(line.substr(0, eq))] = *s;
  }
  std::lock_guard lock(mutex_);
  byCode_ = std::move(table);
  return {};
}

Scenario ScenarioSelector::Select(const std::string& codigoDispensado) const {
  if (codigoDispensado.rfind("sim:", 0) == 0)
    if (std::optional<Scenario> s = ParseScenario(codigoDispensado.substr(4))) return *s;
  std::lock_guard lock(mutex_);
  auto it = byCode_.find(codigoDispensado);
  return it != byCode_.end() ? it->second : default_;
}

void ScenarioSelector::SetDefault(const Scenario& s) {
  std::lock_guard lock(mutex_);
  default_ = s;
}

Scenario ScenarioSelector::Default() const {
  std::lock_guard lock(mutex_);
  return default_;
}

}  // namespace velmora::sim
