#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/test_processes.h"

namespace velmora::testing {

std::string AsString(const std::vector<uint8_t>& bytes);

// Joins lines with a carriage return after each.
std::string CrLines(const std::vector<std::string>& lines);

// Empty when the file passes `qpdf --check` with at most the warning that a stream keyword is
// followed by a carriage return only (the writer's line end, by design); otherwise the reason.
std::string QpdfProblems(const std::string& path);
// Empty when pdftoppm renders every page without a word on standard error.
std::string RenderProblems(const std::string& path);
// Empty when the cross-reference table is consistent with the bytes: 20-byte entries, each offset
// at the "N 0 obj" of its number, /Size equal to the entries, startxref at "xref".
std::string XrefProblems(const std::string& pdf);
// The text pdftotext extracts (UTF-8).
std::string ExtractText(const std::string& path);

}  // namespace velmora::testing
