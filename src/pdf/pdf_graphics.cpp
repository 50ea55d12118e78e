#include "velmora/pdf.h"

#include "pdf/pdf_writer.h"

namespace velmora {

using pdf::Fixed;
using pdf::Int;
using pdf::WriteLine;

namespace {

std::string Point(double x, double yFromTop, int16_t pageHeight) {
  return Fixed(x, 2) + " " + Fixed(pageHeight - yFromTop, 2);
}

}  // namespace

void cPDF::SetColors(int32_t ForeColor, int32_t FillColor) {
  Own("cPDF.SetColors");
  if (FillColor != -1) {
    WriteLine(pdf::ColorTriple(FillColor) + " rg");
    fillColor_ = FillColor;
  }
  if (ForeColor != -1) WriteLine(pdf::ColorTriple(ForeColor) + " RG");
}

void cPDF::SetLineFormat(uint8_t LineWidth, eLineCap LineCap, eLineJoin LineJoin, int16_t DashPhase,
                         const std::string& DashArray) {
  Own("cPDF.SetLineFormat");
  WriteLine(Int(LineWidth) + " w");
  WriteLine(Int(LineCap) + " J");
  WriteLine(Int(LineJoin) + " j");
  WriteLine(DashArray + " " + Int(DashPhase) + " d");
}

void cPDF::MoveTo(double X, double Y) { Own("cPDF.MoveTo"); WriteLine(Point(X, Y, PageHeight()) + " m"); }

void cPDF::WLineTo(double X, double Y, std::optional<double> StartX, std::optional<double> StartY) {
  Own("cPDF.WLineTo");
  if (StartX || StartY) MoveTo(StartX.value_or(0), StartY.value_or(0));
  WriteLine(Point(X, Y, PageHeight()) + " l");
}

// Both control points: "c". Only the first: "y" (the second coincides with the end). Only the
// second: "v" (the first coincides with the current point). None: a straight "v" segment whose
// control point is the end itself.
void cPDF::WCurve(double X, double Y, std::optional<int16_t> ControlX1, std::optional<int16_t> ControlY1,
                  std::optional<int16_t> ControlX2, std::optional<int16_t> ControlY2,
                  std::optional<double> StartX, std::optional<double> StartY) {
  Own("cPDF.WCurve");
  const int16_t h = PageHeight();
  if (StartX || StartY) MoveTo(StartX.value_or(0), StartY.value_or(0));
  bool first = ControlX1 || ControlY1;
  bool second = ControlX2 || ControlY2;
  std::string end = Point(X, Y, h);
  if (first && second) {
    WriteLine(Point(ControlX1.value_or(0), ControlY1.value_or(0), h) + " " +
              Point(ControlX2.value_or(0), ControlY2.value_or(0), h) + " " + end + " c");
  } else if (first) {
    WriteLine(Point(ControlX1.value_or(0), ControlY1.value_or(0), h) + " " + end + " y");
  } else if (second) {
    WriteLine(Point(ControlX2.value_or(0), ControlY2.value_or(0), h) + " " + end + " v");
  } else {
    WriteLine(end + " " + end + " v");
  }
}

// Starts at the rightmost point and runs counter-clockwise (as seen on the page) in four quarters.
void cPDF::WCircle(double X, double Y, double Radio) {
  Own("cPDF.WCircle");
  const double k = 0.552 * Radio;
  const double cy = PageHeight() - Y;  // centre in PDF space
  auto p = [](double x, double y) { return Fixed(x, 2) + " " + Fixed(y, 2); };
  WriteLine("q");
  WriteLine(p(X + Radio, cy) + " m");
  WriteLine(p(X + Radio, cy + k) + " " + p(X + k, cy + Radio) + " " + p(X, cy + Radio) + " c");
  WriteLine(p(X - k, cy + Radio) + " " + p(X - Radio, cy + k) + " " + p(X - Radio, cy) + " c");
  WriteLine(p(X - Radio, cy - k) + " " + p(X - k, cy - Radio) + " " + p(X, cy - Radio) + " c");
  WriteLine(p(X + k, cy - Radio) + " " + p(X + Radio, cy - k) + " " + p(X + Radio, cy) + " c");
  WriteLine("s");
  WriteLine("Q");
}

// A filled rectangle takes the last fill colour given to SetColors (white before any), so a
// filled text box is a background the text stays readable on.
void cPDF::WRectangle(int16_t Top, int16_t Left, int16_t Height, int16_t Width, int16_t Border,
                      int32_t BorderColor, bool Fill) {
  Own("cPDF.WRectangle");
  int16_t y = pdf::Sub16(PageHeight(), Top, "cPDF.WRectangle");
  WriteLine("q");
  WriteLine(Int(Border) + " w");
  WriteLine(pdf::ColorTriple(BorderColor) + " RG");
  WriteLine(Int(Left) + " " + Int(y) + " " + Int(Width) + " " + Int(-static_cast<int32_t>(Height)) + " re");
  if (Fill) {
    WriteLine(pdf::ColorTriple(fillColor_) + " rg");
    WriteLine("f");
  } else {
    WriteLine("S");
  }
  WriteLine("Q");
}

void cPDF::SaveGraphicState() { Own("cPDF.SaveGraphicState"); WriteLine("q"); }
void cPDF::RestoreGraphicState() { Own("cPDF.RestoreGraphicState"); WriteLine("Q"); }
void cPDF::LineStroke() { Own("cPDF.LineStroke"); WriteLine("S"); }

}  // namespace velmora
