// The command-line host's request files come from whoever runs it: any bytes must either parse
// or be refused with a message, and what parses holds only known properties.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "request_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    const auto file = velmora::cli::ParseRequestFile(std::string_view(reinterpret_cast<const char*>(data), size));
    if (file.requests.empty() || (!file.batch && file.requests.size() != 1)) std::abort();
    for (const auto& fields : file.requests)
      if (fields.size() > velmora::cli::RequestPropertyNames().size()) std::abort();
  } catch (const std::invalid_argument&) {
  }
  return 0;
}
