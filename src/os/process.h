#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace velmora::os {

// Set once the child has ended and been reaped.
using ChildEnded = std::shared_ptr<const std::atomic<bool>>;

// Starts `argv[0]` with `argv` (no shell, ever) in a new session, working folder `cwd`, and does
// not wait for it. The child gets the standard streams on /dev/null and no other descriptor of
// the host, every signal at its default action and none blocked: what the host set up for
// itself (ignored signals, a blocked mask, open files and sockets) is none of the child's
// business. Each "NAME=value" of `environment` replaces that variable of the host's environment
// for the child. The child is reaped by a detached thread, so no zombie outlives the call.
// Throws velmora::Error (53 when the program is missing, 70 when it cannot be run).
ChildEnded SpawnDetached(const std::vector<std::string>& argv, const std::string& cwd, const std::string& source,
                         const std::vector<std::string>& environment = {});

// Runs `argv[0]` with `argv` (no shell, ever) and waits at most `wait` for it to end. The child
// gets the standard streams on /dev/null and otherwise what the host has (environment, signal
// dispositions, inheritable descriptors), in a process group of its own: one still running at
// the deadline is killed together with whatever it started, and reaped. True only when it ran
// and exited with 0 in time; false when it cannot be started, fails, or is killed.
bool RunWithDeadline(const std::vector<std::string>& argv, std::chrono::milliseconds wait);

// This process's id.
int ProcessId();

}  // namespace velmora::os
