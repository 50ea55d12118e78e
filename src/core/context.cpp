#include "core/context.h"

#include <string>

#include "core/boundary.h"
#include "errors/catalogue.h"
#include "errors/error_map.h"
#include "vbcompat/text.h"

namespace velmora::core {

CAuditor& Context::Auditor() {
  if (!auditor_) auditor_ = std::make_unique<CAuditor>();
  return *auditor_;
}

Context& ThreadContext() {
  thread_local Context context;
  return context;
}

// A trace file that cannot be written must not stop the work it traces.
TraceScope::TraceScope(std::string method, std::string_view moreData) : method_(std::move(method)) {
  Quietly([&] { ThreadContext().TraceLog.WriteTrace(true, method_, moreData, true); });
}

TraceScope::~TraceScope() {
  Quietly([&] { ThreadContext().TraceLog.WriteTrace(false, method_, result_, true); });
}

void TraceScope::Result(bool value) { result_ = vb::BoolText(value); }

void CopySharedErrors(CError& target) {
  target = CError();
  for (const auto& item : ThreadContext().Errors.Errores()) target.AddError2(item);
}

void LogLine(std::string_view text) {
  Quietly([&] { ThreadContext().MessageLog.Writeln(text, true); });
}

Error HandleError(std::string_view method, const std::exception& e) {
  Error error = errors::ToError(e, std::string(method));
  // The error still reaches the log when the list cannot take it.
  Quietly([&] { ThreadContext().Errors.AddError(error); });
  LogLine(std::string(method) + ":" + errors::Text("log.error", {std::to_string(error.Number), error.Description}));
  return error;
}

}  // namespace velmora::core
