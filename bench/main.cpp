// velmora_bench: every benchmark, then the table of figures beside their anchors.
// "--summary_out=FILE" also writes the table to FILE. "--host-worker ..." is the till process
// of the throughput benchmark, started by the benchmark itself.
#include <benchmark/benchmark.h>

#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "dispensation_bench.h"
#include "summary.h"

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--host-worker") == 0) return velmora::bench::HostWorker(argc, argv);

  std::string summaryOut;
  std::vector<char*> args;
  for (int i = 0; i < argc; ++i) {
    constexpr const char* kSummary = "--summary_out=";
    if (std::strncmp(argv[i], kSummary, std::strlen(kSummary)) == 0)
      summaryOut = argv[i] + std::strlen(kSummary);
    else
      args.push_back(argv[i]);
  }
  int count = static_cast<int>(args.size());
  benchmark::Initialize(&count, args.data());
  if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  std::cout << "\n";
  velmora::bench::PrintSummary(std::cout);
  if (!summaryOut.empty()) {
    std::ofstream out(summaryOut);
    velmora::bench::PrintSummary(out);
  }
  return 0;
}
