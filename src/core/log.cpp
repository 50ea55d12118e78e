#include "velmora/core.h"

#include "errors/catalogue.h"
#include "os/clock.h"
#include "vbcompat/dates.h"
#include "os/files.h"

namespace velmora {

namespace {

constexpr int kVersionMajor = 1;
constexpr int kVersionMinor = 0;
constexpr const char* kApplicationTitle = "velmora";

std::string DateText() { return vb::FormatDate(os::Now(), "yyyy/mm/dd hh:mm:ss "); }

// The frame a new log file starts with.
std::string Header(const std::string& title) {
  const std::string stars(80, '*');
  return stars + "\r\n" + title + kApplicationTitle + " " + std::to_string(kVersionMajor) + "." +
         std::to_string(kVersionMinor) + "\t" + vb::FormatDate(os::Now(), "dd/mm/yyyy h:mm:ss") +
         "\r\n" + stars + "\r\n" + DateText() + " " + errors::Text("log.started") + "\r\n";
}

void Append(const CLog& log, std::string_view data, bool addDate) {
  std::string line;
  if (addDate) line = DateText();
  line.append(data);
  line += "\r\n";
  os::AppendToFile(log.FileName, [&] { return Header(log.Title); }, line, "CLog.Writeln");
}

}  // namespace

void CLog::Writeln(std::string_view strData, bool blnAddDate) {
  if (!(Flags & lfgToFile)) return;
  Append(*this, strData, blnAddDate);
}

void CLog::WriteTrace(bool blnIsIn, std::string_view strMethod, std::string_view strMoreData, bool blnAddDate) {
  if (!(Flags & (lfgToFile | lfgToDebug))) return;
  std::string line = blnIsIn ? "IN " : "OUT";
  line += '\t';
  line.append(strMethod);
  line += '\t';
  line.append(strMoreData);
  line += '\t';
  // Debug output has no listener in a built library: the line is made and dropped.
  if (Flags & lfgToFile) Append(*this, line, blnAddDate);
}

}  // namespace velmora
