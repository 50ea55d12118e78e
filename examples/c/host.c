/*
 * A pharmacy host in C: sends one dispensation through libvelmora and prints the verdict.
 *
 *   velmora-example-host [CodigoDispensado]
 *
 * The runtime folder (velmora.ini, executor.exe) is $VELMORA_HOME, else the folder of
 * libvelmora.so; velmora.ini's Servicio names the health service (or velmora-sim). With
 * velmora-sim, a CodigoDispensado of the form "sim:rejected" picks the simulator's answer.
 * Exit status: 0 when the data was valid, 1 when not, 2 when the C interface refused a call.
 */
#include <stdio.h>
#include <stdlib.h>

#include <velmora/velmora.h>

/* Every call of the C interface answers a status; a host that is not interested in the reason
 * can stop at the first one that is not VELMORA_OK. */
#define CHECK(call)                                                                      \
  do {                                                                                   \
    int status_ = (call);                                                                \
    if (status_ != VELMORA_OK) {                                                         \
      fprintf(stderr, "%s: %s\n", #call, velmora_status_text(status_));                  \
      exit(2);                                                                           \
    }                                                                                    \
  } while (0)

struct host_state {
  velmora_CInterface *iface;
  int idle_passes;
};

static void on_start(void *user, const char *id) {
  (void)user;
  printf("AlIniciarSolicitudDispensacion: %s\n", id);
}

static void on_finish(void *user, int correcto, int32_t tipo) {
  struct host_state *state = user;
  const char *log = NULL;
  printf("AlTerminarSolicitudDispensacion: blnCorrecto=%d intTipoRespuesta=%d\n", correcto, (int)tipo);
  /* Events may call back into the library. */
  CHECK(velmora_CInterface_NombreLog(state->iface, &log));
  printf("log: %s\n", log);
}

static void on_idle(void *user) {
  /* A GUI host would pump its event loop here. */
  ((struct host_state *)user)->idle_passes++;
}

static void print_list(const velmora_CRespuestaPeticion *r, const char *label, int codes, int texts) {
  size_t n_codes = 0, n_texts = 0, i;
  CHECK(velmora_CRespuestaPeticion_Count(r, codes, &n_codes));
  CHECK(velmora_CRespuestaPeticion_Count(r, texts, &n_texts));
  printf("%s:%s\n", label, n_codes == 0 && n_texts == 0 ? " none" : "");
  for (i = 1; i <= n_codes || i <= n_texts; ++i) {
    const char *code = "", *text = "";
    if (i <= n_codes) CHECK(velmora_CRespuestaPeticion_Item(r, codes, i, &code));
    if (i <= n_texts) CHECK(velmora_CRespuestaPeticion_Item(r, texts, i, &text));
    printf("  %s  %s\n", code, text);
  }
}

static void print_errors(velmora_CInterface *iface) {
  velmora_CError *errors = NULL;
  size_t count = 0, i;
  CHECK(velmora_CInterface_Errores(iface, &errors));
  CHECK(velmora_CError_Count(errors, &count));
  for (i = 1; i <= count; ++i) {
    velmora_CErrorItem item;
    CHECK(velmora_CError_Item(errors, i, &item));
    printf("  error %d (%s): %s\n", (int)item.Number, item.Source, item.Description);
  }
  CHECK(velmora_CError_release(errors));
}

int main(int argc, char **argv) {
  static const struct {
    int property;
    const char *value;
  } fields[] = {
      {VELMORA_IdFarmacia, "F0042"},          {VELMORA_IdProvincia, "48"},
      {VELMORA_IdUsuario, "mostrador1"},      {VELMORA_ClaveUsuario, "demo"},
      {VELMORA_Idioma, "es"},                 {VELMORA_IdFarmaceutico, "FC0007"},
      {VELMORA_FechaDispensacion, "21/11/2026"}, {VELMORA_Importe, "12,40"},
      {VELMORA_ImporteAportacion, "4,96"},    {VELMORA_EnvasesDispensados, "1"},
      {VELMORA_CodigoColegiadoPrescriptor, "4812345"}, {VELMORA_FechaPrescripcion, "10/11/2026"},
      {VELMORA_Tis, "BBBB123456"},            {VELMORA_NombrePaciente, "Paciente de ejemplo"},
      {VELMORA_IDPrescripcion, "RXC0001"},
  };
  const char *product = argc > 1 ? argv[1] : "600000";
  struct host_state state = {NULL, 0};
  velmora_CPeticionDispensacion *request = NULL;
  velmora_CRespuestaPeticion *response = NULL;
  const char *service = NULL, *id = NULL;
  int enabled = 0, valid = 0, done = 0;
  int16_t avisos = 0, motivos = 0;
  size_t i;

  CHECK(velmora_CInterface_create(&state.iface));
  CHECK(velmora_CInterface_Enabled(state.iface, &enabled));
  CHECK(velmora_CInterface_NombreServicio(state.iface, &service));
  printf("velmora %s, Enabled: %s, NombreServicio: %s\n", velmora_version(), enabled ? "True" : "False", service);
  CHECK(velmora_CInterface_OnAlIniciarSolicitudDispensacion(state.iface, on_start, &state));
  CHECK(velmora_CInterface_OnAlTerminarSolicitudDispensacion(state.iface, on_finish, &state));
  CHECK(velmora_CInterface_OnIdle(state.iface, on_idle, &state));

  CHECK(velmora_CPeticionDispensacion_create(&request));
  for (i = 0; i < sizeof fields / sizeof fields[0]; ++i)
    CHECK(velmora_CPeticionDispensacion_SetText(request, fields[i].property, fields[i].value));
  CHECK(velmora_CPeticionDispensacion_SetText(request, VELMORA_CodigoDispensado, product));
  CHECK(velmora_CPeticionDispensacion_SetRegimenReceta(request, VELMORA_Pensionista));
  CHECK(velmora_CPeticionDispensacion_SetTipoPrescripcion(request, VELMORA_Principio_Activo));

  CHECK(velmora_CInterface_SolicitudDispensacion(state.iface, request, &response));

  CHECK(velmora_CPeticionDispensacion_Text(request, VELMORA_IDPrescripcion, &id));
  CHECK(velmora_CRespuestaPeticion_DatosValidos(response, &valid));
  CHECK(velmora_CRespuestaPeticion_DispensacionRealizada(response, &done));
  CHECK(velmora_CRespuestaPeticion_m_intNAvisos(response, &avisos));
  CHECK(velmora_CRespuestaPeticion_m_intNMotivosRechazo(response, &motivos));
  printf("IDPrescripcion: %s\n", id);
  printf("DatosValidos: %s\n", valid ? "True" : "False");
  printf("DispensacionRealizada: %s\n", done ? "True" : "False");
  printf("NAvisos: %d  NMotivosRechazo: %d\n", avisos, motivos);
  print_list(response, "avisos", VELMORA_m_colCodigoAviso, VELMORA_m_colTextoAviso);
  print_list(response, "motivos de rechazo", VELMORA_m_colCodigoMotivosRechazo, VELMORA_m_colTextoMotivosRechazo);
  print_errors(state.iface);
  printf("idle passes: %d\n", state.idle_passes);

  CHECK(velmora_CRespuestaPeticion_release(response));
  CHECK(velmora_CPeticionDispensacion_release(request));
  CHECK(velmora_CInterface_release(state.iface));
  return valid ? 0 : 1;
}
