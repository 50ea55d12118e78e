#include "pdf/pdf_writer.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "errors/error_map.h"
#include "os/file_io.h"
#include "vbcompat/cp1252.h"

namespace velmora::pdf {
namespace {

constexpr size_t kFlushThreshold = 64 * 1024;

thread_local WriterState tState;

void AddToOffset(size_t count) {
  int64_t next = static_cast<int64_t>(tState.offset) + static_cast<int64_t>(count);
  if (next > std::numeric_limits<int32_t>::max()) Raise(errnum::kOverflow, "cPDF.WriteLine");
  tState.offset = static_cast<int32_t>(next);
}

void Append(std::string_view bytes, bool appendCR) {
  AddToOffset(bytes.size() + (appendCR ? 1 : 0));
  if (tState.memoryMode) {
    tState.memory.insert(tState.memory.end(), bytes.begin(), bytes.end());
    if (appendCR) tState.memory.push_back('\r');
    return;
  }
  tState.pending.append(bytes);
  if (appendCR) tState.pending.push_back('\r');
  if (tState.pending.size() >= kFlushThreshold) Flush();
}

}  // namespace

WriterState& State() { return tState; }

uint64_t NewDocumentId() {
  thread_local uint64_t last = 0;
  return ++last;
}

void ResetState() {
  // A document left unfinished by an earlier writer: what was written stays, as it stands.
  ReleaseOutput();
  tState = WriterState{};
}

void Flush() {
  if (tState.fd < 0) {
    tState.pending.clear();
    return;
  }
  if (!os::WriteAll(tState.fd, tState.pending.data(), tState.pending.size())) {
    const int err = errno;
    tState.pending.clear();
    errors::RaiseErrno(err, "cPDF.WriteLine");
  }
  tState.pending.clear();
}

void CloseOutput() {
  if (tState.fd < 0) return;
  Flush();
  int fd = tState.fd;
  tState.fd = -1;
  if (!os::CloseDescriptor(fd)) errors::RaiseErrno(errno, "cPDF.PDFClose");
}

void ReleaseOutput() noexcept {
  if (tState.fd < 0) return;
  try {
    Flush();
  } catch (const Error&) {
    // Nothing more can be done for a file whose writer has gone; the descriptor is still freed.
  }
  os::CloseDescriptor(tState.fd);
  tState.fd = -1;
}

void AbandonOutput() noexcept {
  if (tState.fd >= 0) {
    os::CloseDescriptor(tState.fd);
    tState.fd = -1;
    if (tState.created && !tState.path.empty()) os::RemoveFile(tState.path);
  }
  tState.pending.clear();
}

void WriteLine(std::string_view text, bool appendCR) {
  // Nearly every line of a document is operators and numbers: ASCII, the same in both encodings.
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return Append(ToCp1252(text), appendCR);
  Append(text, appendCR);
}

void WriteBytes(std::string_view bytes, bool appendCR) { Append(bytes, appendCR); }

int16_t NextObjectNumber() {
  int32_t next = tState.objectCounter + 1;
  if (next > std::numeric_limits<int16_t>::max()) Raise(errnum::kOverflow, "cPDF.NextObjectNumber");
  if (next >= 2 && next <= 4) next = 5;
  tState.objectCounter = static_cast<int16_t>(next);
  return tState.objectCounter;
}

void RegisterObject(int16_t number) { tState.objects.Add(number, tState.offset); }

std::string ToCp1252(std::string_view text) { return vb::Utf8ToCp1252(text); }

std::string HexString(std::string_view text) { return HexBytes(ToCp1252(text)); }

std::string HexBytes(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (char c : bytes) {
    auto b = static_cast<uint8_t>(c);
    out.push_back(kDigits[b >> 4]);
    out.push_back(kDigits[b & 0x0F]);
  }
  return out;
}

namespace {

// to_chars in fixed notation is exact but slow, and a receipt formats hundreds of thousands of
// coordinates. Scaling to an integer gives the same digits whenever the scaled value is not
// within reach of a rounding tie; those rare cases still go through to_chars.
std::optional<std::string> FastFixed(double value, int decimals) {
  static constexpr double kScale[] = {1, 10, 100, 1000, 10000};
  if (decimals < 0 || decimals > 4 || !(std::fabs(value) < 1e12)) return std::nullopt;
  const double scaled = value * kScale[decimals];
  const double rounded = std::nearbyint(scaled);
  if (std::fabs(std::fabs(scaled - rounded) - 0.5) < 1e-6) return std::nullopt;
  auto units = static_cast<int64_t>(rounded);
  const bool negative = units < 0;
  if (negative) units = -units;
  char digits[32];
  auto [end, ec] = std::to_chars(digits, digits + sizeof digits, units);
  (void)ec;
  std::string whole(digits, end);
  if (static_cast<int>(whole.size()) <= decimals) whole.insert(0, static_cast<size_t>(decimals + 1) - whole.size(), '0');
  std::string out;
  out.reserve(whole.size() + 2);
  // A value that rounds to zero is written without its sign.
  if (negative && units != 0) out += '-';
  out.append(whole, 0, whole.size() - static_cast<size_t>(decimals));
  if (decimals > 0) {
    out += '.';
    out.append(whole, whole.size() - static_cast<size_t>(decimals), std::string::npos);
  }
  return out;
}

}  // namespace

std::string Fixed(double value, int decimals) {
  if (auto fast = FastFixed(value, decimals)) return *fast;
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, decimals);
  if (ec != std::errc()) return "0";
  std::string s(buf, end);
  if (!s.empty() && s[0] == '-' && s.find_first_not_of("-0.") == std::string::npos) s.erase(0, 1);
  return s;
}

std::string Shortest(double value) {
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
  if (ec != std::errc()) return "0";
  return std::string(buf, end);
}

std::string Int(int64_t value) { return std::to_string(value); }

int32_t ColorComponent(int32_t color, int component) {
  if (component < 0 || component > 2) return 0;
  return static_cast<int32_t>((static_cast<uint32_t>(color) >> (8 * component)) & 0xFFu);
}

std::string ColorTriple(int32_t color) {
  return Fixed(ColorComponent(color, 0) / 255.0, 1) + " " + Fixed(ColorComponent(color, 1) / 255.0, 1) +
         " " + Fixed(ColorComponent(color, 2) / 255.0, 1);
}

int16_t Sub16(int32_t a, int32_t b, const char* source) {
  int32_t r = a - b;
  if (r < std::numeric_limits<int16_t>::min() || r > std::numeric_limits<int16_t>::max()) Raise(errnum::kOverflow, source);
  return static_cast<int16_t>(r);
}

int16_t Add16(int32_t a, int32_t b, const char* source) {
  int32_t r = a + b;
  if (r < std::numeric_limits<int16_t>::min() || r > std::numeric_limits<int16_t>::max()) Raise(errnum::kOverflow, source);
  return static_cast<int16_t>(r);
}

uint8_t Grey(uint8_t r, uint8_t g, uint8_t b) {
  return static_cast<uint8_t>((299 * r + 587 * g + 114 * b + 500) / 1000);
}

}  // namespace velmora::pdf
