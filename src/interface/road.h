#pragma once

#include <string>

#include "core/context.h"
#include "velmora/interface.h"

namespace velmora::interface {

// The steps the single and the batch dispensation share.

// True when `id` can name a message file: not empty of meaning for a path ("." or ".."), and no
// folder separator, so nothing is ever written outside the working folders.
bool IsPlainFileName(const std::string& id);

// Raises 53 when executor.exe is missing, else starts "executor.exe IDPres=<id>" (+ " MD" for a
// batch) from the runtime folder, split at blanks and without a shell, and does not wait.
void StartExecutor(const std::string& id, bool batch, const char* method);

// Deletes the message files as EliminarXMLPeticion and EliminarXMLRespuesta say; the response
// file only when it came from the executor. Results are ignored: the answer is already chosen.
void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type);

// Picks and fills the response once the wait is over: the executor's file when it arrived, else
// the default file when `defaultExists`, else the internal response of the ini; audits the
// choice, loads the file, cleans up the message files and returns the kind given.
template <class Response>
ResponseTypeEnum ChooseResponse(const std::string& id, bool arrived, bool defaultExists,
                                const std::string& responseFile, Response& response) {
  auto& auditor = core::ThreadContext().Auditor();
  ResponseTypeEnum type;
  std::string fileToLoad;
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
  CleanUpMessageFiles(id, type);
  return type;
}

}  // namespace velmora::interface
