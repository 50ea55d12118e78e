#pragma once

#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "velmora/core.h"

namespace velmora::core {

// The objects every class of a thread shares: the message log, the trace log, the error list,
// the configuration and the audit trail. Created on first use, one set per thread.
struct Context {
  CLog MessageLog;
  CLog TraceLog;
  CError Errors;
  CConfig Config;
  // The library-wide copy of EsquemaXML that the message serialisers read.
  std::string EsquemaXML = kDefaultEsquemaXML;

  CAuditor& Auditor();
  void ResetAuditor() { auditor_.reset(); }

 private:
  std::unique_ptr<CAuditor> auditor_;
};

Context& ThreadContext();

// "IN " on construction and "OUT" with the result on destruction, on the trace log.
class TraceScope {
 public:
  explicit TraceScope(std::string method, std::string_view moreData = {});
  ~TraceScope();
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

  void Result(std::string text) { result_ = std::move(text); }
  void Result(bool value);

 private:
  std::string method_;
  std::string result_;
};

// The handler at the end of a method: records the error in the shared list (AddError) and
// writes "<method>:(<number>)<description>" with the date to the message log. Returns the error
// as the library's type. Never throws.
Error HandleError(std::string_view method, const std::exception& e);

// Empties `target` and copies into it every entry of the thread's shared error list, which is
// left as it is: the entry classes hand the host the errors recorded since they were created.
void CopySharedErrors(CError& target);

// Writes one dated line to the message log; never throws (a log that cannot be written must
// not turn a handled error into an unhandled one).
void LogLine(std::string_view text);

// What an executor writes to the message log after its id when its request failed, before
// "(<number>) <text>" of the cause, for the people who read the log; the till gets the cause
// from the executor's failure hand-over (layout.h), never from the log.
inline constexpr std::string_view kExecutorFailureMark = "CExecutor.Fallo:";

}  // namespace velmora::core
