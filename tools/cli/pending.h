#pragma once

#include <ostream>
#include <string>

namespace velmora::cli {

// Exit codes of `pending`, `resend` and `ack`, for a scheduled job: what is left pending once
// the command is done, unless a re-send failed or the command could not do what it was asked.
enum PendingExit : int {
  kNothingPending = 0,
  kSomethingPending = 1,
  kCannot = 2,        // usage, configuration not loaded, or `ack` of a dispensation without a late verdict
  kResendFailed = 3,  // a re-send got no answer from the service
};

// `velmora pending [--json]`: the dispensations answered by a fallback and not yet confirmed.
int Pending(bool json, std::ostream& out, std::ostream& err);
// `velmora resend ID|--all [--json]` (an empty `id` is --all).
int Resend(const std::string& id, bool json, std::ostream& out, std::ostream& err);
// `velmora ack ID`: the host has read that dispensation's late verdict.
int Ack(const std::string& id, std::ostream& out, std::ostream& err);

}  // namespace velmora::cli
