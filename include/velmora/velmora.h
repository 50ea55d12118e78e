#ifndef VELMORA_VELMORA_H
#define VELMORA_VELMORA_H

/*
 * velmora C interface: the dispensing interface of libvelmora.so for hosts that are not written
 * in C++ (C, Python through ctypes, anything that can call C).
 *
 * Conventions that hold for every function below:
 *
 *  - Every function returns a velmora_status. VELMORA_OK means the call itself worked; whether a
 *    dispensation was accepted is read from the response (DatosValidos, DispensacionRealizada)
 *    and from Errores, exactly as a C++ host reads it.
 *  - A null handle, a null string or a null output pointer is answered with
 *    VELMORA_ERR_NULL_ARGUMENT and nothing else happens. No C++ exception ever leaves this
 *    interface.
 *  - Every string in and out is UTF-8 and ends in a NUL. A string that is not valid UTF-8 is
 *    refused with VELMORA_ERR_INVALID_UTF8.
 *  - Output values are written only when the call returns VELMORA_OK.
 *  - Handles come from a _create function or from a call that says "new handle"; each is given
 *    back with its own _release function, once. Releasing NULL does nothing and answers
 *    VELMORA_OK, like free(NULL). Handles are independent: releasing a request
 *    does not touch a batch it was added to, and a response outlives the interface that made it.
 *  - Returned "const char *" strings are borrowed: the library owns them, the host never frees
 *    them, and each function says how long its string stays valid. Copy what you keep.
 *  - A handle belongs to the thread that created it. The library keeps its logs, configuration
 *    and error list per thread; use every handle of one dispensation on one thread. A
 *    dispensation call on an interface from another thread does nothing and answers
 *    VELMORA_ERR_WRONG_THREAD; the interface's Errores then holds error 32005 saying so.
 *  - Callbacks run on the calling thread, inside the dispensation call. They may call back into
 *    the library (read properties, read Errores, even make another dispensation), but they may
 *    not release a handle that the running call is using: that release answers VELMORA_ERR_BUSY.
 *    A callback must not unwind through the library (no longjmp out of it).
 *
 * The runtime folder (velmora.ini, executor.exe, the logs and the working folders) is
 * $VELMORA_HOME when set, else the folder that holds libvelmora.so.
 */

#include <stddef.h>
#include <stdint.h>

/* The numbers an Errores entry carries (velmora_CErrorItem.Number), named. */
#include "velmora/error_codes.h"
#include "velmora/export.h"
#include "velmora/version.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum velmora_status {
  VELMORA_OK = 0,
  VELMORA_ERR_NULL_ARGUMENT = 1, /* a handle, string or output pointer was NULL */
  VELMORA_ERR_INDEX = 2,         /* a 1-based index outside 1..count */
  VELMORA_ERR_INVALID_VALUE = 3, /* an unknown property or collection selector */
  VELMORA_ERR_INVALID_UTF8 = 4,  /* a string argument is not valid UTF-8 */
  VELMORA_ERR_BUSY = 5,          /* release of a handle that a running call is using */
  VELMORA_ERR_NO_MEMORY = 6,
  VELMORA_ERR_INTERNAL = 7,      /* an unexpected failure inside the library; see velmora.log */
  VELMORA_ERR_WRONG_THREAD = 8   /* a dispensation call on an interface made by another thread */
} velmora_status;

/* A short English text for a status; static storage, never freed. Unknown values give
 * "unknown status". */
VELMORA_API const char *velmora_status_text(int status);

/* The library's version, "major.minor.patch"; static storage. Compare with
 * VELMORA_VERSION_STRING to tell the library loaded at run time from the headers built against. */
VELMORA_API const char *velmora_version(void);

/* Enumerations, with the values of the C++ interface. */
enum { VELMORA_ifgSaveXMLSendedToFile = 1 };                     /* InterfaceFlagsEnum */
enum { VELMORA_lfgToFile = 1, VELMORA_lfgToDebug = 2 };          /* LogFlagsEnum */
enum { VELMORA_rspReceived = 1, VELMORA_rspDefault = 2, VELMORA_rspInternal = 3 }; /* ResponseTypeEnum */
enum { VELMORA_RegimenVacio = -1, VELMORA_Trabajador = 0, VELMORA_Pensionista = 1 }; /* RegimenRecetaEnum */
enum {                                                           /* TipoPrescripcionEnum */
  VELMORA_PrescripcionVacio = -1,
  VELMORA_Especialidad_Farmaceutica = 1,
  VELMORA_Principio_Activo = 2,
  VELMORA_Formula_Magistral = 3,
  VELMORA_Efectos_Y_Accesorios = 5
};

typedef struct velmora_CInterface velmora_CInterface;
typedef struct velmora_CPeticionDispensacion velmora_CPeticionDispensacion;
typedef struct velmora_CListadoDispensaciones velmora_CListadoDispensaciones;
typedef struct velmora_CRespuestaPeticion velmora_CRespuestaPeticion;
typedef struct velmora_CRespDispensaciones velmora_CRespDispensaciones;
typedef struct velmora_CError velmora_CError;

/* ---- CInterface ------------------------------------------------------------------------- */

/* New handle. Creation loads velmora.ini; it never fails for a configuration problem (read
 * Enabled for that), only for NULL out or lack of memory. */
VELMORA_API int velmora_CInterface_create(velmora_CInterface **out);
/* VELMORA_ERR_BUSY while a dispensation call on this handle is running (from a callback). */
VELMORA_API int velmora_CInterface_release(velmora_CInterface *iface);

/* *out = 1 when the configuration loaded and dispensations can be made, else 0. */
VELMORA_API int velmora_CInterface_Enabled(const velmora_CInterface *iface, int *out);
/* The Servicio key of velmora.ini. Each read writes a line to the message log. *out is valid
 * until the next velmora_CInterface_NombreServicio on this handle or its release. */
VELMORA_API int velmora_CInterface_NombreServicio(velmora_CInterface *iface, const char **out);
/* The full path of the message log. Each read writes a line to the message log. *out is valid
 * until the next velmora_CInterface_NombreLog on this handle or its release. */
VELMORA_API int velmora_CInterface_NombreLog(velmora_CInterface *iface, const char **out);
/* InterfaceFlagsEnum flags. */
VELMORA_API int velmora_CInterface_Opciones(const velmora_CInterface *iface, int32_t *out);
VELMORA_API int velmora_CInterface_SetOpciones(velmora_CInterface *iface, int32_t value);
/* LogFlagsEnum flags of the message log (shared by every interface of the thread). */
VELMORA_API int velmora_CInterface_OpcionesLog(const velmora_CInterface *iface, int32_t *out);
VELMORA_API int velmora_CInterface_SetOpcionesLog(velmora_CInterface *iface, int32_t value);

/* One dispensation. The request's IDPrescripcion is filled in when it was blank. *out is a new
 * response handle even when the dispensation failed (DatosValidos then reads 0). */
VELMORA_API int velmora_CInterface_SolicitudDispensacion(velmora_CInterface *iface,
                                                         velmora_CPeticionDispensacion *request,
                                                         velmora_CRespuestaPeticion **out);
/* A batch; Imprimir non-zero writes (and shows) the PDF receipt first. *out is a new handle. */
VELMORA_API int velmora_CInterface_SolicitudDispensaciones(velmora_CInterface *iface,
                                                           velmora_CListadoDispensaciones *list, int Imprimir,
                                                           velmora_CRespDispensaciones **out);

/* The errors recorded since the interface was created, as they stood after its last call.
 * *out is a new handle (a copy: later calls do not change it). */
VELMORA_API int velmora_CInterface_Errores(velmora_CInterface *iface, velmora_CError **out);

/* Events. Registering a NULL callback removes it; registering again replaces it. `user` is
 * handed back untouched. String arguments are valid only during the callback. */
typedef void (*velmora_event_fn)(void *user);
typedef void (*velmora_AlIniciarSolicitudDispensacion_fn)(void *user, const char *strIdPrescripcion);
typedef void (*velmora_AlTerminarSolicitudDispensacion_fn)(void *user, int blnCorrecto, int32_t intTipoRespuesta);

/* Declared for hosts that bind to every event; the library never raises these two. */
VELMORA_API int velmora_CInterface_OnAlConectar(velmora_CInterface *iface, velmora_event_fn fn, void *user);
VELMORA_API int velmora_CInterface_OnAlTerminarLeerIni(velmora_CInterface *iface, velmora_event_fn fn, void *user);
/* After the request file is written, before executor.exe starts. */
VELMORA_API int velmora_CInterface_OnAlIniciarSolicitudDispensacion(velmora_CInterface *iface,
                                                                    velmora_AlIniciarSolicitudDispensacion_fn fn,
                                                                    void *user);
/* After the response is chosen: blnCorrecto 1 when the service's answer arrived in time,
 * intTipoRespuesta a ResponseTypeEnum value. Not raised when the call failed on the way. */
VELMORA_API int velmora_CInterface_OnAlTerminarSolicitudDispensacion(velmora_CInterface *iface,
                                                                     velmora_AlTerminarSolicitudDispensacion_fn fn,
                                                                     void *user);
/* Called on every pass of the wait for the service's answer (many times a second): the place
 * for a GUI host to pump its event loop. Keep it short. */
VELMORA_API int velmora_CInterface_OnIdle(velmora_CInterface *iface, velmora_event_fn fn, void *user);

/* ---- Pending dispensations (CPendientes) ------------------------------------------------ */

/* A dispensation answered by the default file or the internal response stays pending until the
 * service's verdict is known (docs/pending.md). These calls use the interface's configuration;
 * their errors are added to its Errores; from another thread they answer VELMORA_ERR_WRONG_THREAD. */
enum { VELMORA_pndSinConfirmar = 1, VELMORA_pndVeredictoTardio = 2, VELMORA_pndConfirmada = 3 }; /* EstadoPendienteEnum */
enum {                                                                                           /* ResultadoReenvioEnum */
  VELMORA_rnvNinguno = 0,
  VELMORA_rnvConfirmada = 1,
  VELMORA_rnvSinRespuesta = 2,
  VELMORA_rnvVeredictoTardio = 3,
  VELMORA_rnvEnCurso = 4,
  VELMORA_rnvNoPendiente = 5
};

typedef struct velmora_CPendientes velmora_CPendientes; /* a list of pending dispensations */

/* One CDispensacionPendiente. The strings belong to the list handle it was read from and are
 * valid until that handle is released. */
typedef struct velmora_CDispensacionPendiente {
  const char *IDPrescripcion;
  int Lote;
  const char *Fecha;         /* "dd/mm/yyyy hh:mm:ss" */
  int32_t TipoRespuesta;     /* VELMORA_rspDefault, VELMORA_rspInternal, or 0 when not audited */
  int32_t Estado;            /* VELMORA_pnd... */
  int EjecutorActivo;
  int32_t Resultado;         /* VELMORA_rnv... */
  int Veredicto;             /* 1 when the service's verdict is known */
  int DispensacionRealizada;
  size_t NCodigos;           /* pairs read with velmora_CPendientes_Codigo */
} velmora_CDispensacionPendiente;

/* New list handle of the unconfirmed and late-verdict dispensations. */
VELMORA_API int velmora_CInterface_Pendientes(velmora_CInterface *iface, velmora_CPendientes **out);
/* Sends one again and waits for its answer; *out is a new list handle of one item. */
VELMORA_API int velmora_CInterface_Reenviar(velmora_CInterface *iface, const char *strIdPrescripcion,
                                            velmora_CPendientes **out);
/* Sends every unconfirmed one again; *out is a new list handle, one item per pending one. */
VELMORA_API int velmora_CInterface_ReenviarTodas(velmora_CInterface *iface, velmora_CPendientes **out);
/* The host has read the late verdict: *done = 1 when it became confirmed, 0 when it had none. */
VELMORA_API int velmora_CInterface_ConfirmarVeredicto(velmora_CInterface *iface, const char *strIdPrescripcion,
                                                      int *done);
VELMORA_API int velmora_CPendientes_release(velmora_CPendientes *list);
VELMORA_API int velmora_CPendientes_Count(const velmora_CPendientes *list, size_t *out);
/* The 1-based item. */
VELMORA_API int velmora_CPendientes_Item(const velmora_CPendientes *list, size_t index,
                                         velmora_CDispensacionPendiente *out);
/* The 1-based code `n` of item `index` and its text (a rejection reason, or a batch row). */
VELMORA_API int velmora_CPendientes_Codigo(const velmora_CPendientes *list, size_t index, size_t n,
                                           const char **Codigo, const char **Texto);

/* ---- CPeticionDispensacion -------------------------------------------------------------- */

/* The text properties of a request, named as the C++ members. */
typedef enum velmora_PeticionText {
  VELMORA_Importe = 1,
  VELMORA_ImporteAportacion = 2,
  VELMORA_IdFarmacia = 3,
  VELMORA_FechaDispensacion = 4,
  VELMORA_IDPrescripcion = 5,
  VELMORA_Idioma = 6,
  VELMORA_IdUsuario = 7,
  VELMORA_IdFarmaceutico = 8,
  VELMORA_ClaveUsuario = 9,
  VELMORA_EnvasesDispensados = 10,
  VELMORA_NumeroReceta = 11,
  VELMORA_IdProvincia = 12,
  VELMORA_CodigoDispensado = 13,
  VELMORA_CodigoColegiadoPrescriptor = 14,
  VELMORA_FechaPrescripcion = 15,
  VELMORA_Tis = 16,
  VELMORA_FormulaMagistral = 18,
  VELMORA_Lector = 20,
  VELMORA_NombreMedicamento = 21,
  VELMORA_NombrePaciente = 22,
  VELMORA_NecesitaVisado = 23
} velmora_PeticionText;

/* New handle: every text empty, RegimenReceta and TipoPrescripcion -1, SaveSOAPMsgToFile 0. */
VELMORA_API int velmora_CPeticionDispensacion_create(velmora_CPeticionDispensacion **out);
VELMORA_API int velmora_CPeticionDispensacion_release(velmora_CPeticionDispensacion *request);

/* VELMORA_ERR_INVALID_VALUE for a property number not in velmora_PeticionText. */
VELMORA_API int velmora_CPeticionDispensacion_SetText(velmora_CPeticionDispensacion *request, int property,
                                                      const char *value);
/* *out is valid until that property is set again (by the host, or by a dispensation call that
 * fills a blank IDPrescripcion) or the handle is released. */
VELMORA_API int velmora_CPeticionDispensacion_Text(const velmora_CPeticionDispensacion *request, int property,
                                                   const char **out);
/* RegimenRecetaEnum and TipoPrescripcionEnum values; stored as given, like the C++ members. */
VELMORA_API int velmora_CPeticionDispensacion_SetRegimenReceta(velmora_CPeticionDispensacion *request, int32_t value);
VELMORA_API int velmora_CPeticionDispensacion_RegimenReceta(const velmora_CPeticionDispensacion *request,
                                                            int32_t *out);
VELMORA_API int velmora_CPeticionDispensacion_SetTipoPrescripcion(velmora_CPeticionDispensacion *request,
                                                                  int32_t value);
VELMORA_API int velmora_CPeticionDispensacion_TipoPrescripcion(const velmora_CPeticionDispensacion *request,
                                                               int32_t *out);
/* Non-zero makes the request's conversion to its XML node form also save the body as
 * velmora.xml in the runtime folder. The dispensation calls do not use that form (they always
 * write the request file into Enviados/), so through this interface the flag is only carried. */
VELMORA_API int velmora_CPeticionDispensacion_SetSaveSOAPMsgToFile(velmora_CPeticionDispensacion *request,
                                                                   int value);
VELMORA_API int velmora_CPeticionDispensacion_SaveSOAPMsgToFile(const velmora_CPeticionDispensacion *request,
                                                                int *out);

/* The fields that keep the request from being sent (error 32002), by name and separated by
 * ", " ("Importe, Tis"): required and empty, or a date that does not read as one. "" when the
 * request is complete. *out is valid until the next call of this function on the handle or its
 * release. */
VELMORA_API int velmora_CPeticionDispensacion_MissingFields(velmora_CPeticionDispensacion *request,
                                                            const char **out);

/* ---- CListadoDispensaciones ------------------------------------------------------------- */

/* New, empty batch handle. */
VELMORA_API int velmora_CListadoDispensaciones_create(velmora_CListadoDispensaciones **out);
VELMORA_API int velmora_CListadoDispensaciones_release(velmora_CListadoDispensaciones *list);
/* Adds a copy of the request (a blank IDPrescripcion of the request is filled in first).
 * *added = 1 when added, 0 when refused as incomplete (error 32002 in the log). */
VELMORA_API int velmora_CListadoDispensaciones_aniadirDispensacion(velmora_CListadoDispensaciones *list,
                                                                   velmora_CPeticionDispensacion *request,
                                                                   int *added);
VELMORA_API int velmora_CListadoDispensaciones_ResetDispensacionesCol(velmora_CListadoDispensaciones *list);
VELMORA_API int velmora_CListadoDispensaciones_Count(const velmora_CListadoDispensaciones *list, size_t *out);
/* A copy of the 1-based item as a new request handle. */
VELMORA_API int velmora_CListadoDispensaciones_Item(const velmora_CListadoDispensaciones *list, size_t index,
                                                    velmora_CPeticionDispensacion **out);

/* ---- CRespuestaPeticion ----------------------------------------------------------------- */

/* The four collections of a single response. */
typedef enum velmora_RespuestaColeccion {
  VELMORA_m_colTextoAviso = 1,
  VELMORA_m_colTextoMotivosRechazo = 2,
  VELMORA_m_colCodigoMotivosRechazo = 3,
  VELMORA_m_colCodigoAviso = 4
} velmora_RespuestaColeccion;

VELMORA_API int velmora_CRespuestaPeticion_release(velmora_CRespuestaPeticion *response);
VELMORA_API int velmora_CRespuestaPeticion_DatosValidos(const velmora_CRespuestaPeticion *response, int *out);
VELMORA_API int velmora_CRespuestaPeticion_DispensacionRealizada(const velmora_CRespuestaPeticion *response,
                                                                 int *out);
/* The counts as the service (or the internal response) gave them; they need not equal the
 * collections' sizes. */
VELMORA_API int velmora_CRespuestaPeticion_m_intNAvisos(const velmora_CRespuestaPeticion *response, int16_t *out);
VELMORA_API int velmora_CRespuestaPeticion_m_intNMotivosRechazo(const velmora_CRespuestaPeticion *response,
                                                                int16_t *out);
/* Where the answer came from: VELMORA_rspReceived (the service), VELMORA_rspDefault (the default
 * response file) or VELMORA_rspInternal (the internal response, also when the call failed). */
VELMORA_API int velmora_CRespuestaPeticion_TipoRespuesta(const velmora_CRespuestaPeticion *response,
                                                         int32_t *out);
/* When the service did not answer and executor.exe logged why: "(<number>) <text>" of its first
 * error; else "". Valid until the response handle is released. */
VELMORA_API int velmora_CRespuestaPeticion_FalloEjecutor(const velmora_CRespuestaPeticion *response,
                                                         const char **out);
/* Number of items in a collection (velmora_RespuestaColeccion). */
VELMORA_API int velmora_CRespuestaPeticion_Count(const velmora_CRespuestaPeticion *response, int collection,
                                                 size_t *out);
/* The 1-based item; *out is valid until the response handle is released. */
VELMORA_API int velmora_CRespuestaPeticion_Item(const velmora_CRespuestaPeticion *response, int collection,
                                                size_t index, const char **out);

/* ---- CRespDispensaciones ---------------------------------------------------------------- */

VELMORA_API int velmora_CRespDispensaciones_release(velmora_CRespDispensaciones *response);
VELMORA_API int velmora_CRespDispensaciones_DatosValidos(const velmora_CRespDispensaciones *response, int *out);
VELMORA_API int velmora_CRespDispensaciones_DispensacionRealizada(const velmora_CRespDispensaciones *response,
                                                                  int *out);
/* 1 when the service's overall result code was "0" (the whole batch accepted). */
VELMORA_API int velmora_CRespDispensaciones_blnCodigoErrorDisp(const velmora_CRespDispensaciones *response,
                                                               int *out);
/* As velmora_CRespuestaPeticion_TipoRespuesta and _FalloEjecutor, for the whole batch. */
VELMORA_API int velmora_CRespDispensaciones_TipoRespuesta(const velmora_CRespDispensaciones *response,
                                                          int32_t *out);
VELMORA_API int velmora_CRespDispensaciones_FalloEjecutor(const velmora_CRespDispensaciones *response,
                                                          const char **out);
/* Number of rows of ResultadoDispensacion. */
VELMORA_API int velmora_CRespDispensaciones_Count(const velmora_CRespDispensaciones *response, size_t *out);
/* One 1-based row (a CRespError). Every output is required; the strings are valid until the
 * response handle is released. */
VELMORA_API int velmora_CRespDispensaciones_Row(const velmora_CRespDispensaciones *response, size_t index,
                                                const char **Codigo, const char **Description,
                                                const char **CodigoDispensado, const char **TipoRespuesta);

/* ---- Errores (CError) ------------------------------------------------------------------- */

/* One CErrorItem. The strings belong to the velmora_CError handle it was read from and are
 * valid until that handle is released. */
typedef struct velmora_CErrorItem {
  int32_t Number;
  const char *Description;
  const char *HelpContext;
  const char *HelpFile;
  const char *Source;
} velmora_CErrorItem;

VELMORA_API int velmora_CError_release(velmora_CError *errors);
VELMORA_API int velmora_CError_Count(const velmora_CError *errors, size_t *out);
VELMORA_API int velmora_CError_Item(const velmora_CError *errors, size_t index, velmora_CErrorItem *out);

#ifdef __cplusplus
}
#endif

#endif /* VELMORA_VELMORA_H */
