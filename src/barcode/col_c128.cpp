#include "velmora/barcode.h"

#include "velmora/error.h"

namespace velmora {

C128& colC128::Add(const std::string& Código, const std::string& sKey) {
  C128 item;
  item.Código = Código;
  std::optional<std::string> key;
  if (!sKey.empty()) key = sKey;
  // A key already in use is refused like any other invalid argument.
  if (!items_.Add(std::move(item), key)) Raise(errnum::kInvalidCall, "colC128.Add");
  return *items_.Item(items_.Count());
}

C128& colC128::Item(int32_t index) {
  C128* item = index >= 1 ? items_.Item(static_cast<size_t>(index)) : nullptr;
  if (item == nullptr) Raise(errnum::kSubscriptOutOfRange, "colC128.Item");
  return *item;
}

C128& colC128::Item(const std::string& key) {
  C128* item = items_.Item(key);
  if (item == nullptr) Raise(errnum::kInvalidCall, "colC128.Item");
  return *item;
}

int32_t colC128::Count() const { return static_cast<int32_t>(items_.Count()); }

void colC128::Remove(int32_t index) {
  if (index < 1 || !items_.Remove(static_cast<size_t>(index))) Raise(errnum::kSubscriptOutOfRange, "colC128.Remove");
}

}  // namespace velmora
