#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "velmora/collection.h"
#include "velmora/export.h"

namespace velmora {

// A list of XML nodes (the child elements of a message's document element). Opaque to hosts;
// the library builds and reads it.
class XmlNodeList;

// The contract every message shares. The base operations do nothing.
class VELMORA_API IObject {
 public:
  virtual ~IObject() = default;
  // The node list of the message's XML form, or nullptr.
  virtual std::shared_ptr<XmlNodeList> ToXML() { return nullptr; }
  // True when the message's properties were loaded from `nodes`.
  virtual bool FromXML(const XmlNodeList& nodes) {
    (void)nodes;
    return false;
  }
  // True when every field the message needs is set.
  virtual bool RequiredFields() { return false; }
};

enum RegimenRecetaEnum : int32_t {
  RegimenVacio = -1,
  Trabajador = 0,
  Pensionista = 1,
};

enum TipoPrescripcionEnum : int32_t {
  PrescripcionVacio = -1,
  Especialidad_Farmaceutica = 1,
  Principio_Activo = 2,
  Formula_Magistral = 3,
  Efectos_Y_Accesorios = 5,
};

// One dispensation of one electronic prescription. A plain value holder: nothing is checked on
// assignment and nothing changes by serialising it.
class VELMORA_API CPeticionDispensacion : public IObject {
 public:
  CPeticionDispensacion();
  CPeticionDispensacion(const CPeticionDispensacion& other);
  CPeticionDispensacion& operator=(const CPeticionDispensacion& other) = default;
  ~CPeticionDispensacion() override;

  std::string Importe;
  std::string ImporteAportacion;
  std::string IdFarmacia;
  std::string FechaDispensacion;
  std::string IDPrescripcion;
  std::string Idioma;
  std::string IdUsuario;
  std::string IdFarmaceutico;
  std::string ClaveUsuario;
  std::string EnvasesDispensados;
  std::string NumeroReceta;
  std::string IdProvincia;
  std::string CodigoDispensado;
  std::string CodigoColegiadoPrescriptor;
  std::string FechaPrescripcion;
  std::string Tis;
  RegimenRecetaEnum RegimenReceta = RegimenVacio;
  std::string FormulaMagistral;
  TipoPrescripcionEnum TipoPrescripcion = PrescripcionVacio;
  std::string Lector;
  std::string NombreMedicamento;
  std::string NombrePaciente;
  std::string NecesitaVisado;
  bool SaveSOAPMsgToFile = false;

  std::function<void()> onEndTransformToXML;
  std::function<void()> onBeforeTransformToXML;
  std::function<void()> onEndTransformFromXML;
  std::function<void()> onBeforeTransformFromXML;

  // The request body; with `withEnvelope`, the SOAP header + body + the one-line footer.
  std::string ToString(bool withEnvelope = false);
  // The batch item form ("P70ItemPeticionDispensacion").
  std::string ToStringNew();
  bool ToXMLFile(const std::string& path);
  // Loads and discards the file: a request is never rebuilt from XML. Always false.
  bool FromXMLFile(const std::string& path);
  // "yyyymmdd" of a date text; empty for an empty text, or after error 32004.
  std::string ParseDate(const std::string& text);

  std::shared_ptr<XmlNodeList> IObject_ToXML();
  bool IObject_FromXML(const XmlNodeList& nodes);
  bool IObject_RequiredFields();
  // The fields that keep IObject_RequiredFields false, by name ("Importe", "Tis", ...): empty,
  // or a date that does not read as one. Empty when the request can be sent. Logs nothing.
  std::vector<std::string> MissingFields() const;

  std::shared_ptr<XmlNodeList> ToXML() override { return IObject_ToXML(); }
  bool FromXML(const XmlNodeList& nodes) override { return IObject_FromXML(nodes); }
  bool RequiredFields() override { return IObject_RequiredFields(); }

 private:
  // ParseDate without its handler: throws 32004.
  std::string ParseDateOrRaise(const std::string& text);
  std::string PrescriberElements();
};

// The answer to one request.
class VELMORA_API CRespuestaPeticion : public IObject {
 public:
  int16_t m_intNMotivosRechazo = 0;
  int16_t m_intNAvisos = 0;
  Collection<std::string> m_colTextoAviso;
  Collection<std::string> m_colTextoMotivosRechazo;
  Collection<std::string> m_colCodigoMotivosRechazo;
  Collection<std::string> m_colCodigoAviso;
  bool DatosValidos = false;
  bool DispensacionRealizada() const { return dispensacionRealizada_; }
  // Where the answer came from, a ResponseTypeEnum value: 1 the service, 2 the default
  // response file, 3 the internal response (also when the call failed on its way).
  int32_t TipoRespuesta = 3;
  // When the service did not answer and the executor logged why: "(<number>) <text>" of its
  // first error. Empty otherwise.
  std::string FalloEjecutor;

  std::function<void()> onEndTransformToXML;
  std::function<void()> onBeforeTransformToXML;
  std::function<void()> onEndTransformFromXML;
  std::function<void()> onBeforeTransformFromXML;

  bool FromXMLFile(const std::string& path);
  // Fills the response from the ini's default-response section. `obtained` false means the
  // internal response is being forced (error 32013 is recorded).
  void SetInternalResponse(bool obtained);
  std::string ToString(bool withEnvelope = false);
  bool ToXMLFile(const std::string& path);

  std::shared_ptr<XmlNodeList> IObject_ToXML();
  bool IObject_FromXML(const XmlNodeList& nodes);
  bool IObject_RequiredFields();

  std::shared_ptr<XmlNodeList> ToXML() override { return IObject_ToXML(); }
  bool FromXML(const XmlNodeList& nodes) override { return IObject_FromXML(nodes); }
  bool RequiredFields() override { return IObject_RequiredFields(); }

 private:
  void AddErrorInterfaceEntry(int32_t number, const std::string& description);
  bool dispensacionRealizada_ = false;
};

// A batch of requests of one pharmacy and one user.
class VELMORA_API CListadoDispensaciones {
 public:
  const Collection<CPeticionDispensacion>& Dispensaciones() const { return dispensaciones_; }
  // Adds a copy of the request (giving the caller's object an identifier when it has none).
  // True when added.
  bool aniadirDispensacion(CPeticionDispensacion& objPeticionDispensacion);
  void ResetDispensacionesCol();

  std::string ToString(bool withEnvelope = false);
  bool ToXMLFile(const std::string& path);
  // Loads and discards the file: a batch is never read back. Always false.
  bool FromXMLFile(const std::string& path);

 private:
  Collection<CPeticionDispensacion> dispensaciones_;
};

// One row of a batch response.
class VELMORA_API CRespError {
 public:
  std::string Codigo;
  std::string Description;
  std::string CodigoDispensado;
  std::string TipoRespuesta;

  // Fills this row from the child nodes of one response item; returns this same object.
  CRespError& createResp(const XmlNodeList& objNode);
  std::string ToString() const;
};

// The answer to a batch.
class VELMORA_API CRespDispensaciones : public IObject {
 public:
  bool blnCodigoErrorDisp = false;
  bool DatosValidos = false;
  bool DispensacionRealizada() const { return dispensacionRealizada_; }
  // Where the answer came from and why the executor failed, as in CRespuestaPeticion (this
  // TipoRespuesta is the whole answer's, not a row's).
  int32_t TipoRespuesta = 3;
  std::string FalloEjecutor;
  const Collection<CRespError>& ResultadoDispensacion() const { return resultado_; }
  // Appends a copy of the row. Always true.
  bool addDispensationResult(const CRespError& objRespError);

  std::function<void()> onEndTransformToXML;
  std::function<void()> onBeforeTransformToXML;
  std::function<void()> onEndTransformFromXML;
  std::function<void()> onBeforeTransformFromXML;

  bool FromXMLFile(const std::string& path);
  void SetInternalResponse(bool obtained);
  std::string ToString(bool withEnvelope = false);
  bool ToXMLFile(const std::string& path);

  std::shared_ptr<XmlNodeList> IObject_ToXML();
  bool IObject_FromXML(const XmlNodeList& nodes);
  bool IObject_RequiredFields();

  std::shared_ptr<XmlNodeList> ToXML() override { return IObject_ToXML(); }
  bool FromXML(const XmlNodeList& nodes) override { return IObject_FromXML(nodes); }
  bool RequiredFields() override { return IObject_RequiredFields(); }

 private:
  void AddFailureRow();
  bool dispensacionRealizada_ = false;
  Collection<CRespError> resultado_;
  CRespError working_;
};

}  // namespace velmora
