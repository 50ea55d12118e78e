#include "velmora/interface.h"

#include "core/context.h"
#include "interface/road.h"
#include "os/attributes.h"
#include "os/files.h"
#include "vbcompat/text.h"
#include "velmora/pdf.h"

namespace velmora {

std::unique_ptr<CRespDispensaciones> CInterface::SolicitudDispensaciones(CListadoDispensaciones& objListaDispensaciones,
                                                                         bool Imprimir) {
  constexpr const char* kMethod = "CInterface.SolicitudDispensaciones";
  auto response = std::make_unique<CRespDispensaciones>();
  if (!OnOwnThread(kMethod)) {
    response->DatosValidos = false;
    return response;
  }
  bool failed = false;
  core::TraceScope trace(kMethod);
  try {
    auto& auditor = core::ThreadContext().Auditor();
    core::LogLine("CInterface.SolicitudDispensaciones:Iniciando una solicitud de dispensación ");
    // The receipt comes first, before any check: the counter prints it even for a batch the
    // library then refuses. Paper is not the dispensation: a receipt that cannot be made (no
    // fonts folder, a full disk) is logged and listed in Errores, and the batch still goes.
    if (Imprimir) {
      try {
        cPDF receipt;
        receipt.mostrarPDF(objListaDispensaciones);
      } catch (const std::exception& e) {
        core::HandleError(kMethod, e);
      }
    }
    if (!enabled_) Raise(errnum::kInterfaceNotActive, kMethod);
    const auto& items = objListaDispensaciones.Dispensaciones();
    if (items.Count() == 0) Raise(errnum::kNoDispensations, kMethod);
    const std::string id = "MD__" + items.Item(1)->IDPrescripcion;
    if (vb::Trim(id).empty()) Raise(errnum::kNoPrescriptionId, kMethod);
    interface::RefuseUnusableIdentifier(id, kMethod);
    CFileAdmin files;
    const std::string requestFile = files.GetSendedPath() + id + ".xml";
    const std::string responseFile = files.GetReceivedPath() + id + ".xml";

    files.MakeAuditor();
    auditor.Save(id, audHeader, rcvNone, {});
    files.MakeSended();
    core::LogLine("CInterface.SolicitudDispensaciones:MakeAuditor " + files.GetAuditorPath());
    files.MakeAuditor();
    if (!objListaDispensaciones.ToXMLFile(requestFile)) Raise(errnum::kRequestNotExported, kMethod);
    auditor.Save(id, audMarkPetitionDone, rcvNone, {});
    if (AlIniciarSolicitudDispensacion) AlIniciarSolicitudDispensacion(id);

    interface::MoveStaleResponseAside(id);
    const std::uintmax_t logMark = interface::LogMark();
    executorEnded_ = interface::StartExecutor(id, true, kMethod);
    const bool arrived = WaitResponse(id);
    executorEnded_ = nullptr;

    // The hidden completion mark comes off before the file is read.
    if (arrived && os::PathExists(responseFile))
      os::SetAttributes(responseFile, os::kAttrArchive, kMethod);
    // Tested by one member, named by another: the pairing is kept as installations have it.
    const ResponseTypeEnum type =
        interface::ChooseResponse(id, arrived, files.ExistDefaultResponseArchive(), responseFile, logMark, *response);
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
