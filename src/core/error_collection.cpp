#include "velmora/core.h"

namespace velmora {

Collection<CErrorItem>& CError::Errores() { return items_; }
const Collection<CErrorItem>& CError::Errores() const { return items_; }

void CError::AddError(const Error& objError) {
  // The five properties travel through text, as the runtime's error object gave them; the help
  // context is a number there, so "no context" reads "0".
  CErrorItem item;
  item.Description = objError.Description;
  item.HelpContext.assign(1, '0');  // not = "0": GCC 12 at -O3 warns (wrongly, -Wrestrict) on it
  item.HelpFile = "";
  item.Number = objError.Number;
  item.Source = objError.Source;
  items_.Add(std::move(item));
}

void CError::AddError2(const CErrorItem& objError) { items_.Add(objError); }

void CError::ResetErrorsCollection() {
  const size_t count = items_.Count();
  if (count >= 1)
    for (size_t i = 0; i + 1 < count; ++i) items_.Remove(1);
  slots_.resize(1);
}

}  // namespace velmora
