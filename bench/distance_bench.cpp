// One dispensation at a regional network's distance: velmora-sim's --rtt relay holds each
// direction's bytes for half the round-trip time, plain and TLS, beside the floor measured
// through the same relay in the same run (a curl-linked program: one connection, one POST of
// the envelope executor.exe sent, trust looked up as executor.exe looks it up). TLS is trusted
// through the system's store, as most pharmacies have it, and at 0 ms through a one-certificate
// CAFile too.
#include <curl/curl.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "bench_support.h"
#include "dispensation_bench.h"
#include "summary.h"
#include "velmora/core.h"

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

// How the service is reached: plain http, TLS trusted through a one-certificate CAFile, or TLS
// trusted through the system's store (CAFile empty).
enum Trust { kPlain = 0, kCaFile = 1, kSystem = 2 };

std::string Key(int rtt, int trust, const char* what) {
  static const char* const kNames[] = {"_plain_", "_tls_", "_tlssys_"};
  return "distance_" + std::to_string(rtt) + kNames[trust] + what;
}

// The system's store as every executor meets it, with the simulator's certificate added the way
// a certificate authority is installed there: every entry of the system's hashed directory
// linked into a folder of our own, plus the certificate under its subject's hash. SSL_CERT_DIR
// names it, for executor.exe and the floor alike. Empty when the system has no such directory.
class SystemStoreWith {
 public:
  explicit SystemStoreWith(const std::string& cert) {
    CURL* curl = curl_easy_init();
    char* built = nullptr;
    curl_easy_getinfo(curl, CURLINFO_CAPATH, &built);
    const std::string system = built ? built : "";
    curl_easy_cleanup(curl);
    if (system.empty()) return;
    folder_ = MakeTempFolder("velmora-bench-certs");
    for (const auto& entry : std::filesystem::directory_iterator(system))
      std::filesystem::create_symlink(entry.path(), folder_ + entry.path().filename().string());
    FILE* pem = fopen(cert.c_str(), "r");
    X509* x509 = pem ? PEM_read_X509(pem, nullptr, nullptr, nullptr) : nullptr;
    if (pem) fclose(pem);
    if (!x509) return;
    char name[16];
    snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(x509));
    X509_free(x509);
    std::filesystem::copy_file(cert, folder_ + name, std::filesystem::copy_options::overwrite_existing);
    setenv("SSL_CERT_DIR", folder_.c_str(), 1);
  }
  ~SystemStoreWith() {
    if (folder_.empty()) return;
    unsetenv("SSL_CERT_DIR");
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }
  const std::string& Folder() const { return folder_; }

 private:
  std::string folder_;
};

// state.range(0): round-trip time in ms; state.range(1): a Trust.
void BM_DispensationAtDistance(benchmark::State& state) {
  const int rtt = static_cast<int>(state.range(0));
  const int trust = static_cast<int>(state.range(1));
  const bool tls = trust != kPlain;
  const std::string cert = std::string(VELMORA_BENCH_SOURCE_DIR) + "/tests/support/data/sim-cert.pem";
  const std::string key = std::string(VELMORA_BENCH_SOURCE_DIR) + "/tests/support/data/sim-key.pem";
  std::vector<std::string> args = {"--rtt", std::to_string(rtt)};
  if (tls) args.insert(args.end(), {"--tls-cert", cert, "--tls-key", key});
  SavedEnvironment environment;
  std::optional<SystemStoreWith> store;
  if (trust == kSystem) {
    store.emplace(cert);
    if (store->Folder().empty()) {
      state.SkipWithError("libcurl names no hashed certificate directory here");
      return;
    }
  }
  Simulator sim(args);
  Home home(sim.WsdlUrl(), trust == kCaFile ? cert : "");
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
  if (trust != kPlain) floor.push_back(trust == kCaFile ? cert : store->Folder());

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
  Put(Key(rtt, trust, "resumed"), resumed);
  Put(Key(rtt, trust, "posts"), static_cast<double>(sim.Records().size()));
  Put(Key(rtt, trust, "host_cpu_ms"), Median(hostCpu));
  Put(Key(rtt, trust, "executor_cpu_ms"), Median(executorCpu));
  Put(Key(rtt, trust, "floor_cpu_ms"), Median(floorCpu));
  Put(Key(rtt, trust, "ms"), Median(kept));
  Put(Key(rtt, trust, "fetched_ms"), Median(fetched));
  Put(Key(rtt, trust, "floor_ms"), Median(floors));
  state.counters["median_ms"] = Get(Key(rtt, trust, "ms"));
  state.counters["floor_ms"] = Get(Key(rtt, trust, "floor_ms"));
}
BENCHMARK(BM_DispensationAtDistance)
    ->ArgsProduct({{0, 20, 80}, {kPlain, kSystem}})
    ->Args({0, kCaFile})
    ->Iterations(12)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// What executor.exe spends on durability after the answer has come: two keys of velmora.ini
// written the library's way (each a data sync of the new file and a sync of its folder, four in
// all), in a runtime folder on the same disk as the dispensations'.
void BM_AnswerFsyncs(benchmark::State& state) {
  SavedEnvironment environment;
  Home home("http://127.0.0.1:9/dispensacion?wsdl");
  const std::string ini = home.Root() + "velmora.ini";
  std::vector<double> samples;
  int n = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    bool ok = WritePrivateProfileStringEx(ini, "Bench", "Primera", std::to_string(++n));
    ok = WritePrivateProfileStringEx(ini, "Bench", "Segunda", std::to_string(n)) && ok;
    const double ms = Ms(Clock::now() - start);
    if (!ok) {
      state.SkipWithError("velmora.ini could not be written");
      return;
    }
    state.SetIterationTime(ms / 1000.0);
    samples.push_back(ms);
  }
  Put("answer_fsyncs_ms", Median(samples));
  Put("answer_fsyncs_count", 4);
  state.counters["median_ms"] = Get("answer_fsyncs_ms");
}
BENCHMARK(BM_AnswerFsyncs)->Iterations(40)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace velmora::bench
