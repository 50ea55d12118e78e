#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/context.h"
#include "velmora/interface.h"

namespace velmora::interface {

// The steps the single and the batch dispensation share.

// Raises 32007 with `method` unless `id` can name a message file and an audit section; checked
// before anything is logged or written for it.
void RefuseUnusableIdentifier(const std::string& id, const char* method);

// A response file already in "Recibidos" for `id` belongs to an earlier request: it goes to
// "Retrasados" before the executor starts, so it cannot pass for this request's answer.
void MoveStaleResponseAside(const std::string& id);

// Raises 53 when executor.exe is missing, else starts executor.exe from the runtime folder with
// "IDPres=<id>" as one argument (and "MD" as another for a batch), without a shell, and does
// not wait. The result tells whether the executor has ended.
std::function<bool()> StartExecutor(const std::string& id, bool batch, const char* method);

// Deletes the message files as EliminarXMLPeticion and EliminarXMLRespuesta say; the response
// file only when it came from the executor. Results are ignored: the answer is already chosen.
void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type);

// The size of the message log now: where ExecutorFailure starts to read.
std::uintmax_t LogMark();

// The cause an executor logged for `id` after `logMark` ("(<number>) <text>"), the last one
// when several; empty when it logged none (still running, or no log kept).
std::string ExecutorFailure(const std::string& id, std::uintmax_t logMark);

// Keeps a private copy of the request file of `id` in the pending folder (see pending_files.h).
void KeepPendingCopy(const std::string& id);

// Picks and fills the response once the wait is over: the executor's file when it arrived, else
// the default file when `defaultExists`, else the internal response of the ini; audits the
// choice, loads the file, records the kind and any executor failure logged after `logMark` on
// the response, cleans up the message files and returns the kind given.
template <class Response>
ResponseTypeEnum ChooseResponse(const std::string& id, bool arrived, bool defaultExists,
                                const std::string& responseFile, std::uintmax_t logMark, Response& response) {
  auto& auditor = core::ThreadContext().Auditor();
  ResponseTypeEnum type;
  std::string fileToLoad;
  // Before the audit mark: the executor puts a late answer aside only once the mark is there,
  // so the copy is always older than any late answer to it.
  if (!arrived) KeepPendingCopy(id);
  if (arrived) {
    type = rspReceived;
    fileToLoad = responseFile;
    auditor.Save(id, audSetResponse, rcvService, {});
  } else if (defaultExists) {
    type = rspDefault;
    fileToLoad = CFileAdmin().DefaultResponseFile();
    auditor.Save(id, audSetResponse, rcvXML, {});
  } else {
    type = rspInternal;
    response.SetInternalResponse(true);
    auditor.Save(id, audSetResponse, rcvInternal, {});
  }
  if (!fileToLoad.empty()) response.FromXMLFile(fileToLoad);
  response.TipoRespuesta = type;
  if (!arrived) response.FalloEjecutor = ExecutorFailure(id, logMark);
  CleanUpMessageFiles(id, type);
  return type;
}

}  // namespace velmora::interface
