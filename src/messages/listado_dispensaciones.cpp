#include "velmora/messages.h"

#include "core/boundary.h"
#include "core/context.h"
#include "errors/catalogue.h"
#include "messages/body.h"
#include "messages/identifier.h"
#include "vbcompat/text.h"
#include "xml/xml.h"
#include "velmora/error.h"

namespace velmora {

using messages::Element;
using vb::Trim;

bool CListadoDispensaciones::aniadirDispensacion(CPeticionDispensacion& objPeticionDispensacion) {
  static constexpr const char* kMethod = "CListadoDispensaciones.aniadirDispensacion";
  return core::Method<bool>({.trace = kMethod}, [&] {
    CPeticionDispensacion& given = objPeticionDispensacion;
    const size_t number = dispensaciones_.Count() + 1;
    core::LogLine("CListadoDispensaciones.aniadirDispensacion:" +
                  errors::Text("log.batch.adding",
                               {messages::Decimal(static_cast<long long>(number)), given.IDPrescripcion}));

    // The caller's object receives the identifier: the interface audits the batch under it.
    if (Trim(given.IDPrescripcion).empty()) given.IDPrescripcion = messages::ReserveGeneratedIdentifier(given);
    const std::string id = given.IDPrescripcion;

    if (!given.IObject_RequiredFields()) Raise(errnum::kRequiredFields, "CListadoDispensaciones.añadirDispensacion");

    // The copy carries the reader's value as its prescription number, and neither the reader
    // nor the endorsement flag: the batch item sends what the reader read, and the receipt
    // depends on exactly these fields.
    CPeticionDispensacion copy;
    copy.IDPrescripcion = id;
    copy.ClaveUsuario = given.ClaveUsuario;
    copy.CodigoColegiadoPrescriptor = given.CodigoColegiadoPrescriptor;
    copy.CodigoDispensado = given.CodigoDispensado;
    copy.EnvasesDispensados = given.EnvasesDispensados;
    copy.FechaDispensacion = given.FechaDispensacion;
    copy.FechaPrescripcion = given.FechaPrescripcion;
    copy.FormulaMagistral = given.FormulaMagistral;
    copy.IdFarmaceutico = given.IdFarmaceutico;
    copy.IdFarmacia = given.IdFarmacia;
    copy.Idioma = given.Idioma;
    copy.IdProvincia = given.IdProvincia;
    copy.IdUsuario = given.IdUsuario;
    copy.Importe = given.Importe;
    copy.ImporteAportacion = given.ImporteAportacion;
    copy.NumeroReceta = given.Lector;
    copy.RegimenReceta = given.RegimenReceta;
    copy.TipoPrescripcion = given.TipoPrescripcion;
    copy.Tis = given.Tis;
    copy.NombrePaciente = given.NombrePaciente;
    copy.NombreMedicamento = given.NombreMedicamento;
    // No key: the same request may be added twice, and nothing looks items up by key.
    dispensaciones_.Add(std::move(copy));

    core::LogLine("CListadoDispensaciones.aniadirDispensacion:" + errors::Text("log.batch.added", {id}));
    return true;
  });
}

void CListadoDispensaciones::ResetDispensacionesCol() {
  core::TraceScope trace("CListadoDispensaciones.ResetDispensacionesCol");
  dispensaciones_.Clear();
}

std::string CListadoDispensaciones::ToString(bool withEnvelope) {
  static constexpr const char* kMethod = "CListadoDispensaciones.ToString";
  return core::Method<std::string>(
      {.trace = kMethod, .argument = vb::BoolText(withEnvelope), .shown = messages::ShownWithoutPassword}, [&] {
    // Reported under the interface's batch call, the one place an empty batch comes from.
    if (dispensaciones_.Count() == 0) Raise(errnum::kNoDispensations, "CInterface.SolicitudDispensaciones");
    // Pharmacy and user travel once, from the first item; the others are not compared.
    CPeticionDispensacion& first = *dispensaciones_.Item(1);
    std::string body = "<PeticionDispensacion " + messages::Esquema() + "> ";
    body += Element("codFarmacia", first.IdFarmacia);
    body += Element("idioma", first.Idioma);
    body += Element("idUsuario", first.IdUsuario);
    body += Element("idFarmaceutico", first.IdFarmaceutico);
    body += Element("claveUsuario", first.ClaveUsuario);
    body += Element("codProvincia", first.IdProvincia);
    body += "<dispensaciones >\r\n";
    for (CPeticionDispensacion& item : dispensaciones_) {
      body += item.ToStringNew();
      body += messages::kCrLf;
    }
    body += "</dispensaciones>\r\n";
    body += "</PeticionDispensacion>\r\n";
    return messages::Enveloped(withEnvelope, messages::RequestEnvelopeHeader(), std::move(body));
  });
}

bool CListadoDispensaciones::ToXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CListadoDispensaciones.ToXML";
  return core::Method<bool>({.trace = "CListadoDispensaciones.ToXMLFile", .argument = path, .source = kMethod}, [&] {
    messages::SaveBody(ToString(false), path, kMethod);
    core::LogLine("CListadoDispensaciones.ToXML:" + errors::Text("log.writing_request", {path}));
    return true;
  });
}

// Traced under the request's name, as it has always been: the batch shares the request's reader.
bool CListadoDispensaciones::FromXMLFile(const std::string& path) {
  static constexpr const char* kMethod = "CPeticionDispensacion.FromXMLFile";
  return core::Method<bool>({.trace = kMethod, .argument = path}, [&] {
    xml::Document doc;
    doc.Load(path);
    return false;
  });
}

}  // namespace velmora
