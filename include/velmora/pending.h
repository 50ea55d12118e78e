#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmora/core.h"
#include "velmora/export.h"

namespace velmora {

class CInterface;

// Where a dispensation answered by a fallback stands with the service.
enum EstadoPendienteEnum : int32_t {
  pndSinConfirmar = 1,     // the service never answered: it may not have the dispensation at all
  pndVeredictoTardio = 2,  // the service answered after the till was answered: read its verdict
  pndConfirmada = 3,       // a re-send got the service's answer, or the late verdict was acknowledged
};

// What a re-send did with one dispensation.
enum ResultadoReenvioEnum : int32_t {
  rnvNinguno = 0,          // nothing tried (a listing)
  rnvConfirmada = 1,       // sent, and the service answered: confirmed
  rnvSinRespuesta = 2,     // sent, no answer within PeticionTimeOut: still unconfirmed
  rnvVeredictoTardio = 3,  // not sent: its late answer is there, acknowledge it instead
  rnvEnCurso = 4,          // not sent: its executor still runs, or another process is re-sending it
  rnvNoPendiente = 5,      // not sent: nothing pending under that identifier
};

// One dispensation (or batch) that a fallback answered, as the working folders and the audit
// trail show it.
class VELMORA_API CDispensacionPendiente {
 public:
  std::string IDPrescripcion;  // a batch's is "MD__" + its first item's
  bool Lote = false;
  std::string Fecha;           // when the fallback answered the till: "dd/mm/yyyy hh:mm:ss"
  int32_t TipoRespuesta = 0;   // rspDefault or rspInternal, from the audit trail; 0 with the trail off
  EstadoPendienteEnum Estado = pndSinConfirmar;
  bool EjecutorActivo = false;  // its executor.exe still runs: it cannot be re-sent yet
  ResultadoReenvioEnum Resultado = rnvNinguno;

  // The service's verdict, when one arrived (late, or in answer to a re-send).
  bool Veredicto = false;
  bool DispensacionRealizada = false;
  // A single dispensation: its rejection codes and texts. A batch: each row's Codigo and
  // Description.
  std::vector<std::string> Codigos;
  std::vector<std::string> Textos;
};

// Dispensations left without the service's word. Every fallback answer keeps a private copy
// of its request in the runtime folder's "Pendientes" folder until the service's verdict is
// known: this class lists them, sends them again through executor.exe (same identifier, same
// request bytes, the same audit record) and takes the acknowledgement of a late verdict. Safe
// against other processes doing the same at the same time: each dispensation is sent once.
// Nothing is thrown: failures show as results and in the owner's Errores().
class VELMORA_API CPendientes {
 public:
  // Uses the configuration `owner` loaded; `owner` must outlive this object.
  explicit CPendientes(CInterface& owner) : owner_(owner) {}

  // Unconfirmed and late-verdict dispensations, ordered by identifier.
  std::vector<CDispensacionPendiente> Listar();
  // Sends one unconfirmed dispensation again and waits up to PeticionTimeOut for the answer.
  CDispensacionPendiente Reenviar(const std::string& strIdPrescripcion);
  // Reenviar for every pending one; late verdicts are reported, never sent.
  std::vector<CDispensacionPendiente> ReenviarTodas();
  // The host has read the late verdict of `strIdPrescripcion`: it becomes confirmed. False when
  // that dispensation has no late verdict (or another process holds it).
  bool ConfirmarVeredicto(const std::string& strIdPrescripcion);

  // The owner's Errores(): every error recorded since it was created, this object's included.
  CError& Errores();

 private:
  CInterface& owner_;
};

}  // namespace velmora
