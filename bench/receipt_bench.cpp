// The receipt of a 1,000-dispensation batch (250 pages), beside two anchors made from the same
// run's own output: PoDoFo drawing the same page content (every text, line, box and the logo
// of our pages, replayed through its painter) and a plain writer that appends the same bytes
// line by line to one string, keeping the object offsets, and writes it out.
#include <stdlib.h>

#include <podofo/podofo.h>

#include <benchmark/benchmark.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench_support.h"
#include "summary.h"
#include "velmora/barcode.h"
#include "velmora/messages.h"
#include "velmora/pdf.h"

namespace velmora::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kDispensations = 1000;
constexpr int kRounds = 5;

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// A runtime folder of its own: the receipt is written as <home>/velmora.pdf.
Home& ReceiptHome() {
  static Home home("http://127.0.0.1:1/dispensacion?wsdl");
  return home;
}

CListadoDispensaciones& Batch() {
  static CListadoDispensaciones list = [] {
    CListadoDispensaciones l;
    for (int i = 0; i < kDispensations; ++i) {
      auto r = MakeRequest(i, "RX2026" + std::to_string(100000 + i), std::to_string(600000 + i));
      l.aniadirDispensacion(r);
    }
    return l;
  }();
  return list;
}

// Writes the receipt once; the file's bytes.
std::string WriteReceipt() {
  ReceiptHome();
  cPDF pdf;
  pdf.mostrarPDF(Batch());
  return ReadFile(ReceiptHome().Root() + "velmora.pdf");
}

const std::string& Reference() {
  static const std::string bytes = WriteReceipt();
  return bytes;
}

void BM_Receipt(benchmark::State& state) {
  Reference();  // the first receipt installs the barcode font; that is not measured
  std::vector<double> samples;
  for (auto _ : state) {
    const auto start = Clock::now();
    {
      cPDF pdf;
      pdf.mostrarPDF(Batch());
    }
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(Ms(elapsed));
  }
  const std::string written = ReadFile(ReceiptHome().Root() + "velmora.pdf");
  if (written.find("%%EOF") == std::string::npos) state.SkipWithError("no receipt was written");
  Put("receipt_ms", Median(samples));
  Put("receipt_bytes", static_cast<double>(written.size()));
  state.counters["median_ms"] = Get("receipt_ms");
  state.counters["pages"] = static_cast<double>(kDispensations / 4);
}
BENCHMARK(BM_Receipt)->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMillisecond);

// What the two encoders alone cost of the receipt: the PDF417 symbols of the same data texts
// and the Code 128 patterns of the same ids and the page headers' health card.
void BM_ReceiptEncoders(benchmark::State& state) {
  std::vector<std::string> dataTexts;
  std::string D;
  for (const CPeticionDispensacion& r : Batch().Dispensaciones()) {
    // The data text as the receipt builds it, close enough for timing: date, fixed fields, card.
    D = (r.FechaPrescripcion.empty() ? D + "|00000000" : r.FechaPrescripcion) +
        "|00000000000000000000000000000000|000000|" + r.CodigoColegiadoPrescriptor +
        "|000000|000000|0000000000|" + r.CodigoDispensado + "|" + r.EnvasesDispensados + "|0" + r.Tis;
    dataTexts.push_back(D);
  }
  std::vector<double> pdf417, barras;
  for (auto _ : state) {
    cPDF417 encoder;
    BarCode128 code;
    const auto t0 = Clock::now();
    for (const auto& text : dataTexts) benchmark::DoNotOptimize(encoder.CodigoPDF(text));
    const auto t1 = Clock::now();
    for (const CPeticionDispensacion& r : Batch().Dispensaciones())
      benchmark::DoNotOptimize(code.Barras(r.IDPrescripcion + "T", cC128_B));
    for (int p = 0; p < kDispensations / 4; ++p) benchmark::DoNotOptimize(code.Barras("BBBB123456"));
    const auto t2 = Clock::now();
    state.SetIterationTime(std::chrono::duration<double>(t2 - t0).count());
    pdf417.push_back(Ms(t1 - t0));
    barras.push_back(Ms(t2 - t1));
  }
  Put("receipt_pdf417_ms", Median(pdf417));
  Put("receipt_barras_ms", Median(barras));
  state.counters["pdf417_ms"] = Get("receipt_pdf417_ms");
  state.counters["barras_ms"] = Get("receipt_barras_ms");
}
BENCHMARK(BM_ReceiptEncoders)->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- the plain writer -------------------------------------------------------------------------

// The reference file cut into its lines (every line ends in a single CR) up to the cross
// reference table, which the plain writer makes again from the offsets it keeps.
struct Lines {
  std::vector<std::string> body;
  std::vector<std::string> trailer;  // "trailer" .. ">>"
};

bool IsObjectLine(std::string_view line, int& number) {
  constexpr std::string_view kTail = " 0 obj";
  if (line.size() <= kTail.size() || line.substr(line.size() - kTail.size()) != kTail) return false;
  auto [end, ec] = std::from_chars(line.data(), line.data() + line.size() - kTail.size(), number);
  return ec == std::errc() && end == line.data() + line.size() - kTail.size();
}

const Lines& ReferenceLines() {
  static const Lines lines = [] {
    Lines l;
    const std::string& ref = Reference();
    size_t start = 0;
    bool inXref = false, inTrailer = false;
    while (start < ref.size()) {
      size_t end = ref.find('\r', start);
      if (end == std::string::npos) end = ref.size();
      std::string line = ref.substr(start, end - start);
      start = end + 1;
      if (line == "xref") inXref = true;
      if (line == "trailer") inTrailer = true;
      if (line == "startxref") break;
      if (inTrailer)
        l.trailer.push_back(std::move(line));
      else if (!inXref)
        l.body.push_back(std::move(line));
    }
    return l;
  }();
  return lines;
}

std::string PlainWrite(const Lines& lines, const std::string& path) {
  std::string out;
  std::vector<int32_t> offsets;
  bool inStream = false;
  for (const auto& line : lines.body) {
    int number = 0;
    if (!inStream && IsObjectLine(line, number)) {
      if (offsets.size() <= static_cast<size_t>(number)) offsets.resize(static_cast<size_t>(number) + 1, 0);
      offsets[static_cast<size_t>(number)] = static_cast<int32_t>(out.size());
    }
    if (line == "stream") inStream = true;
    if (line == "endstream") inStream = false;
    out += line;
    out += '\r';
  }
  const size_t xref = out.size();
  out += "xref\r0 ";
  out += std::to_string(offsets.size());
  out += "\r0000000000 65535 f \r";
  for (size_t i = 1; i < offsets.size(); ++i) {
    char buf[16];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, offsets[i]);
    out.append(10 - static_cast<size_t>(end - buf), '0');
    out.append(buf, end);
    out += " 00000 n \r";
  }
  for (const auto& line : lines.trailer) {
    out += line;
    out += '\r';
  }
  out += "startxref\r";
  out += std::to_string(xref);
  out += "\r%%EOF\r";
  if (FILE* f = std::fopen(path.c_str(), "wb")) {
    std::fwrite(out.data(), 1, out.size(), f);
    std::fclose(f);
  }
  return out;
}

void BM_ReceiptPlainWriter(benchmark::State& state) {
  const Lines& lines = ReferenceLines();
  const std::string path = ReceiptHome().Root() + "plain.pdf";
  std::vector<double> samples;
  bool same = false;
  for (auto _ : state) {
    const auto start = Clock::now();
    const std::string out = PlainWrite(lines, path);
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(Ms(elapsed));
    same = out == Reference();
  }
  if (!same) state.SkipWithError("the plain writer's bytes differ from the receipt's");
  Put("receipt_plain_ms", Median(samples));
  state.counters["median_ms"] = Get("receipt_plain_ms");
}
BENCHMARK(BM_ReceiptPlainWriter)->Iterations(kRounds * 4)->UseManualTime()->Unit(benchmark::kMillisecond);

// ---- PoDoFo ---------------------------------------------------------------------------------

// One drawing operation of a page, read back from our content stream.
struct Op {
  std::string op;
  std::vector<double> nums;
  std::string name;  // font or image resource
  std::string text;  // string operand, bytes as written (Windows-1252)
};
using Page = std::vector<Op>;

// Tokenises a content stream: numbers, names, literal strings, arrays (skipped) and operators.
Page ParseContent(std::string_view s) {
  Page page;
  Op cur;
  size_t i = 0;
  auto isDelim = [](char c) { return c == ' ' || c == '\r' || c == '\n' || c == '\t' || c == '(' || c == '/' || c == '[' || c == ']'; };
  while (i < s.size()) {
    const char c = s[i];
    if (c == ' ' || c == '\r' || c == '\n' || c == '\t') {
      ++i;
    } else if (c == '(') {
      int depth = 1;
      ++i;
      std::string text;
      while (i < s.size() && depth > 0) {
        char ch = s[i++];
        if (ch == '\\' && i < s.size()) {
          char e = s[i++];
          if (e >= '0' && e <= '7') {
            int v = e - '0';
            for (int k = 0; k < 2 && i < s.size() && s[i] >= '0' && s[i] <= '7'; ++k) v = v * 8 + (s[i++] - '0');
            text += static_cast<char>(v);
          } else {
            text += e == 'n' ? '\n' : e == 'r' ? '\r' : e == 't' ? '\t' : e;
          }
          continue;
        }
        if (ch == '(') ++depth;
        if (ch == ')' && --depth == 0) break;
        text += ch;
      }
      cur.text = text;
    } else if (c == '/') {
      size_t j = i + 1;
      while (j < s.size() && !isDelim(s[j])) ++j;
      cur.name = std::string(s.substr(i + 1, j - i - 1));
      i = j;
    } else if (c == '[') {
      size_t j = s.find(']', i);
      i = j == std::string_view::npos ? s.size() : j + 1;
    } else {
      size_t j = i;
      while (j < s.size() && !isDelim(s[j])) ++j;
      std::string_view tok = s.substr(i, j - i);
      i = j;
      double v = 0;
      auto [end, ec] = std::from_chars(tok.data(), tok.data() + tok.size(), v);
      if (ec == std::errc() && end == tok.data() + tok.size()) {
        cur.nums.push_back(v);
      } else {
        cur.op = std::string(tok);
        page.push_back(std::move(cur));
        cur = Op();
      }
    }
  }
  return page;
}

struct Display {
  std::vector<Page> pages;
  std::map<std::string, int> opCounts;
};

const Display& ReferenceDisplay() {
  static const Display display = [] {
    Display d;
    const std::string& ref = Reference();
    // Page contents are the streams that follow a dictionary with only a /Length.
    size_t at = 0;
    while ((at = ref.find("stream\r", at)) != std::string::npos) {
      if (at >= 3 && ref.compare(at - 3, 3, "end") == 0) {
        at += 7;
        continue;
      }
      const size_t dictStart = ref.rfind("<<", at);
      const std::string dict = ref.substr(dictStart, at - dictStart);
      const size_t begin = at + 7;
      const size_t end = ref.find("endstream", begin);
      at = end;
      if (dict.find("/Subtype") != std::string::npos || dict.find("/Length1") != std::string::npos) continue;
      d.pages.push_back(ParseContent(std::string_view(ref).substr(begin, end - begin)));
      for (const auto& op : d.pages.back()) ++d.opCounts[op.op];
    }
    return d;
  }();
  return display;
}

void Replay(PoDoFo::PdfPainter& painter, const Page& page, std::map<std::string, PoDoFo::PdfFont*>& fonts,
            PoDoFo::PdfImage* logo) {
  double tx = 0, ty = 0, lx = 0, ly = 0;
  std::vector<double> pendingCm;
  for (const Op& op : page) {
    const auto& n = op.nums;
    const std::string& o = op.op;
    if (o == "q") {
      painter.Save();
    } else if (o == "Q") {
      painter.Restore();
    } else if (o == "cm" && n.size() == 6) {
      pendingCm = n;
    } else if (o == "Do") {
      if (logo && pendingCm.size() == 6)
        painter.DrawImage(pendingCm[4], pendingCm[5], logo, pendingCm[0] / logo->GetWidth(), pendingCm[3] / logo->GetHeight());
      pendingCm.clear();
    } else if (o == "w" && n.size() == 1) {
      painter.SetStrokeWidth(n[0]);
    } else if (o == "J" && n.size() == 1) {
      painter.SetLineCapStyle(static_cast<PoDoFo::EPdfLineCapStyle>(static_cast<int>(n[0])));
    } else if (o == "j" && n.size() == 1) {
      painter.SetLineJoinStyle(static_cast<PoDoFo::EPdfLineJoinStyle>(static_cast<int>(n[0])));
    } else if (o == "d") {
      painter.SetStrokeStyle(PoDoFo::ePdfStrokeStyle_Solid);
    } else if (o == "RG" && n.size() == 3) {
      painter.SetStrokingColor(n[0], n[1], n[2]);
    } else if (o == "rg" && n.size() == 3) {
      painter.SetColor(n[0], n[1], n[2]);
    } else if (o == "m" && n.size() == 2) {
      painter.MoveTo(n[0], n[1]);
    } else if (o == "l" && n.size() == 2) {
      painter.LineTo(n[0], n[1]);
    } else if (o == "re" && n.size() == 4) {
      painter.Rectangle(n[0], n[1], n[2], n[3]);
    } else if (o == "S") {
      painter.Stroke();
    } else if (o == "f") {
      painter.Fill();
    } else if (o == "B") {
      painter.FillAndStroke();
    } else if (o == "BT") {
      tx = ty = lx = ly = 0;
    } else if (o == "Tf" && n.size() == 1) {
      auto it = fonts.find(op.name);
      if (it != fonts.end() && it->second) {
        it->second->SetFontSize(static_cast<float>(n[0]));
        painter.SetFont(it->second);
      }
    } else if (o == "Td" && n.size() == 2) {
      lx += n[0];
      ly += n[1];
      tx = lx;
      ty = ly;
    } else if (o == "Tm" && n.size() == 6) {
      lx = tx = n[4];
      ly = ty = n[5];
    } else if (o == "Tj") {
      if (painter.GetFont()) painter.DrawText(tx, ty, PoDoFo::PdfString(op.text.data(), static_cast<PoDoFo::pdf_long>(op.text.size())));
    }
  }
}

void PoDoFoWrite(const Display& display, const std::string& path, const std::string& fontFile, const std::string& logoPng) {
  using namespace PoDoFo;
  PdfMemDocument doc;
  const PdfEncoding* winAnsi = PdfEncodingFactory::GlobalWinAnsiEncodingInstance();
  std::map<std::string, PdfFont*> fonts;
  fonts["F1"] = doc.CreateFont("Times New Roman", false, false, false, winAnsi, PdfFontCache::eFontCreationFlags_None, false);
  fonts["F2"] = doc.CreateFont("Helvetica", false, false, false, winAnsi, PdfFontCache::eFontCreationFlags_AutoSelectBase14, false);
  fonts["F4"] = doc.CreateFont("Arial", false, false, false, winAnsi, PdfFontCache::eFontCreationFlags_None, false);
  fonts["F5"] = doc.CreateFont("Code PDF417", false, false, false, winAnsi, PdfFontCache::eFontCreationFlags_None, true,
                               fontFile.c_str());
  PdfImage logo(&doc);
  logo.LoadFromPngData(reinterpret_cast<const unsigned char*>(logoPng.data()), static_cast<pdf_long>(logoPng.size()));
  PdfPainter painter;
  for (const Page& content : display.pages) {
    PdfPage* page = doc.CreatePage(PdfPage::CreateStandardPageSize(ePdfPageSize_A4));
    painter.SetPage(page);
    Replay(painter, content, fonts, &logo);
    painter.FinishPage();
  }
  doc.Write(path.c_str());
}

void BM_ReceiptPoDoFo(benchmark::State& state) {
  const Display& display = ReferenceDisplay();
  const std::string fontFile = VELMORA_BENCH_SOURCE_DIR "/resources/code_pdf417.ttf";
  const std::string logo = ReadFile(VELMORA_BENCH_SOURCE_DIR "/resources/receipt_logo.png");
  const std::string path = ReceiptHome().Root() + "podofo.pdf";
  // Our pages are written uncompressed; PoDoFo writes the same content the same way.
  PoDoFo::PdfStream::eDefaultFilter = PoDoFo::ePdfFilter_None;
  PoDoFo::PdfError::EnableDebug(false);
  PoDoFo::PdfError::EnableLogging(false);
  std::vector<double> samples;
  for (auto _ : state) {
    const auto start = Clock::now();
    try {
      PoDoFoWrite(display, path, fontFile, logo);
    } catch (const PoDoFo::PdfError& e) {
      state.SkipWithError(PoDoFo::PdfError::ErrorMessage(e.GetError()));
      return;
    }
    const auto elapsed = Clock::now() - start;
    state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    samples.push_back(Ms(elapsed));
  }
  Put("receipt_podofo_ms", Median(samples));
  state.counters["median_ms"] = Get("receipt_podofo_ms");
  state.counters["pages"] = static_cast<double>(display.pages.size());
  size_t ops = 0;
  for (const auto& p : display.pages) ops += p.size();
  state.counters["operations"] = static_cast<double>(ops);
}
BENCHMARK(BM_ReceiptPoDoFo)->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace velmora::bench
