#include "capi/request_fields.h"

#include "velmora/velmora.h"

namespace velmora::capi {

std::string* TextField(CPeticionDispensacion& r, int property) {
  switch (property) {
    case VELMORA_Importe: return &r.Importe;
    case VELMORA_ImporteAportacion: return &r.ImporteAportacion;
    case VELMORA_IdFarmacia: return &r.IdFarmacia;
    case VELMORA_FechaDispensacion: return &r.FechaDispensacion;
    case VELMORA_IDPrescripcion: return &r.IDPrescripcion;
    case VELMORA_Idioma: return &r.Idioma;
    case VELMORA_IdUsuario: return &r.IdUsuario;
    case VELMORA_IdFarmaceutico: return &r.IdFarmaceutico;
    case VELMORA_ClaveUsuario: return &r.ClaveUsuario;
    case VELMORA_EnvasesDispensados: return &r.EnvasesDispensados;
    case VELMORA_NumeroReceta: return &r.NumeroReceta;
    case VELMORA_IdProvincia: return &r.IdProvincia;
    case VELMORA_CodigoDispensado: return &r.CodigoDispensado;
    case VELMORA_CodigoColegiadoPrescriptor: return &r.CodigoColegiadoPrescriptor;
    case VELMORA_FechaPrescripcion: return &r.FechaPrescripcion;
    case VELMORA_Tis: return &r.Tis;
    case VELMORA_FormulaMagistral: return &r.FormulaMagistral;
    case VELMORA_Lector: return &r.Lector;
    case VELMORA_NombreMedicamento: return &r.NombreMedicamento;
    case VELMORA_NombrePaciente: return &r.NombrePaciente;
    case VELMORA_NecesitaVisado: return &r.NecesitaVisado;
    default: return nullptr;
  }
}

const std::string* TextField(const CPeticionDispensacion& request, int property) {
  return TextField(const_cast<CPeticionDispensacion&>(request), property);
}

}  // namespace velmora::capi
