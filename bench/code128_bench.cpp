// Code 128 patterns of receipt-like texts (prescription ids with their regimen letter, health
// cards), beside libzint encoding the same texts as Code 128.
#include <zint.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <vector>

#include "summary.h"
#include "velmora/barcode.h"

namespace velmora::bench {

namespace {

using Clock = std::chrono::steady_clock;

const std::vector<std::string>& Texts() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> t;
    for (int i = 0; i < 1000; ++i) {
      if (i % 4 == 0)
        t.push_back("BBBB" + std::to_string(100000 + i * 37));
      else
        t.push_back("RX2026" + std::to_string(1000 + i) + "TPO"[i % 3]);
    }
    return t;
  }();
  return texts;
}

constexpr int kRounds = 30;

void BM_Barras(benchmark::State& state) {
  BarCode128 code;
  std::vector<double> samples;
  size_t bytes = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    for (const auto& text : Texts()) {
      std::string pattern = code.Barras(text, cC128_B);
      bytes += pattern.size();
      benchmark::DoNotOptimize(pattern);
    }
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(std::chrono::duration<double, std::micro>(elapsed).count());
  }
  benchmark::DoNotOptimize(bytes);
  Put("barras_us", Median(samples));
  state.counters["median_us"] = Get("barras_us");
}
BENCHMARK(BM_Barras)->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMicrosecond);

// One symbol reused and cleared between texts: the cheapest way to drive libzint.
void BM_ZintCode128(benchmark::State& state) {
  zint_symbol* symbol = ZBarcode_Create();
  std::vector<double> samples;
  int failures = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    for (const auto& text : Texts()) {
      ZBarcode_Clear(symbol);
      symbol->symbology = BARCODE_CODE128;
      symbol->input_mode = DATA_MODE;
      if (ZBarcode_Encode(symbol, reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size())) >=
          ZINT_ERROR)
        ++failures;
      benchmark::DoNotOptimize(symbol->encoded_data[0][0]);
    }
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(std::chrono::duration<double, std::micro>(elapsed).count());
  }
  ZBarcode_Delete(symbol);
  if (failures) state.SkipWithError("libzint refused a text");
  Put("zint_code128_us", Median(samples));
  state.counters["median_us"] = Get("zint_code128_us");
}
BENCHMARK(BM_ZintCode128)->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace

}  // namespace velmora::bench
