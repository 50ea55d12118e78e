#pragma once

#include <ostream>
#include <string>

namespace velmora::cli {

// `velmora dispense FILE [--print] [--json]`: a [Dispensacion] section is a single
// dispensation, numbered sections a batch (with --print, the receipt first). Exit code 0 when the
// answer's data was valid, 1 when not, 2 for a file that cannot be used.
int Dispense(const std::string& file, bool print, bool json, std::ostream& out, std::ostream& err);

// `velmora demo`: starts the simulator on a free port, makes a fresh runtime folder pointed at
// it, sends one dispensation and a printed batch of five, and prints both verdicts and where the
// receipt, the log and the audit trail are.
int Demo(std::ostream& out, std::ostream& err);

}  // namespace velmora::cli
