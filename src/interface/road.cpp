#include "interface/road.h"

#include <filesystem>
#include <vector>

#include "core/boundary.h"
#include "core/context.h"
#include "core/layout.h"
#include "errors/catalogue.h"
#include "messages/identifier.h"
#include "os/attributes.h"
#include "os/files.h"
#include "os/process.h"

namespace velmora::interface {

namespace {

std::string FailureFolder(const std::string& id) {
  return CFileAdmin().GetReceivedPath() + core::layout::FailureFolderName(id);
}

// Quietly, as everything about the hand-over: it is not a message file and has no log lines.
void DropFailureFolder(const std::string& id) {
  std::error_code ignored;
  std::filesystem::remove_all(FailureFolder(id), ignored);
}

// The folder the executor of `id` hands its failure over in, empty, before it starts: one an
// earlier executor of `id` left goes, as a stale answer goes aside. Made now, before the wait
// watches Recibidos, so nothing the executor does in it wakes the wait. A runtime folder without
// Recibidos gets it here too, or its first dispensations would lose their causes; one that
// cannot be made costs only the cause.
void OpenFailureFolder(const std::string& id) {
  DropFailureFolder(id);
  core::Quietly([&] {
    os::MakeDirectory(CFileAdmin().GetReceivedPath(), "CInterface.ExecutorFailure");
    os::MakeDirectory(FailureFolder(id), "CInterface.ExecutorFailure");
  });
}

// Picks and fills the response once the wait is over: the executor's file when it arrived, else
// the default file when `defaultExists`, else the internal response of the ini; audits the
// choice, loads the file, records the kind and the executor's failure on the response, cleans
// up the message files and returns the kind given.
template <class Response>
ResponseTypeEnum ChooseResponse(const std::string& id, bool arrived, bool defaultExists,
                                const std::string& responseFile, const ExecutorFailure& failure, Response& response) {
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
  if (!arrived) response.FalloEjecutor = failure.Cause();
  CleanUpMessageFiles(id, type);
  return type;
}

}  // namespace

template <class Response>
std::unique_ptr<Response> Dispense(const Till& till, MessageKind& message) {
  const char* const method = message.method;
  CInterface& host = till.host;
  auto response = std::make_unique<Response>();
  if (!till.onOwnThread(method)) {
    response->DatosValidos = false;
    return response;
  }
  bool failed = false;
  core::TraceScope trace(method, message.Open());
  try {
    auto& auditor = core::ThreadContext().Auditor();
    const std::string announced = message.Announce();
    core::LogLine(std::string(method) + ":" + errors::Text("log.dispensation_started", {announced}));
    message.Print();
    if (!host.Enabled()) Raise(errnum::kInterfaceNotActive, method);
    const std::string id = message.Identify();
    CFileAdmin files;
    const std::string requestFile = files.GetSendedPath() + core::layout::MessageFileName(id);
    const std::string responseFile = files.GetReceivedPath() + core::layout::MessageFileName(id);

    files.MakeAuditor();
    auditor.Save(id, audHeader, rcvNone, {});
    files.MakeSended();
    // The batch names the audit folder in the log and makes it again: its installations' logs
    // and traces have the line and the second call, the single's never had them.
    if (message.batch) {
      core::LogLine(std::string(method) + ":" + errors::Text("log.audit_folder", {files.GetAuditorPath()}));
      files.MakeAuditor();
    }
    if (!message.WriteRequest(requestFile)) Raise(errnum::kRequestNotExported, method);
    auditor.Save(id, audMarkPetitionDone, rcvNone, {});
    // `id` is a copy: a handler that rewrites the request must not pull its own argument from
    // under it.
    if (host.AlIniciarSolicitudDispensacion) host.AlIniciarSolicitudDispensacion(id);

    MoveStaleResponseAside(id);
    const ExecutorFailure failure(id);  // before the start: its folder goes whatever happens next
    till.executorEnded = StartExecutor(id, message.batch, method);
    const bool arrived = till.waitResponse(id);
    till.executorEnded = nullptr;

    // The batch takes the hidden completion mark off before the file is read, so an answer kept
    // (EliminarXMLRespuesta=0) is left unmarked; a single's answer keeps its mark.
    if (message.batch && arrived && os::PathExists(responseFile))
      os::SetAttributes(responseFile, os::kAttrArchive, method);
    // The batch tests one default file and reads the other (ChooseResponse): the pairing is
    // kept as installations have it.
    const bool defaultExists = message.batch ? files.ExistDefaultResponseArchive() : files.ExistDefaultResponseFile();
    const ResponseTypeEnum type = ChooseResponse(id, arrived, defaultExists, responseFile, failure, *response);
    if (host.AlTerminarSolicitudDispensacion) host.AlTerminarSolicitudDispensacion(arrived, type);
  } catch (const std::exception& e) {
    till.executorEnded = nullptr;
    core::HandleError(method, e);
    failed = true;
    response->SetInternalResponse(false);
    response->TipoRespuesta = rspInternal;
  }
  core::CopySharedErrors(host.Errores());
  response->DatosValidos = !failed;
  trace.Result(response->DatosValidos);
  return response;
}

template std::unique_ptr<CRespuestaPeticion> Dispense(const Till&, MessageKind&);
template std::unique_ptr<CRespDispensaciones> Dispense(const Till&, MessageKind&);

void RefuseUnusableIdentifier(const std::string& id, const char* method) {
  if (!messages::IsUsableIdentifier(id)) Raise(errnum::kRequestNotExported, method);
}

void MoveStaleResponseAside(const std::string& id) {
  CFileAdmin files;
  if (!os::PathExists(files.GetReceivedPath() + core::layout::MessageFileName(id))) return;
  files.MakeDelayed();
  files.MoveToDelayed(files.GetReceivedPath(), core::layout::MessageFileName(id));
}

std::function<bool()> StartExecutor(const std::string& id, bool batch, const char* method) {
  CFileAdmin files;
  if (!files.ExistExecutorFile()) Raise(errnum::kExecutorNotFound, method);
  std::vector<std::string> argv = {files.GetDllPath() + core::layout::kExecutorProgram, "IDPres=" + id};
  if (batch) argv.emplace_back("MD");
  OpenFailureFolder(id);
  // The executor starts in the runtime folder: a relative VELMORA_HOME would lead it elsewhere.
  os::ChildEnded ended =
      os::SpawnDetached(argv, files.GetDllPath(), method, {"VELMORA_HOME=" + files.GetDllPath()});
  return [ended] { return ended->load(); };
}

void CleanUpMessageFiles(const std::string& id, ResponseTypeEnum type) {
  const auto& config = core::ThreadContext().Config;
  CFileAdmin files;
  if (config.EliminarXMLPeticion != 0) files.DeleteFromSended(id);
  if (type == rspReceived && config.EliminarXMLRespuesta != 0) files.DeleteFromReceived(id);
}

ExecutorFailure::~ExecutorFailure() { DropFailureFolder(id_); }

std::string ExecutorFailure::Cause() const {
  // Missing, or anything but a regular file in its place: no hand-over.
  return os::ReadWholeFile(CFileAdmin().GetReceivedPath() + core::layout::FailureFileName(id_)).value_or(std::string());
}

}  // namespace velmora::interface
