#include "velmora/error.h"

#include "errors/catalogue.h"

namespace velmora {

Error::Error(int32_t number, std::string source, std::string description)
    : std::runtime_error(source + ":(" + std::to_string(number) + ")" + description),
      Number(number),
      Source(std::move(source)),
      Description(std::move(description)) {}

std::string ErrorText(int32_t number) {
  for (const auto& e : errors::kCatalogue)
    if (e.number == number) return std::string(e.text);
  return std::string(errors::PlatformErrorText(number));
}

void Raise(int32_t number, const std::string& source) { throw Error(number, source, ErrorText(number)); }

}  // namespace velmora
