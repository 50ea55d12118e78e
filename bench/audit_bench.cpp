// One dispensation's audit writes against a trail that already holds 0, 10,000, 100,000 or
// 1,000,000 records: the host's three writes, the executor's two and its late-answer check.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "summary.h"
#include "velmora/core.h"

namespace velmora::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kDispensations = 500;
constexpr int kWritesPerDispensation = 5;

// A runtime folder of its own whose audit.log holds `records` records as the library writes them.
std::string TrailFolder(int64_t records) {
  char pattern[] = "/tmp/velmora-audit-bench-XXXXXX";
  const std::string root = std::string(mkdtemp(pattern)) + "/";
  std::filesystem::create_directory(root + "Auditoria");
  std::ofstream out(root + "Auditoria/audit.log", std::ios::binary);
  std::string block;
  for (int64_t i = 0; i < records; ++i) {
    block += "[ITP2811000000000000" + std::to_string(1000000 + i) +
             "]\r\nFECHA_ENVIO=26/11/24 09:05:07\r\nPETICION_GENERADA=Si\r\nMENSAJE_ENVIADO=Si\r\n"
             "MENSAJE_RECIBIDO=Si\r\nRESPUESTA_GENERADA=srv\r\nTEXTO_RESPUESTA=\r\n";
    if (block.size() > (1 << 20)) {
      out << block;
      block.clear();
    }
  }
  out << block;
  return root;
}

void Dispense(CAuditor& host, CAuditor& executor, const std::string& id) {
  host.Save(id, audHeader);
  host.Save(id, audMarkPetitionDone);
  executor.Save(id, audMarkMsgSended);
  executor.Save(id, audMarkMsgReceived);
  benchmark::DoNotOptimize(executor.StoreInDelayed(id));
  host.Save(id, audSetResponse, rcvService);
}

void BM_AuditWrites(benchmark::State& state) {
  const int64_t records = state.range(0);
  const std::string root = TrailFolder(records);
  setenv("VELMORA_HOME", root.c_str(), 1);
  CAuditor host, executor;
  host.Enable(true);
  executor.Enable(true);
  Dispense(host, executor, "WARMUP");  // builds the index of a trail written by someone else
  // A trail of years is on disk already: no write-back of the set-up under the measured writes.
  for (const char* name : {"Auditoria/audit.log", "Auditoria/.audit.log.index"}) {
    const int fd = open((root + name).c_str(), O_RDONLY);
    fdatasync(fd);
    close(fd);
  }
  std::vector<double> samples;
  int n = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    Dispense(host, executor, "BENCH" + std::to_string(n++));
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(std::chrono::duration<double, std::milli>(elapsed).count());
  }
  const double median = Median(samples);
  Put("audit_ms_" + std::to_string(records), median);
  state.counters["median_ms"] = median;
  std::filesystem::remove_all(root);
}
BENCHMARK(BM_AuditWrites)
    ->Arg(0)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Iterations(kDispensations)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

double AuditWriteMs(int64_t records) {
  const double ms = Get("audit_ms_" + std::to_string(records));
  return ms < 0 ? ms : ms / (kWritesPerDispensation + 1);
}

}  // namespace velmora::bench
