#pragma once

#include <string>

namespace velmora::barcode {

// Hands a PDF file to the print spooler ("lp <file>", or $VELMORA_PRINTER_PROGRAM when set) and
// waits for it to take the file. False when the program cannot be started or reports failure.
bool SpoolToPrinter(const std::string& file);

}  // namespace velmora::barcode
