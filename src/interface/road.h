#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/context.h"
#include "velmora/interface.h"

namespace velmora::interface {

// The road every dispensation takes, single or batch: checks, request file, audit, executor,
// wait, fallback, pending copy and clean-up, written once. What the message kind decides is in
// MessageKind; the two kinds' own files hold their parts.

// What the interface object lends a dispensation: itself, and its private steps.
struct Till {
  CInterface& host;
  // Set while the dispensation waits: tells whether the executor it started has ended.
  std::function<bool()>& executorEnded;
  std::function<bool(const char* method)> onOwnThread;
  std::function<bool(const std::string& id)> waitResponse;
};

// The parts of a dispensation that depend on its message kind, in the order the road calls them.
class MessageKind {
 public:
  MessageKind(const char* methodName, bool isBatch) : method(methodName), batch(isBatch) {}
  virtual ~MessageKind() = default;

  // Before the method's trace opens: the id traced with it (empty when none).
  virtual std::string Open() = 0;
  // The checks due before anything is logged for the message; the id the first log line names.
  virtual std::string Announce() = 0;
  // Between the first log line and the remaining checks (the batch's receipt).
  virtual void Print() {}
  // The remaining checks, once the interface is known to be enabled; the message's id.
  virtual std::string Identify() = 0;
  virtual bool WriteRequest(const std::string& path) = 0;

  const char* const method;
  // A batch: "MD" on the executor's command line, and the steps installations know it by.
  const bool batch;
};

// One dispensation on the road; Response is CRespuestaPeticion or CRespDispensaciones.
template <class Response>
std::unique_ptr<Response> Dispense(const Till& till, MessageKind& message);

// Raises 32007 with `method` unless `id` can name a message file and an audit section; checked
// before anything is logged or written for it.
void RefuseUnusableIdentifier(const std::string& id, const char* method);

// A response file already in "Recibidos" for `id` belongs to an earlier request: it goes to
// "Retrasados" before the executor starts, so it cannot pass for this request's answer.
void MoveStaleResponseAside(const std::string& id);

// Raises 53 when executor.exe is missing, else makes the folder of its failure hand-over (see
// ExecutorFailure) and starts executor.exe from the runtime folder with "IDPres=<id>" as one
// argument (and "MD" as another for a batch), without a shell, and does not wait. The result
// tells whether the executor has ended.
std::function<bool()> StartExecutor(const std::string& id, bool batch, const char* method);

// Deletes the message files as EliminarXMLPeticion and EliminarXMLRespuesta say; the response
// file only when it came from the executor. Results are ignored: the answer is already chosen.
void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type);

// The failure the executor of `id` hands over (core/layout.h) in the folder StartExecutor
// makes. Made before StartExecutor; when the object goes, the folder goes with
// whatever is in it, however the dispensation ended, so nothing outlives the wait it was made for
// and an executor still running then has nowhere to write.
class ExecutorFailure {
 public:
  explicit ExecutorFailure(std::string id) : id_(std::move(id)) {}
  ~ExecutorFailure();
  ExecutorFailure(const ExecutorFailure&) = delete;
  ExecutorFailure& operator=(const ExecutorFailure&) = delete;

  // "(<number>) <text>" of the cause, as the executor logged it; empty when it handed none
  // (it answered, is still running, or could not write).
  std::string Cause() const;

 private:
  std::string id_;
};

// Keeps a private copy of the request file of `id` in the pending folder (see pending_files.h).
void KeepPendingCopy(const std::string& id);

}  // namespace velmora::interface
