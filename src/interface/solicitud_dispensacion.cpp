#include "velmora/interface.h"

#include "core/context.h"
#include "interface/road.h"
#include "messages/identifier.h"
#include "vbcompat/text.h"

namespace velmora {

std::unique_ptr<CRespuestaPeticion> CInterface::SolicitudDispensacion(CPeticionDispensacion& objPeticionDispensacion) {
  constexpr const char* kMethod = "CInterface.SolicitudDispensacion";
  auto response = std::make_unique<CRespuestaPeticion>();
  if (!OnOwnThread(kMethod)) {
    response->DatosValidos = false;
    return response;
  }
  bool failed = false;
  auto& request = objPeticionDispensacion;
  if (vb::Trim(request.IDPrescripcion).empty())
    request.IDPrescripcion = messages::ReserveGeneratedIdentifier(request);
  const std::string id = request.IDPrescripcion;
  const bool blank = vb::Trim(id).empty();
  core::TraceScope trace(kMethod, blank || messages::IsUsableIdentifier(id) ? id : std::string());
  try {
    auto& auditor = core::ThreadContext().Auditor();
    if (!blank) interface::RefuseUnusableIdentifier(id, kMethod);
    core::LogLine("CInterface.SolicitudDispensacion:Iniciando una solicitud de dispensación " + id);
    if (!enabled_) Raise(errnum::kInterfaceNotActive, kMethod);
    if (!request.IObject_RequiredFields()) Raise(errnum::kRequiredFields, kMethod);
    if (blank) Raise(errnum::kNoPrescriptionId, kMethod);
    CFileAdmin files;
    const std::string requestFile = files.GetSendedPath() + id + ".xml";
    const std::string responseFile = files.GetReceivedPath() + id + ".xml";

    files.MakeAuditor();
    auditor.Save(id, audHeader, rcvNone, {});
    files.MakeSended();
    if (!request.ToXMLFile(requestFile)) Raise(errnum::kRequestNotExported, kMethod);
    auditor.Save(id, audMarkPetitionDone, rcvNone, {});
    // A copy: a handler that rewrites the request must not pull its own argument from under it.
    if (AlIniciarSolicitudDispensacion) AlIniciarSolicitudDispensacion(std::string(request.IDPrescripcion));

    interface::MoveStaleResponseAside(id);
    const std::uintmax_t logMark = interface::LogMark();
    executorEnded_ = interface::StartExecutor(id, false, kMethod);
    const bool arrived = WaitResponse(id);
    executorEnded_ = nullptr;

    const ResponseTypeEnum type =
        interface::ChooseResponse(id, arrived, files.ExistDefaultResponseFile(), responseFile, logMark, *response);
    if (AlTerminarSolicitudDispensacion) AlTerminarSolicitudDispensacion(arrived, type);
  } catch (const std::exception& e) {
    executorEnded_ = nullptr;
    core::HandleError(kMethod, e);
    failed = true;
    response->SetInternalResponse(false);
    response->TipoRespuesta = rspInternal;
  }
  core::CopySharedErrors(errores_);
  response->DatosValidos = !failed;
  trace.Result(response->DatosValidos);
  return response;
}

}  // namespace velmora
