#pragma once

#include <string>
#include <string_view>

namespace velmora::barcode {

// The shortest usual Code 128 width pattern of a text of printable ASCII characters (code set B,
// with code set C for runs of four or more digits, which take one symbol per two digits): what
// readers decode to the same text as the encoder's code set B pattern, in about two thirds of
// its width for the digit-heavy prescription identifiers. Empty when a character is outside
// " ".."~".
std::string CompactCode128Pattern(std::string_view text);

}  // namespace velmora::barcode
