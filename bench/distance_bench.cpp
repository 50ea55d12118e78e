// One dispensation at a regional network's distance: velmora-sim's --rtt relay holds each
// direction's bytes for half the round-trip time, plain and TLS, beside the floor measured
// through the same relay in the same run (a curl-linked program: one connection, one POST of
// the envelope executor.exe sent).
#include <stdlib.h>
#include <sys/resource.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "bench_support.h"
#include "dispensation_bench.h"
#include "summary.h"

namespace velmora::bench {

namespace {

using Clock = std::chrono::steady_clock;

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// The other benchmarks share one runtime folder through the environment; this one makes its
// own and gives theirs back when it is done.
class SavedEnvironment {
 public:
  SavedEnvironment() {
    for (const char* name : {"VELMORA_HOME", "XDG_DATA_HOME"})
      if (const char* value = getenv(name)) saved_.emplace_back(name, value);
  }
  ~SavedEnvironment() {
    for (const auto& [name, value] : saved_) setenv(name.c_str(), value.c_str(), 1);
  }

 private:
  std::vector<std::pair<std::string, std::string>> saved_;
};

std::string Key(int rtt, bool tls, const char* what) {
  return "distance_" + std::to_string(rtt) + (tls ? "_tls_" : "_plain_") + what;
}

// state.range(0): round-trip time in ms; state.range(1): 1 for TLS.
void BM_DispensationAtDistance(benchmark::State& state) {
  const int rtt = static_cast<int>(state.range(0));
  const bool tls = state.range(1) != 0;
  const std::string cert = std::string(VELMORA_BENCH_SOURCE_DIR) + "/tests/executor/data/sim-cert.pem";
  const std::string key = std::string(VELMORA_BENCH_SOURCE_DIR) + "/tests/executor/data/sim-key.pem";
  std::vector<std::string> args = {"--rtt", std::to_string(rtt)};
  if (tls) args.insert(args.end(), {"--tls-cert", cert, "--tls-key", key});
  SavedEnvironment environment;
  Simulator sim(args);
  Home home(sim.WsdlUrl(), tls ? cert : "");
  CInterface iface;
  int n = 0;
  auto dispense = [&] {
    auto request = MakeRequest(n, "DIST" + std::to_string(rtt) + (tls ? "T" : "P") + std::to_string(n), "sim:accepted");
    ++n;
    const auto start = Clock::now();
    const bool ok = Dispense(iface, request) == rspReceived;
    return ok ? Ms(Clock::now() - start) : -1.0;
  };
  // The first one fetches the description, and leaves the envelope the floor posts.
  if (dispense() < 0) {
    state.SkipWithError("the first dispensation did not come back from the service");
    return;
  }
  const std::string record = sim.Records().back();
  const std::string bodyFile = home.Root() + "floor-body.xml";
  std::ofstream(bodyFile, std::ios::binary) << Simulator::Field(record, "body");
  std::vector<std::string> floor = {VELMORA_BENCH_FLOOR, sim.BaseUrl() + Simulator::Field(record, "path"),
                                    Simulator::Field(record, "soapAction"), Simulator::Field(record, "contentType"),
                                    bodyFile};
  if (tls) floor.push_back(cert);

  // Interleaved, so that the shared machine's load weighs on both alike.
  // CPU as well as wall time: on a busy shared machine every CPU millisecond costs several on
  // the clock, and the CPU says what the dispensation itself spends.
  std::vector<double> kept, fetched, floors, hostCpu, executorCpu, floorCpu;
  for (auto _ : state) {
    const double host0 = CpuSeconds(RUSAGE_SELF), children0 = CpuSeconds(RUSAGE_CHILDREN);
    const double ms = dispense();
    const double host1 = CpuSeconds(RUSAGE_SELF), children1 = CpuSeconds(RUSAGE_CHILDREN);
    const auto start = Clock::now();
    const int rc = RunAndWait(floor);
    const double floorMs = Ms(Clock::now() - start);
    hostCpu.push_back(1000 * (host1 - host0));
    executorCpu.push_back(1000 * (children1 - children0));
    floorCpu.push_back(1000 * (CpuSeconds(RUSAGE_CHILDREN) - children1));
    // Without the kept description, as every dispensation was before; it is kept again after.
    std::filesystem::remove(home.Root() + "velmora.wsdl.cache");
    const double cold = dispense();
    if (ms < 0 || rc != 0 || cold < 0) {
      state.SkipWithError("a dispensation or the floor failed");
      return;
    }
    state.SetIterationTime(ms / 1000.0);
    kept.push_back(ms);
    floors.push_back(floorMs);
    fetched.push_back(cold);
  }
  int resumed = 0;
  for (const auto& line : sim.Records()) resumed += Simulator::Field(line, "tlsResumed") == "yes";
  Put(Key(rtt, tls, "resumed"), resumed);
  Put(Key(rtt, tls, "posts"), static_cast<double>(sim.Records().size()));
  Put(Key(rtt, tls, "host_cpu_ms"), Median(hostCpu));
  Put(Key(rtt, tls, "executor_cpu_ms"), Median(executorCpu));
  Put(Key(rtt, tls, "floor_cpu_ms"), Median(floorCpu));
  Put(Key(rtt, tls, "ms"), Median(kept));
  Put(Key(rtt, tls, "fetched_ms"), Median(fetched));
  Put(Key(rtt, tls, "floor_ms"), Median(floors));
  state.counters["median_ms"] = Get(Key(rtt, tls, "ms"));
  state.counters["floor_ms"] = Get(Key(rtt, tls, "floor_ms"));
}
BENCHMARK(BM_DispensationAtDistance)
    ->ArgsProduct({{0, 20, 80}, {0, 1}})
    ->Iterations(12)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace velmora::bench
