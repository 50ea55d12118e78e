#pragma once

// The boundary every method of the dispensation classes shares: the IN/OUT pair on the trace
// log, the handler that records an error (Errores and the log line "Class.Method:(n)text") and
// the result returned as it stood. It is written here once; a method states only where it
// differs, and each difference below says why it exists.

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "core/context.h"
#include "vbcompat/text.h"

namespace velmora::core {

// The one place where these classes stop their own errors: runs `body`; an error ends it and
// goes to `onError`. True when the body ran to its end.
template <class Body, class OnError>
bool Caught(Body&& body, OnError&& onError) {
  try {
    body();
    return true;
  } catch (const std::exception& e) {
    onError(e);
    return false;
  }
}

// For the few steps whose failure must go nowhere: the trace and the log themselves (a file
// that cannot be written must not stop the work it records) and courtesy clean-ups. Each use
// says why.
template <class Body>
bool Quietly(Body&& body) {
  return Caught(body, [](const std::exception&) {});
}

// The handler at the end of a method: an error is recorded under `source` and handed back.
template <class Body>
std::optional<Error> Recorded(std::string_view source, Body&& body) {
  std::optional<Error> error;
  Caught(body, [&](const std::exception& e) { error = HandleError(source, e); });
  return error;
}

inline std::string Shown(const bool& value) { return vb::BoolText(value); }
inline std::string Shown(const std::string& value) { return value; }

// How one method goes through the boundary. Only `trace` is always given.
template <class R>
struct MethodShape {
  // The name on the IN/OUT lines, and the text after IN.
  const char* trace;
  std::string_view argument = {};
  // The name the log line of an error starts with (and the source in Errores of a failure that
  // named none itself); null: the trace name. They differ where the log and the error catalogue
  // have always known a step by an older name than the trace does (the ToXMLFile methods report
  // as "ToXML").
  const char* source = nullptr;
  // What a failure returns when the body has not set the result yet. A few methods answer
  // something else than the empty value: a response has no required fields whatever happens.
  R onFailure = R{};
  // What the OUT line shows of the result; null leaves it empty, as in the methods that never
  // set their trace result. Requests show their text without the password: the trace is a
  // plain file.
  std::string (*shown)(const R&) = &Shown;
  // Checks of the arguments that open the method, before its IN line: a call refused for its
  // arguments leaves an error but no IN/OUT pair (CConfig.LoadInternalResponse: its trace lists
  // only the keys it really looked up).
  std::function<void()> checks = {};
  // Runs after IN and outside the handler; false turns the call away: `onFailure` is returned,
  // the OUT line stays empty and `after` does not run. The check reports the refusal itself, in
  // the object's own Errores, which `after` would overwrite (a call from another thread than
  // the interface's).
  std::function<bool()> admit = {};
  // Runs once the body has ended or failed, before the OUT line (not with `checks`): the entry
  // classes copy the shared errors into their own Errores there, so the host reads why.
  std::function<void(R&)> after = {};
};

// Runs a method's body inside its boundary and returns the result. The body either returns the
// result, or (taking an R&) fills it as it goes: then a failure returns what it had set, which
// is how a method whose last step is a host's event reports success with the event's error.
template <class R, class Body>
R Method(const MethodShape<R>& how, Body&& body) {
  const char* source = how.source ? how.source : how.trace;
  R result = how.onFailure;
  auto run = [&] {
    if constexpr (std::is_invocable_v<Body&, R&>)
      body(result);
    else
      result = body();
  };
  if (how.checks) {
    // The pair opens and closes inside the handler: a failed body still writes its OUT line
    // (empty) before the error is recorded.
    Recorded(source, [&] {
      how.checks();
      TraceScope trace(how.trace, how.argument);
      run();
      if (how.shown) trace.Result(how.shown(result));
    });
    return result;
  }
  TraceScope trace(how.trace, how.argument);
  if (how.admit && !how.admit()) return result;
  Recorded(source, run);
  if (how.after) how.after(result);
  if (how.shown) trace.Result(how.shown(result));
  return result;
}

}  // namespace velmora::core
