#pragma once

#include <ostream>
#include <string>

namespace velmora::cli {

// `velmora send FILE [--print]`: one section is a single dispensation, several a batch (with
// --print, the receipt first). Exit code 0 when the answer's data was valid.
int Send(const std::string& file, bool print, std::ostream& out, std::ostream& err);

// `velmora demo`: starts the simulator beside the library, points the ini at it, sends one
// dispensation and a printed batch of five, prints both verdicts and restores the ini.
int Demo(std::ostream& out, std::ostream& err);

}  // namespace velmora::cli
