#include "summary.h"

#include <algorithm>
#include <charconv>
#include <map>

namespace velmora::bench {

namespace {

std::map<std::string, double>& Figures() {
  static std::map<std::string, double> figures;
  return figures;
}

std::string Num(double v, int decimals = 2) {
  if (v < 0) return "n/a";
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::fixed, decimals);
  return ec == std::errc() ? std::string(buf, end) : std::string("?");
}

// "met" / "missed" for a figure that must stay at or under `limit`.
std::string AtMost(double value, double limit) {
  if (value < 0) return "not run";
  return value <= limit ? "met" : "missed";
}

void Row(std::ostream& out, const std::string& what, const std::string& figure, const std::string& anchor,
         const std::string& ratio, const std::string& target, const std::string& verdict) {
  out << "| " << what << " | " << figure << " | " << anchor << " | " << ratio << " | " << target << " | "
      << verdict << " |\n";
}

double Ratio(double a, double b) { return a < 0 || b <= 0 ? -1 : a / b; }

}  // namespace

void Put(const std::string& key, double value) { Figures()[key] = value; }

double Get(const std::string& key) {
  auto it = Figures().find(key);
  return it == Figures().end() ? -1 : it->second;
}

double Median(std::vector<double>& samples) {
  if (samples.empty()) return -1;
  std::sort(samples.begin(), samples.end());
  const size_t n = samples.size();
  return n % 2 ? samples[n / 2] : (samples[n / 2 - 1] + samples[n / 2]) / 2;
}

void PrintSummary(std::ostream& out) {
  out << "| measure | figure | anchor (same run) | ratio | target | verdict |\n";
  out << "|---|---|---|---|---|---|\n";

  const double disp = Get("dispensation_ms"), anchor = Get("anchor_ms");
  const double dispRatio = Ratio(disp, anchor);
  Row(out, "one dispensation, host call to response (median)", Num(disp) + " ms",
      Num(anchor) + " ms (spawn+wait " + Num(Get("anchor_spawn_ms")) + " ms + POST " + Num(Get("anchor_post_ms")) +
          " ms)",
      Num(dispRatio) + "x", "<= 1.5x", AtMost(dispRatio, 1.5));

  out << "|  where it goes: executor.exe start-up alone (no request file, no network) | "
      << Num(Get("executor_start_ms")) << " ms | trivial program " << Num(Get("anchor_spawn_ms"))
      << " ms | | | |\n";
  out << "|  where it goes: POST after a WSDL GET on the same connection | " << Num(Get("post_after_wsdl_ms"))
      << " ms | POST on a fresh connection " << Num(Get("anchor_post_ms")) << " ms | | | |\n";

  // TLS as most pharmacies meet it, trusted through the system's store; the pinned CAFile at
  // 0 ms beside it. At 0 ms the anchor is plain http; at a distance, the floor.
  const double plainAtZero = Get("distance_0_plain_ms");
  for (const int rtt : {0, 20, 80}) {
    for (const char* trust : {"_plain_", "_tlssys_", "_tls_"}) {
      const std::string key = "distance_" + std::to_string(rtt) + trust;
      const bool plain = trust == std::string("_plain_"), system = trust == std::string("_tlssys_");
      if (!plain && !system && rtt > 0) continue;
      const double figure = Get(key + "ms"), floor = Get(key + "floor_ms");
      const bool againstPlain = !plain && rtt == 0;
      const double ratio = Ratio(figure, againstPlain ? plainAtZero : floor);
      const bool targeted = system;
      const double limit = rtt == 0 ? 1.25 : 1.15;
      std::string anchorText = "floor, one connection + one POST: " + Num(floor) + " ms (CPU " + Num(Get(key + "floor_cpu_ms")) + " ms)";
      if (againstPlain) anchorText = "same over plain http: " + Num(plainAtZero) + " ms; " + anchorText;
      const std::string how = plain ? "plain" : system ? "TLS, system trust store" : "TLS, one-certificate CAFile";
      Row(out, "one dispensation at " + std::to_string(rtt) + " ms RTT, " + how + " (median)",
          Num(figure) + " ms (description fetched: " + Num(Get(key + "fetched_ms")) + " ms" +
              (plain ? "" : "; TLS resumed on " + Num(Get(key + "resumed"), 0) + " of " + Num(Get(key + "posts"), 0) + " posts") +
              "; CPU: host " + Num(Get(key + "host_cpu_ms")) + " ms + executor.exe " + Num(Get(key + "executor_cpu_ms")) + " ms)",
          anchorText, Num(ratio) + "x", targeted ? "<= " + Num(limit) + "x" : "-", targeted ? AtMost(ratio, limit) : "-");
    }
  }
  const double fsyncs = Get("answer_fsyncs_ms");
  out << "|  where it goes: the fsyncs after the answer (two keys of velmora.ini, each file and folder synced; kept, they make the record durable) | "
      << Num(fsyncs) << " ms (" << Num(Get("answer_fsyncs_count"), 0) << " fsyncs) | | | | |\n";

  const double wait = Get("wait_cpu_percent");
  Row(out, "host CPU during a wait with no answer", Num(wait, 3) + " % of a core (" + Num(Get("wait_cpu_ms")) +
          " ms CPU over " + Num(Get("wait_wall_s")) + " s)",
      "spinning wait: " + Num(Get("spin_cpu_percent"), 1) + " %", "-", "< 0.5 %",
      wait < 0 ? "not run" : wait < 0.5 ? "met" : "missed");

  const double tput = Get("throughput_per_s");
  const double lost = Get("throughput_lost"), wrong = Get("throughput_wrong");
  std::string verdict = "not run";
  if (tput >= 0) verdict = tput >= 150 && lost == 0 && wrong == 0 ? "met" : "missed";
  Row(out, "throughput, 4 hosts x 50 dispensations at once",
      Num(tput, 1) + " /s (" + Num(Get("throughput_wall_s")) + " s; lost " + Num(lost, 0) + ", wrong " +
          Num(wrong, 0) + ", failed hosts " + Num(Get("throughput_failed_hosts"), 0) + ")",
      "-", "-", ">= 150 /s, 0 lost, 0 wrong", verdict);

  const double receipt = Get("receipt_ms"), podofo = Get("receipt_podofo_ms"), plain = Get("receipt_plain_ms");
  Row(out, "receipt of 1,000 dispensations (250 pages), median", Num(receipt) + " ms",
      "PoDoFo, same page content: " + Num(podofo) + " ms", Num(Ratio(receipt, podofo)) + "x", "<= 0.2x",
      AtMost(Ratio(receipt, podofo), 0.2));
  Row(out, "receipt of 1,000 dispensations, median", Num(receipt) + " ms",
      "string-appending writer, same bytes: " + Num(plain) + " ms", Num(Ratio(receipt, plain)) + "x", "<= 2x",
      AtMost(Ratio(receipt, plain), 2.0));

  const double barras = Get("barras_us"), zint = Get("zint_code128_us");
  Row(out, "Code 128 of 1,000 texts (Barras), median", Num(barras) + " us",
      "libzint Code 128, same texts: " + Num(zint) + " us", Num(Ratio(barras, zint)) + "x", "<= 1x",
      AtMost(Ratio(barras, zint), 1.0));

  const double empty = AuditWriteMs(0), full = AuditWriteMs(1000000);
  const double auditRatio = Ratio(full, empty);
  Row(out, "one audit write of a dispensation (5 writes + 1 read, median), earlier records 0 / 10k / 100k / 1M",
      Num(empty, 3) + " / " + Num(AuditWriteMs(10000), 3) + " / " + Num(AuditWriteMs(100000), 3) + " / " +
          Num(full, 3) + " ms",
      "empty trail: " + Num(empty, 3) + " ms", Num(auditRatio) + "x (1M / 0)", "<= 1.5x and <= 5 ms",
      full < 0 ? "not run" : auditRatio <= 1.5 && full <= 5 ? "met" : "missed");

  out << "\nWhere the receipt's time goes (same run): PDF417 symbols of the 1,000 data texts "
      << Num(Get("receipt_pdf417_ms")) << " ms; Code 128 patterns (1,250 Barras calls) "
      << Num(Get("receipt_barras_ms")) << " ms; file " << Num(Get("receipt_bytes") / 1024.0, 0) << " KiB.\n";
}

}  // namespace velmora::bench
