#include "velmora/error.h"

#include "errors/catalogue.h"

namespace velmora {

Error::Error(int32_t number, std::string source, std::string description)
    : std::runtime_error(source + ":(" + std::to_string(number) + ")" + description),
      Number(number),
      Source(std::move(source)),
      Description(std::move(description)) {}

std::string ErrorText(int32_t number) {
  const errors::CatalogueEntry* e = errors::Find(errors::Kind::Library, number);
  if (!e) e = errors::Find(errors::Kind::Platform, number);
  return e ? std::string(e->text) : std::string();
}

void Raise(int32_t number, const std::string& source) { throw Error(number, source, ErrorText(number)); }

std::string CatalogueText(std::string_view key, std::initializer_list<std::string_view> args) {
  const errors::CatalogueEntry* e = errors::Find(key);
  if (!e) throw std::out_of_range("not a key of the catalogue: " + std::string(key));
  return errors::Format(e->text, args);
}

namespace errors {

std::string Format(std::string_view text, std::initializer_list<std::string_view> args) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char digit = i + 1 < text.size() ? text[i + 1] : '\0';
    if (text[i] == '%' && digit >= '1' && digit <= '9' && static_cast<size_t>(digit - '1') < args.size()) {
      out += args.begin()[digit - '1'];
      ++i;
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace errors

}  // namespace velmora
