#pragma once

// The figures of one run, collected as the benchmarks finish, and the table that sets each
// beside its anchor and its target.

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace velmora::bench {

// Stores a figure under `key` (the last value wins).
void Put(const std::string& key, double value);
// The stored figure, or a negative value when the benchmark did not run.
double Get(const std::string& key);

// The median of `samples` (which it sorts).
double Median(std::vector<double>& samples);

// One audit write (or read) of a dispensation, median, with `records` earlier records.
double AuditWriteMs(int64_t records);

// Writes the table of figures, anchors, ratios and targets, as Markdown.
void PrintSummary(std::ostream& out);

}  // namespace velmora::bench
