#pragma once

#include <chrono>
#include <string>

namespace velmora::receipt {

// How long the spooler may take to accept a file before the print counts as failed.
inline constexpr std::chrono::milliseconds kSpoolerWait{20000};

// Hands a PDF file to the print spooler ("lp <file>", or $VELMORA_PRINTER_PROGRAM when set; a
// bare name is looked up on PATH) and waits at most `wait` for it to take the file. False when
// the program cannot be started, reports failure, or is still running at the deadline: a hung
// spooler is stopped (with whatever it started) rather than left to hold the till.
bool SpoolToPrinter(const std::string& file, std::chrono::milliseconds wait = kSpoolerWait);

}  // namespace velmora::receipt
