#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "velmora/error_codes.h"
#include "velmora/export.h"

namespace velmora {

// The one error type of the library: a catalogue or platform number, the raiser's
// "Class.Method" name and the Spanish text. Subsystems 1-4 never let it reach the host; the PDF
// writer and the barcode encoders do.
class VELMORA_API Error : public std::runtime_error {
 public:
  Error(int32_t number, std::string source, std::string description);

  int32_t Number;
  std::string Source;
  std::string Description;
};

// Throws the catalogue error `number` (a velmora::errnum constant) with its catalogue text (or
// the platform text for the platform numbers 5, 6, 7, 9, 11, 13, 53, 61, 70, 75, 76).
[[noreturn]] VELMORA_API void Raise(int32_t number, const std::string& source);

// Catalogue or platform text of `number`; empty when the number is unknown.
VELMORA_API std::string ErrorText(int32_t number);

// The catalogue's text of `key`, with %1 ... %9 filled from `args`; std::out_of_range for a key
// the catalogue does not hold. The library's error, log and terminal texts live in one table,
// the command-line host's included; the host reaches its texts here, through the library's
// exported surface, rather than by including the table itself.
VELMORA_API std::string CatalogueText(std::string_view key, std::initializer_list<std::string_view> args = {});

}  // namespace velmora
