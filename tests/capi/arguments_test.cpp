// What the C interface does with arguments a C host gets wrong: null handles, null strings,
// null outputs, unknown selectors and bytes that are not UTF-8.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/test_support.h"
#include "velmora/velmora.h"

namespace {

struct Call {
  const char* name;
  std::function<int()> call;
};

// Every function that takes a pointer, called with a null where a pointer belongs. The handles
// passed beside the null are real, so a function that checked only its first argument would
// crash or answer OK here.
TEST(CApiArguments, EveryNullIsAnsweredWithAnErrorCode) {
  velmora::testing::RuntimeFolder folder;
  velmora_CInterface* iface = nullptr;
  velmora_CPeticionDispensacion* request = nullptr;
  velmora_CListadoDispensaciones* list = nullptr;
  ASSERT_EQ(velmora_CInterface_create(&iface), VELMORA_OK);
  ASSERT_EQ(velmora_CPeticionDispensacion_create(&request), VELMORA_OK);
  ASSERT_EQ(velmora_CListadoDispensaciones_create(&list), VELMORA_OK);
  const char* text = nullptr;
  int flag = 0;
  int32_t number = 0;
  int16_t small = 0;
  size_t count = 0;
  velmora_CErrorItem item{};
  velmora_CRespuestaPeticion* single = nullptr;
  velmora_CRespDispensaciones* batch = nullptr;
  velmora_CError* errors = nullptr;
  velmora_CPeticionDispensacion* copy = nullptr;
  velmora_CPendientes* pending = nullptr;
  velmora_CDispensacionPendiente entry{};

  const std::vector<Call> calls = {
      {"CInterface_create", [] { return velmora_CInterface_create(nullptr); }},
      {"CInterface_Enabled handle", [&] { return velmora_CInterface_Enabled(nullptr, &flag); }},
      {"CInterface_Enabled out", [&] { return velmora_CInterface_Enabled(iface, nullptr); }},
      {"CInterface_NombreServicio handle", [&] { return velmora_CInterface_NombreServicio(nullptr, &text); }},
      {"CInterface_NombreServicio out", [&] { return velmora_CInterface_NombreServicio(iface, nullptr); }},
      {"CInterface_NombreLog handle", [&] { return velmora_CInterface_NombreLog(nullptr, &text); }},
      {"CInterface_NombreLog out", [&] { return velmora_CInterface_NombreLog(iface, nullptr); }},
      {"CInterface_Opciones handle", [&] { return velmora_CInterface_Opciones(nullptr, &number); }},
      {"CInterface_Opciones out", [&] { return velmora_CInterface_Opciones(iface, nullptr); }},
      {"CInterface_SetOpciones", [] { return velmora_CInterface_SetOpciones(nullptr, 1); }},
      {"CInterface_OpcionesLog handle", [&] { return velmora_CInterface_OpcionesLog(nullptr, &number); }},
      {"CInterface_OpcionesLog out", [&] { return velmora_CInterface_OpcionesLog(iface, nullptr); }},
      {"CInterface_SetOpcionesLog", [] { return velmora_CInterface_SetOpcionesLog(nullptr, 1); }},
      {"SolicitudDispensacion iface", [&] { return velmora_CInterface_SolicitudDispensacion(nullptr, request, &single); }},
      {"SolicitudDispensacion request", [&] { return velmora_CInterface_SolicitudDispensacion(iface, nullptr, &single); }},
      {"SolicitudDispensacion out", [&] { return velmora_CInterface_SolicitudDispensacion(iface, request, nullptr); }},
      {"SolicitudDispensaciones iface", [&] { return velmora_CInterface_SolicitudDispensaciones(nullptr, list, 0, &batch); }},
      {"SolicitudDispensaciones list", [&] { return velmora_CInterface_SolicitudDispensaciones(iface, nullptr, 0, &batch); }},
      {"SolicitudDispensaciones out", [&] { return velmora_CInterface_SolicitudDispensaciones(iface, list, 0, nullptr); }},
      {"CInterface_Errores handle", [&] { return velmora_CInterface_Errores(nullptr, &errors); }},
      {"CInterface_Errores out", [&] { return velmora_CInterface_Errores(iface, nullptr); }},
      {"OnAlConectar", [] { return velmora_CInterface_OnAlConectar(nullptr, nullptr, nullptr); }},
      {"OnAlTerminarLeerIni", [] { return velmora_CInterface_OnAlTerminarLeerIni(nullptr, nullptr, nullptr); }},
      {"OnAlIniciarSolicitudDispensacion", [] { return velmora_CInterface_OnAlIniciarSolicitudDispensacion(nullptr, nullptr, nullptr); }},
      {"OnAlTerminarSolicitudDispensacion", [] { return velmora_CInterface_OnAlTerminarSolicitudDispensacion(nullptr, nullptr, nullptr); }},
      {"OnIdle", [] { return velmora_CInterface_OnIdle(nullptr, nullptr, nullptr); }},
      {"Peticion_create", [] { return velmora_CPeticionDispensacion_create(nullptr); }},
      {"Peticion_SetText handle", [] { return velmora_CPeticionDispensacion_SetText(nullptr, VELMORA_Importe, "1"); }},
      {"Peticion_SetText value", [&] { return velmora_CPeticionDispensacion_SetText(request, VELMORA_Importe, nullptr); }},
      {"Peticion_Text handle", [&] { return velmora_CPeticionDispensacion_Text(nullptr, VELMORA_Importe, &text); }},
      {"Peticion_Text out", [&] { return velmora_CPeticionDispensacion_Text(request, VELMORA_Importe, nullptr); }},
      {"Peticion_SetRegimenReceta", [] { return velmora_CPeticionDispensacion_SetRegimenReceta(nullptr, 0); }},
      {"Peticion_RegimenReceta handle", [&] { return velmora_CPeticionDispensacion_RegimenReceta(nullptr, &number); }},
      {"Peticion_RegimenReceta out", [&] { return velmora_CPeticionDispensacion_RegimenReceta(request, nullptr); }},
      {"Peticion_SetTipoPrescripcion", [] { return velmora_CPeticionDispensacion_SetTipoPrescripcion(nullptr, 1); }},
      {"Peticion_TipoPrescripcion handle", [&] { return velmora_CPeticionDispensacion_TipoPrescripcion(nullptr, &number); }},
      {"Peticion_TipoPrescripcion out", [&] { return velmora_CPeticionDispensacion_TipoPrescripcion(request, nullptr); }},
      {"Peticion_SetSaveSOAPMsgToFile", [] { return velmora_CPeticionDispensacion_SetSaveSOAPMsgToFile(nullptr, 1); }},
      {"Peticion_SaveSOAPMsgToFile handle", [&] { return velmora_CPeticionDispensacion_SaveSOAPMsgToFile(nullptr, &flag); }},
      {"Peticion_SaveSOAPMsgToFile out", [&] { return velmora_CPeticionDispensacion_SaveSOAPMsgToFile(request, nullptr); }},
      {"Listado_create", [] { return velmora_CListadoDispensaciones_create(nullptr); }},
      {"aniadirDispensacion list", [&] { return velmora_CListadoDispensaciones_aniadirDispensacion(nullptr, request, &flag); }},
      {"aniadirDispensacion request", [&] { return velmora_CListadoDispensaciones_aniadirDispensacion(list, nullptr, &flag); }},
      {"aniadirDispensacion out", [&] { return velmora_CListadoDispensaciones_aniadirDispensacion(list, request, nullptr); }},
      {"ResetDispensacionesCol", [] { return velmora_CListadoDispensaciones_ResetDispensacionesCol(nullptr); }},
      {"Listado_Count handle", [&] { return velmora_CListadoDispensaciones_Count(nullptr, &count); }},
      {"Listado_Count out", [&] { return velmora_CListadoDispensaciones_Count(list, nullptr); }},
      {"Listado_Item handle", [&] { return velmora_CListadoDispensaciones_Item(nullptr, 1, &copy); }},
      {"Listado_Item out", [&] { return velmora_CListadoDispensaciones_Item(list, 1, nullptr); }},
      {"Peticion_MissingFields", [&] { return velmora_CPeticionDispensacion_MissingFields(request, nullptr); }},
      {"Respuesta_DatosValidos", [&] { return velmora_CRespuestaPeticion_DatosValidos(nullptr, &flag); }},
      {"Respuesta_DispensacionRealizada", [&] { return velmora_CRespuestaPeticion_DispensacionRealizada(nullptr, &flag); }},
      {"Respuesta_m_intNAvisos", [&] { return velmora_CRespuestaPeticion_m_intNAvisos(nullptr, &small); }},
      {"Respuesta_m_intNMotivosRechazo", [&] { return velmora_CRespuestaPeticion_m_intNMotivosRechazo(nullptr, &small); }},
      {"Respuesta_Count", [&] { return velmora_CRespuestaPeticion_Count(nullptr, VELMORA_m_colCodigoAviso, &count); }},
      {"Respuesta_Item", [&] { return velmora_CRespuestaPeticion_Item(nullptr, VELMORA_m_colCodigoAviso, 1, &text); }},
      {"RespDisp_DatosValidos", [&] { return velmora_CRespDispensaciones_DatosValidos(nullptr, &flag); }},
      {"RespDisp_DispensacionRealizada", [&] { return velmora_CRespDispensaciones_DispensacionRealizada(nullptr, &flag); }},
      {"RespDisp_blnCodigoErrorDisp", [&] { return velmora_CRespDispensaciones_blnCodigoErrorDisp(nullptr, &flag); }},
      {"RespDisp_Count", [&] { return velmora_CRespDispensaciones_Count(nullptr, &count); }},
      {"RespDisp_Row", [&] { return velmora_CRespDispensaciones_Row(nullptr, 1, &text, &text, &text, &text); }},
      {"CError_Count", [&] { return velmora_CError_Count(nullptr, &count); }},
      {"CError_Item", [&] { return velmora_CError_Item(nullptr, 1, &item); }},
      {"Pendientes handle", [&] { return velmora_CInterface_Pendientes(nullptr, &pending); }},
      {"Pendientes out", [&] { return velmora_CInterface_Pendientes(iface, nullptr); }},
      {"Reenviar id", [&] { return velmora_CInterface_Reenviar(iface, nullptr, &pending); }},
      {"Reenviar out", [&] { return velmora_CInterface_Reenviar(iface, "RX1", nullptr); }},
      {"ReenviarTodas handle", [&] { return velmora_CInterface_ReenviarTodas(nullptr, &pending); }},
      {"ConfirmarVeredicto id", [&] { return velmora_CInterface_ConfirmarVeredicto(iface, nullptr, &flag); }},
      {"ConfirmarVeredicto out", [&] { return velmora_CInterface_ConfirmarVeredicto(iface, "RX1", nullptr); }},
      {"CPendientes_release", [] { return velmora_CPendientes_release(nullptr); }},
      {"CPendientes_Count", [&] { return velmora_CPendientes_Count(nullptr, &count); }},
      {"CPendientes_Item", [&] { return velmora_CPendientes_Item(nullptr, 1, &entry); }},
      {"CPendientes_Codigo", [&] { return velmora_CPendientes_Codigo(nullptr, 1, 1, &text, &text); }},
  };
  for (const Call& c : calls) EXPECT_EQ(c.call(), VELMORA_ERR_NULL_ARGUMENT) << c.name;
  // Releasing NULL is a no-op, like free(NULL): cleanup code need not test every handle.
  for (int status : {velmora_CInterface_release(nullptr), velmora_CPeticionDispensacion_release(nullptr), velmora_CListadoDispensaciones_release(nullptr), velmora_CRespuestaPeticion_release(nullptr), velmora_CRespDispensaciones_release(nullptr), velmora_CError_release(nullptr)})
    EXPECT_EQ(status, VELMORA_OK);

  EXPECT_EQ(velmora_CListadoDispensaciones_release(list), VELMORA_OK);
  EXPECT_EQ(velmora_CPeticionDispensacion_release(request), VELMORA_OK);
  EXPECT_EQ(velmora_CInterface_release(iface), VELMORA_OK);
}

// A refused value leaves the property as it was (the bytes are checked by the platform's reader).
TEST(CApiArguments, TextThatIsNotUtf8IsRefused) {
  velmora_CPeticionDispensacion* request = nullptr;
  ASSERT_EQ(velmora_CPeticionDispensacion_create(&request), VELMORA_OK);
  ASSERT_EQ(velmora_CPeticionDispensacion_SetText(request, VELMORA_NombrePaciente, "Jos\xC3\xA9"), VELMORA_OK);
  EXPECT_EQ(velmora_CPeticionDispensacion_SetText(request, VELMORA_NombrePaciente, "Jos\xE9"), VELMORA_ERR_INVALID_UTF8);
  const char* text = nullptr;
  ASSERT_EQ(velmora_CPeticionDispensacion_Text(request, VELMORA_NombrePaciente, &text), VELMORA_OK);
  EXPECT_STREQ(text, "Jos\xC3\xA9");
  EXPECT_EQ(velmora_CPeticionDispensacion_release(request), VELMORA_OK);
}

}  // namespace
