#pragma once

#include <string>

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

}  // namespace velmora::interface
