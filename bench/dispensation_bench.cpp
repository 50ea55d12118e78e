// The dispensation road measured end to end: one call against a simulator that answers at once,
// the host's CPU while it waits for an answer that does not come, and many tills at once.
#include "dispensation_bench.h"

#include <curl/curl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <fstream>
#include <iostream>
#include <latch>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <thread>

#include "bench_support.h"
#include "summary.h"
#include "velmora/interface.h"

namespace velmora::bench {

namespace {

struct Outcome {
  bool finished = false;
  ResponseTypeEnum type = rspInternal;
};

}  // namespace

int Dispense(CInterface& iface, CPeticionDispensacion& request, CRespuestaPeticion* copy) {
  Outcome outcome;
  iface.AlTerminarSolicitudDispensacion = [&outcome](bool, ResponseTypeEnum t) {
    outcome.finished = true;
    outcome.type = t;
  };
  auto response = iface.SolicitudDispensacion(request);
  iface.AlTerminarSolicitudDispensacion = nullptr;
  if (copy) *copy = *response;
  if (!response->DatosValidos || !outcome.finished) return 0;
  return outcome.type;
}

namespace {

using Clock = std::chrono::steady_clock;

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// One simulator and one runtime folder for the whole run.
struct Road {
  Simulator sim;
  Home home{sim.WsdlUrl()};
};

Road& SharedRoad() {
  static Road road;
  return road;
}

std::string NextId(const char* prefix) {
  static std::atomic<int> counter{0};
  return std::string(prefix) + std::to_string(getpid()) + "N" + std::to_string(counter++);
}

std::string Codes(const Collection<std::string>& items) {
  std::string out;
  for (size_t i = 1; i <= items.Count(); ++i) out += (i > 1 ? "," : "") + *items.Item(i);
  return out;
}

// The envelope executor.exe put on the wire for one accepted dispensation, as the simulator
// received it, so the anchor posts the very same bytes.
struct Envelope {
  std::string url, soapAction, contentType, body;
};

const Envelope& RecordedEnvelope() {
  static Envelope envelope = [] {
    Road& road = SharedRoad();
    road.home.WriteIni(30, 1);
    CInterface iface;
    auto request = MakeRequest(1, NextId("ENV"), "sim:accepted");
    Dispense(iface, request);
    const auto records = road.sim.Records();
    Envelope e;
    for (const auto& line : records) {
      if (Simulator::Field(line, "operation") != "SolicitudDispensacion") continue;
      e.url = road.sim.BaseUrl() + Simulator::Field(line, "path");
      e.soapAction = Simulator::Field(line, "soapAction");
      e.contentType = Simulator::Field(line, "contentType");
      e.body = Simulator::Field(line, "body");
    }
    return e;
  }();
  return envelope;
}

size_t Discard(char*, size_t size, size_t count, void*) { return size * count; }

// The service description fetched and the envelope posted on one kept-alive connection, the
// way executor.exe talks to the service; milliseconds of the POST alone, or -1.
double WsdlThenPost(const Envelope& e, const std::string& wsdl) {
  CURL* curl = curl_easy_init();
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Discard);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_URL, wsdl.c_str());
  bool ok = curl_easy_perform(curl) == CURLE_OK;
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, ("Content-Type: " + e.contentType).c_str());
  headers = curl_slist_append(headers, ("SOAPAction: " + e.soapAction).c_str());
  curl_easy_setopt(curl, CURLOPT_URL, e.url.c_str());
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, e.body.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(e.body.size()));
  const auto start = std::chrono::steady_clock::now();
  ok = ok && curl_easy_perform(curl) == CURLE_OK;
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  curl_slist_free_all(headers);
  curl_easy_cleanup(curl);
  return ok ? ms : -1;
}

// One POST on a fresh connection, as a new process would make it; the HTTP status.
long RawPost(const Envelope& e) {
  CURL* curl = curl_easy_init();
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, ("Content-Type: " + e.contentType).c_str());
  headers = curl_slist_append(headers, ("SOAPAction: " + e.soapAction).c_str());
  curl_easy_setopt(curl, CURLOPT_URL, e.url.c_str());
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, e.body.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(e.body.size()));
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Discard);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  long status = 0;
  if (curl_easy_perform(curl) == CURLE_OK) curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  curl_slist_free_all(headers);
  curl_easy_cleanup(curl);
  return status;
}

constexpr int kLatencySamples = 40;

void BM_Dispensation(benchmark::State& state) {
  Road& road = SharedRoad();
  RecordedEnvelope();  // also warms the page cache for executor.exe and its libraries
  road.home.WriteIni(30, 1);
  CInterface iface;
  std::vector<double> samples;
  for (auto _ : state) {
    auto request = MakeRequest(static_cast<int>(samples.size()), NextId("LAT"), "sim:accepted");
    const auto start = Clock::now();
    const int type = Dispense(iface, request);
    const auto elapsed = Clock::now() - start;
    if (type != rspReceived) {
      state.SkipWithError("the dispensation did not come back from the service");
      return;
    }
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(Ms(elapsed));
  }
  Put("dispensation_ms", Median(samples));
  state.counters["median_ms"] = Get("dispensation_ms");
}
BENCHMARK(BM_Dispensation)->Iterations(kLatencySamples)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_DispensationAnchor(benchmark::State& state) {
  const Envelope& envelope = RecordedEnvelope();
  if (envelope.body.empty()) {
    state.SkipWithError("no envelope was recorded");
    return;
  }
  std::vector<double> total, spawn, post;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    const int rc = RunAndWait({VELMORA_BENCH_TRIVIAL});
    const auto t1 = Clock::now();
    const long status = RawPost(envelope);
    const auto t2 = Clock::now();
    if (rc != 0 || status != 200) {
      const std::string why = "the anchor failed: program exit " + std::to_string(rc) + ", HTTP " + std::to_string(status);
      state.SkipWithError(why.c_str());
      return;
    }
    state.SetIterationTime(std::chrono::duration<double>(t2 - t0).count());
    total.push_back(Ms(t2 - t0));
    spawn.push_back(Ms(t1 - t0));
    post.push_back(Ms(t2 - t1));
  }
  Put("anchor_ms", Median(total));
  Put("anchor_spawn_ms", Median(spawn));
  Put("anchor_post_ms", Median(post));
  state.counters["median_ms"] = Get("anchor_ms");
  state.counters["spawn_ms"] = Get("anchor_spawn_ms");
  state.counters["post_ms"] = Get("anchor_post_ms");
}
BENCHMARK(BM_DispensationAnchor)->Iterations(kLatencySamples)->UseManualTime()->Unit(benchmark::kMillisecond);

// Not an anchor: where a dispensation's extra time goes. The POST after a WSDL GET on the same
// connection, as executor.exe made it before it closed each connection after its exchange.
void BM_PostAfterWsdl(benchmark::State& state) {
  const Envelope& envelope = RecordedEnvelope();
  std::vector<double> samples;
  for (auto _ : state) {
    const double ms = WsdlThenPost(envelope, SharedRoad().sim.WsdlUrl());
    if (ms < 0) {
      state.SkipWithError("the WSDL or the POST failed");
      return;
    }
    state.SetIterationTime(ms / 1000.0);
    samples.push_back(ms);
  }
  Put("post_after_wsdl_ms", Median(samples));
  state.counters["median_ms"] = Get("post_after_wsdl_ms");
}
BENCHMARK(BM_PostAfterWsdl)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

// executor.exe started with an id whose request file does not exist: process start, library
// load and start-up, then the early failure, with no network at all.
void BM_ExecutorStartOnly(benchmark::State& state) {
  SharedRoad();
  const std::string exe = SharedRoad().home.Root() + "executor.exe";
  std::vector<double> samples;
  for (auto _ : state) {
    const auto start = Clock::now();
    RunAndWait({exe, "IDPres=" + NextId("NONE")});
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(Ms(elapsed));
  }
  Put("executor_start_ms", Median(samples));
  state.counters["median_ms"] = Get("executor_start_ms");
}
BENCHMARK(BM_ExecutorStartOnly)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

// The host's CPU over a whole wait that ends at the time-out: the service is slower than
// PeticionTimeOut, so the answer arrives only after the host has gone on without it.
bool LateFileArrived(const std::string& path) { return FileExists(path); }

void BM_WaitCpu(benchmark::State& state) {
  Road& road = SharedRoad();
  road.home.WriteIni(5, 1);
  CInterface iface;
  for (auto _ : state) {
    const std::string id = NextId("WAIT");
    auto request = MakeRequest(2, id, "sim:slow-6");
    const double cpu0 = CpuSeconds(RUSAGE_SELF);
    const auto start = Clock::now();
    const int type = Dispense(iface, request);
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();
    const double cpu = CpuSeconds(RUSAGE_SELF) - cpu0;
    state.SetIterationTime(wall);
    if (type == rspReceived) {
      state.SkipWithError("an answer arrived; the wait was not measured");
      return;
    }
    Put("wait_cpu_percent", 100.0 * cpu / wall);
    Put("wait_wall_s", wall);
    Put("wait_cpu_ms", cpu * 1000.0);
    // The executor still holds the slow call; its late answer is the sign that it has ended.
    WaitFor(LateFileArrived, road.home.Root() + "Retrasados/" + id + ".xml", std::chrono::seconds(20));
  }
  road.home.WriteIni(30, 1);
  state.counters["cpu_percent"] = Get("wait_cpu_percent");
  state.counters["cpu_ms"] = Get("wait_cpu_ms");
}
BENCHMARK(BM_WaitCpu)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// What the same second costs when the wait re-reads the clock and looks for the file on every
// pass without blocking.
void BM_WaitCpuSpinning(benchmark::State& state) {
  const std::string path = SharedRoad().home.Root() + "Recibidos/none.xml";
  for (auto _ : state) {
    const double cpu0 = CpuSeconds(RUSAGE_SELF);
    const auto start = Clock::now();
    bool found = false;
    while (!found && Clock::now() - start < std::chrono::seconds(1)) found = FileExists(path);
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(wall);
    Put("spin_cpu_percent", 100.0 * (CpuSeconds(RUSAGE_SELF) - cpu0) / wall);
  }
  state.counters["cpu_percent"] = Get("spin_cpu_percent");
}
BENCHMARK(BM_WaitCpuSpinning)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// Several tills at once: each host process sends its dispensations together, one thread each,
// all sharing one runtime folder. Each answer is checked against the scenario its request asked
// the simulator for, and each request must have reached the simulator exactly once.
constexpr int kHosts = 4;
constexpr int kPerHost = 50;
const char* const kScenarios[] = {"sim:accepted", "sim:warnings", "sim:rejected"};

std::string ScenarioFor(int worker, int i) { return kScenarios[(worker * kPerHost + i) % 3]; }

// The line a correct response to `scenario` gives: type, valid, done, warning codes, rejection
// codes.
std::string ExpectedLine(const std::string& scenario) {
  if (scenario == "sim:accepted") return "1 1 1 0000 -";
  if (scenario == "sim:warnings") return "1 1 1 0000,1201 -";
  return "1 1 0 - 2001,2002";
}

std::string SelfPath() {
  char buf[4096];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

std::string WorkerId(int worker, int i) { return "TP" + std::to_string(worker) + "X" + std::to_string(i); }

void BM_Throughput(benchmark::State& state) {
  Road& road = SharedRoad();
  road.home.WriteIni(60, 1);
  const std::string self = SelfPath();
  for (auto _ : state) {
    const size_t before = road.sim.Records().size();
    std::vector<std::string> outs;
    std::vector<Child> hosts;
    const auto start = Clock::now();
    for (int w = 0; w < kHosts; ++w) {
      outs.push_back(road.home.Root() + "host" + std::to_string(w) + ".txt");
      hosts.emplace_back(std::vector<std::string>{self, "--host-worker", std::to_string(w), std::to_string(kPerHost), outs.back()});
    }
    int failedHosts = 0;
    for (auto& h : hosts)
      if (h.Wait(std::chrono::seconds(180)) != 0) ++failedHosts;
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(wall);

    // What each host got back.
    std::map<std::string, std::string> got;
    for (const auto& out : outs) {
      std::ifstream in(out);
      for (std::string line; std::getline(in, line);) {
        const size_t blank = line.find(' ');
        if (blank != std::string::npos) got[line.substr(0, blank)] = line.substr(blank + 1);
      }
    }
    // What the simulator was asked, by prescription id.
    std::map<std::string, std::vector<std::string>> asked;
    const auto records = road.sim.Records();
    for (size_t r = before; r < records.size(); ++r) {
      const std::string body = Simulator::Field(records[r], "body");
      const size_t at = body.find("<idPrescripcion>");
      const size_t end = body.find("</idPrescripcion>", at);
      if (at == std::string::npos || end == std::string::npos) continue;
      asked[body.substr(at + 16, end - at - 16)].push_back(Simulator::Field(records[r], "codigoDispensado"));
    }
    int lost = 0, wrong = 0;
    for (int w = 0; w < kHosts; ++w) {
      for (int i = 0; i < kPerHost; ++i) {
        const std::string id = WorkerId(w, i);
        const std::string scenario = ScenarioFor(w, i);
        auto it = got.find(id);
        if (it == got.end() || it->second.rfind("1 1 ", 0) != 0) {
          ++lost;
          continue;
        }
        const auto a = asked.find(id);
        if (it->second != ExpectedLine(scenario) || a == asked.end() || a->second.size() != 1 || a->second[0] != scenario) {
          ++wrong;
          std::string seen;
          if (a != asked.end())
            for (const auto& c : a->second) seen += " " + c;
          std::cerr << "throughput: " << id << " asked for " << scenario << ", got \"" << it->second << "\", expected \""
                    << ExpectedLine(scenario) << "\"; the simulator saw it " << (a == asked.end() ? 0 : a->second.size())
                    << " time(s):" << seen << "\n";
        }
      }
    }
    Put("throughput_per_s", kHosts * kPerHost / wall);
    Put("throughput_wall_s", wall);
    Put("throughput_lost", lost);
    Put("throughput_wrong", wrong);
    Put("throughput_failed_hosts", failedHosts);
  }
  road.home.WriteIni(30, 1);
  state.counters["per_s"] = Get("throughput_per_s");
  state.counters["lost"] = Get("throughput_lost");
  state.counters["wrong"] = Get("throughput_wrong");
}
BENCHMARK(BM_Throughput)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int HostWorker(int argc, char** argv) {
  if (argc < 5) return 2;
  int worker = 0, count = 0;
  std::from_chars(argv[2], argv[2] + std::char_traits<char>::length(argv[2]), worker);
  std::from_chars(argv[3], argv[3] + std::char_traits<char>::length(argv[3]), count);
  const std::string outFile = argv[4];
  std::vector<std::string> lines(static_cast<size_t>(count));
  std::latch ready(count);
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      CInterface iface;  // each till thread has its own
      const std::string id = WorkerId(worker, i);
      auto request = MakeRequest(worker * count + i, id, ScenarioFor(worker, i));
      CRespuestaPeticion response;
      ready.arrive_and_wait();
      const int type = Dispense(iface, request, &response);
      const std::string avisos = Codes(response.m_colCodigoAviso);
      const std::string rechazos = Codes(response.m_colCodigoMotivosRechazo);
      lines[static_cast<size_t>(i)] = id + " " + std::to_string(type) + " " + (response.DatosValidos ? "1" : "0") + " " +
                                      (response.DispensacionRealizada() ? "1" : "0") + " " +
                                      (avisos.empty() ? "-" : avisos) + " " + (rechazos.empty() ? "-" : rechazos);
    });
  }
  for (auto& t : threads) t.join();
  std::ofstream out(outFile);
  for (const auto& line : lines) out << line << "\n";
  return out ? 0 : 1;
}

}  // namespace velmora::bench
