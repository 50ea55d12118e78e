#include "velmora/core.h"

#include "core/context.h"
#include "platform/clock.h"
#include "platform/profile.h"

namespace velmora {

namespace {

std::string YesNo(int32_t value) {
  if (value == 1) return "Si";
  if (value == 0) return "No";
  return "";
}

std::string ReceivedText(int32_t value) {
  switch (value) {
    case rcvService: return "srv";
    case rcvXML: return "xml";
    case rcvIni: return "ini";
    case rcvInternal: return "int";
    default: return "";
  }
}

}  // namespace

CAuditor::CAuditor() {
  const std::string folder = CFileAdmin().GetAuditorPath();
  // The day is fixed when the object is made: a session that runs past midnight keeps its file.
  dailyPath_ = folder + platform::FormatDate(platform::Now(), "yymmdd") + ".log";
  singlePath_ = folder + "audit.log";
}

bool CAuditor::Save(const std::string& strIdPrescripcion, int32_t intAction, int32_t intResponse,
                    const std::string& strTextResponse) {
  constexpr const char* kMethod = "CAuditor.Save";
  core::TraceScope trace(kMethod, strIdPrescripcion);
  bool result = false;
  try {
    if (!enable_) {
      result = true;
    } else {
      if (strIdPrescripcion.empty()) Raise(32006, kMethod);
      const std::string file = OutputFileName();
      // A failed write is silent, as the profile writer's was: the trail must never stop a
      // dispensation.
      switch (intAction) {
        case audHeader:
          platform::WriteProfileStrings(
              file, strIdPrescripcion,
              {{"FECHA_ENVIO", platform::FormatDate(platform::Now(), diaryStore_ ? "hh:mm:ss" : "yy/mm/dd hh:mm:ss")},
               {"PETICION_GENERADA", "No"},
               {"MENSAJE_ENVIADO", "No"},
               {"MENSAJE_RECIBIDO", "No"},
               {"RESPUESTA_GENERADA", ""},
               {"TEXTO_RESPUESTA", ""}});
          break;
        case audMarkPetitionDone:
          platform::WriteProfileString(file, strIdPrescripcion, "PETICION_GENERADA", YesNo(1));
          break;
        case audMarkMsgSended:
          platform::WriteProfileString(file, strIdPrescripcion, "MENSAJE_ENVIADO", YesNo(1));
          break;
        case audMarkMsgReceived:
          platform::WriteProfileString(file, strIdPrescripcion, "MENSAJE_RECIBIDO", YesNo(1));
          break;
        case audSetResponse:
          platform::WriteProfileString(file, strIdPrescripcion, "RESPUESTA_GENERADA", ReceivedText(intResponse));
          break;
        case audSetTextResponse:
          platform::WriteProfileString(file, strIdPrescripcion, "TEXTO_RESPUESTA", strTextResponse);
          break;
        default:
          break;
      }
      result = true;
    }
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

bool CAuditor::StoreInDelayed(const std::string& strIdPrescripcion) {
  constexpr const char* kMethod = "CAuditor.StoreInDelayed";
  core::TraceScope trace(kMethod, strIdPrescripcion);
  bool result = false;
  try {
    // The source names Save on purpose: log readers group the trail's errors under it.
    if (strIdPrescripcion.empty()) Raise(32006, "CAuditor.Save");
    // Late means the till was given another answer (a default or internal one). "srv" says the
    // till took this very file: the executor marks the file complete before it asks, and a till
    // quick to see the mark writes "srv" before reading the file, so calling that late would move
    // the answer away under the reader.
    const std::string given = GetPrivateProfileStringEx(OutputFileName(), strIdPrescripcion, "RESPUESTA_GENERADA");
    result = !given.empty() && given != "srv";
  } catch (const std::exception& e) {
    core::HandleError(kMethod, e);
  }
  trace.Result(result);
  return result;
}

}  // namespace velmora
