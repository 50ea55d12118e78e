#include "support/pdf_checks.h"

#include <filesystem>
#include <sstream>

namespace velmora::testing {

std::string AsString(const std::vector<uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

std::string CrLines(const std::vector<std::string>& lines) {
  std::string out;
  for (const auto& l : lines) out += l + "\r";
  return out;
}

std::string QpdfProblems(const std::string& path) {
  ProgramResult r = RunProgram({"qpdf", "--check", path});
  if (r.exitCode != 0 && r.exitCode != 3) return "qpdf exit " + std::to_string(r.exitCode) + ":\n" + r.output;
  // Every line must be one qpdf prints for a sound file; the one warning allowed is the
  // carriage return after "stream", which is this writer's line end.
  static const char* kBenign[] = {"checking ", "PDF Version: ", "File is not encrypted", "File is not linearized",
                                  "No syntax or stream encoding errors found",
                                  "errors that qpdf cannot detect", "qpdf: operation succeeded with warnings"};
  std::istringstream lines(r.output);
  std::string line, problems;
  for (; std::getline(lines, line);) {
    if (line.find("WARNING") != std::string::npos &&
        line.find("stream keyword followed by carriage return only") != std::string::npos)
      continue;
    bool benign = false;
    for (const char* b : kBenign) benign = benign || line.find(b) != std::string::npos;
    if (!benign) problems += line + "\n";
  }
  return problems;
}

std::string RenderProblems(const std::string& path) {
  // The pictures go to a folder of their own: their names depend on the page count.
  const std::filesystem::path pictures = path + ".render";
  std::filesystem::create_directory(pictures);
  ProgramResult r = RunProgram({"pdftoppm", "-r", "20", "-png", path, (pictures / "p").string()});
  std::filesystem::remove_all(pictures);
  if (r.exitCode != 0 || !r.output.empty())
    return "pdftoppm exit " + std::to_string(r.exitCode) + ": " + r.output;
  return {};
}

std::string ExtractText(const std::string& path) {
  ProgramResult r = RunProgram({"pdftotext", "-q", path, "-"});
  return r.output;
}

namespace {
long Number(const std::string& s, size_t at, size_t* end) {
  size_t i = at;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i;
  *end = i;
  return i == at ? -1 : std::stol(s.substr(at, i - at));
}
}  // namespace

std::string XrefProblems(const std::string& pdf) {
  size_t sx = pdf.rfind("startxref\r");
  if (sx == std::string::npos) return "no startxref";
  size_t end = 0;
  long xref = Number(pdf, sx + 10, &end);
  if (xref < 0 || pdf.compare(static_cast<size_t>(xref), 5, "xref\r") != 0) return "startxref does not point at xref";
  size_t p = static_cast<size_t>(xref) + 5;
  if (pdf.compare(p, 2, "0 ") != 0) return "xref subsection does not start at 0";
  long size = Number(pdf, p + 2, &end);
  p = end + 1;
  if (pdf.compare(p, 20, "0000000000 65535 f \r") != 0) return "bad free entry";
  p += 20;
  for (long n = 1; n < size; ++n, p += 20) {
    std::string entry = pdf.substr(p, 20);
    if (entry.size() != 20 || entry.compare(10, 10, " 00000 n \r") != 0) return "bad entry for " + std::to_string(n);
    long offset = std::stol(entry.substr(0, 10));
    std::string head = std::to_string(n) + " 0 obj\r";
    if (pdf.compare(static_cast<size_t>(offset), head.size(), head) != 0)
      return "entry " + std::to_string(n) + " does not point at its object";
  }
  if (pdf.compare(p, 8, "trailer\r") != 0) return "no trailer after the entries";
  std::string sizeLine = "/Size " + std::to_string(size) + "\r";
  if (pdf.find(sizeLine, p) == std::string::npos) return "/Size differs from the xref";
  if (pdf.size() < 6 || pdf.compare(pdf.size() - 6, 6, "%%EOF\r") != 0) return "no %%EOF at the end";
  if (pdf.find('\n') != std::string::npos && pdf.find("stream") == std::string::npos)
    return "a line feed in the skeleton";
  return {};
}

}  // namespace velmora::testing
