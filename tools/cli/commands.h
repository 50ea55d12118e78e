#pragma once

#include <ostream>
#include <string>

namespace velmora::cli {

// The exit codes of `velmora`, for the scripts that run it (listed by --help and velmora(1)).
enum ExitCode : int {
  kAccepted = 0,  // dispense: the service accepted the dispensation (a batch: every item)
  kRejected = 1,  // dispense: the service answered and refused it (a batch: some or all items);
                  // status: a check failed
  kUsage = 2,     // a command line, request file or request that cannot be used: nothing sent
  kFallback = 3,  // dispense: no verdict of the service in time; the default file or the
                  // internal response answered, so the dispensation is still to be confirmed
  kFailed = 4,    // dispense: the call failed on its way (DatosValidos false)
};

// `velmora dispense FILE [--print] [--json]`: a [Dispensacion] section is a single
// dispensation, numbered sections a batch (with --print, the receipt first). Every request is
// checked first; one that misses fields is named with them and nothing is sent.
int Dispense(const std::string& file, bool print, bool json, std::ostream& out, std::ostream& err);

// `velmora demo`: starts the simulator on a free port, points the user's demo runtime folder
// (emptied first, the same folder on every run) at it, sends one dispensation and a printed
// batch of five, and prints both verdicts and where the receipt, the log and the audit trail are.
int Demo(std::ostream& out, std::ostream& err);

}  // namespace velmora::cli
