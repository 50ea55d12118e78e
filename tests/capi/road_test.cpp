// The whole road through the C interface: handles in, the real executor.exe and velmora-sim,
// responses, Errores and the callbacks out. Every handle is released, so the sanitizer build
// reports any that the interface leaks or frees twice.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "interface/interface_fixture.h"
#include "support/test_processes.h"
#include "velmora/velmora.h"

velmora_CPeticionDispensacion* CompleteCRequest(const char* id, const char* product);  // request_test.cpp

namespace {

using velmora::testing::InterfaceFixture;
using velmora::testing::SimulatorProcess;

std::string Ini(const SimulatorProcess& sim) {
  std::string ini = velmora::testing::IniWith("Servicio", sim.WsdlUrl());
  ini.replace(ini.find("PeticionTimeOut=5"), 17, "PeticionTimeOut=10");
  return ini;
}

std::vector<std::string> Items(const velmora_CRespuestaPeticion* r, int collection) {
  size_t count = 0;
  EXPECT_EQ(velmora_CRespuestaPeticion_Count(r, collection, &count), VELMORA_OK);
  std::vector<std::string> items;
  for (size_t i = 1; i <= count; ++i) {
    const char* item = nullptr;
    EXPECT_EQ(velmora_CRespuestaPeticion_Item(r, collection, i, &item), VELMORA_OK);
    items.emplace_back(item);
  }
  return items;
}

// A value read through one of the C getters, whose status must be VELMORA_OK.
template <typename T, typename H>
T Get(int (*getter)(const H*, T*), const H* handle) {
  T value{};
  EXPECT_EQ(getter(handle, &value), VELMORA_OK);
  return value;
}

std::string ErrorNumbers(velmora_CInterface* iface) {
  velmora_CError* errors = nullptr;
  EXPECT_EQ(velmora_CInterface_Errores(iface, &errors), VELMORA_OK);
  size_t count = 0;
  velmora_CError_Count(errors, &count);
  std::string numbers;
  for (size_t i = 1; i <= count; ++i) {
    velmora_CErrorItem item{};
    EXPECT_EQ(velmora_CError_Item(errors, i, &item), VELMORA_OK);
    numbers += std::to_string(item.Number) + " ";
  }
  velmora_CErrorItem item{};
  EXPECT_EQ(velmora_CError_Item(errors, count + 1, &item), VELMORA_ERR_INDEX);
  EXPECT_EQ(velmora_CError_release(errors), VELMORA_OK);
  return numbers;
}

// What the callbacks saw, and what they did to the library while it was waiting.
struct Host {
  velmora_CInterface* iface = nullptr;
  velmora_CPeticionDispensacion* request = nullptr;
  std::string started, serviceSeenWhileWaiting;
  int finished = 0, correcto = -1, idlePasses = 0, errorsReadWhileWaiting = -1;
  int32_t tipo = 0;
  int releaseInterface = VELMORA_OK, releaseRequest = VELMORA_OK;
};

extern "C" void OnStart(void* user, const char* id) { static_cast<Host*>(user)->started = id; }

extern "C" void OnFinish(void* user, int correcto, int32_t tipo) {
  auto* h = static_cast<Host*>(user);
  ++h->finished, h->correcto = correcto, h->tipo = tipo;
}

extern "C" void OnIdle(void* user) {
  auto* h = static_cast<Host*>(user);
  if (h->idlePasses++ > 0) return;
  // Back into the library in the middle of the call: properties, the error list, and two
  // releases that must be refused because the call is using those handles.
  const char* service = nullptr;
  if (velmora_CInterface_NombreServicio(h->iface, &service) == VELMORA_OK) h->serviceSeenWhileWaiting = service;
  velmora_CError* errors = nullptr;
  h->errorsReadWhileWaiting = velmora_CInterface_Errores(h->iface, &errors);
  if (errors) velmora_CError_release(errors);
  h->releaseInterface = velmora_CInterface_release(h->iface);
  h->releaseRequest = velmora_CPeticionDispensacion_release(h->request);
}

extern "C" void NeverRaised(void* user) { ++static_cast<Host*>(user)->finished; }

// Removes itself on its first pass: the library must not be left calling a callback object that
// the registration destroyed.
extern "C" void IdleOnce(void* user) {
  auto* h = static_cast<Host*>(user);
  ++h->idlePasses;
  velmora_CInterface_OnIdle(h->iface, nullptr, nullptr);
}

TEST(CApiRoad, AcceptedDispensationWithCallbacksThatCallBack) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  Host host;
  ASSERT_EQ(velmora_CInterface_create(&host.iface), VELMORA_OK);
  const char* log = nullptr;
  ASSERT_EQ(velmora_CInterface_NombreLog(host.iface, &log), VELMORA_OK);
  EXPECT_EQ(std::string(log), f.folder.Path("velmora.log"));
  ASSERT_EQ(velmora_CInterface_SetOpcionesLog(host.iface, 3), VELMORA_OK);

  host.request = CompleteCRequest("RX001", "600000");
  velmora_CInterface_OnAlIniciarSolicitudDispensacion(host.iface, OnStart, &host);
  velmora_CInterface_OnAlTerminarSolicitudDispensacion(host.iface, OnFinish, &host);
  velmora_CInterface_OnIdle(host.iface, OnIdle, &host);
  velmora_CInterface_OnAlConectar(host.iface, NeverRaised, &host);
  velmora_CInterface_OnAlTerminarLeerIni(host.iface, NeverRaised, &host);

  velmora_CRespuestaPeticion* response = nullptr;
  ASSERT_EQ(velmora_CInterface_SolicitudDispensacion(host.iface, host.request, &response), VELMORA_OK);
  EXPECT_EQ(Get(velmora_CRespuestaPeticion_DatosValidos, response), 1);
  EXPECT_EQ(Get(velmora_CRespuestaPeticion_DispensacionRealizada, response), 1);
  EXPECT_EQ(Get(velmora_CRespuestaPeticion_m_intNAvisos, response), 1);
  EXPECT_EQ(Get(velmora_CRespuestaPeticion_m_intNMotivosRechazo, response), 0);
  EXPECT_EQ(Items(response, VELMORA_m_colCodigoAviso), std::vector<std::string>{"0000"});
  EXPECT_EQ(Items(response, VELMORA_m_colTextoAviso).size(), 1u);
  EXPECT_TRUE(Items(response, VELMORA_m_colCodigoMotivosRechazo).empty());
  EXPECT_TRUE(Items(response, VELMORA_m_colTextoMotivosRechazo).empty());
  const char* item = nullptr;
  for (size_t bad : {size_t{0}, size_t{2}})
    EXPECT_EQ(velmora_CRespuestaPeticion_Item(response, VELMORA_m_colCodigoAviso, bad, &item), VELMORA_ERR_INDEX);
  size_t count = 0;
  EXPECT_EQ(velmora_CRespuestaPeticion_Count(response, 5, &count), VELMORA_ERR_INVALID_VALUE);

  EXPECT_EQ(host.started, "RX001");
  EXPECT_EQ(host.finished, 1);  // AlConectar and AlTerminarLeerIni stayed silent
  EXPECT_EQ(host.correcto, 1);
  EXPECT_EQ(host.tipo, VELMORA_rspReceived);
  EXPECT_GE(host.idlePasses, 1);
  EXPECT_EQ(host.serviceSeenWhileWaiting, sim.WsdlUrl());
  EXPECT_EQ(host.errorsReadWhileWaiting, VELMORA_OK);
  EXPECT_EQ(host.releaseInterface, VELMORA_ERR_BUSY);
  EXPECT_EQ(host.releaseRequest, VELMORA_ERR_BUSY);
  EXPECT_EQ(ErrorNumbers(host.iface), "");

  // The response outlives the interface and the request that made it.
  EXPECT_EQ(velmora_CPeticionDispensacion_release(host.request), VELMORA_OK);
  EXPECT_EQ(velmora_CInterface_release(host.iface), VELMORA_OK);
  EXPECT_EQ(Items(response, VELMORA_m_colCodigoAviso), std::vector<std::string>{"0000"});
  EXPECT_EQ(velmora_CRespuestaPeticion_release(response), VELMORA_OK);
}

TEST(CApiRoad, RejectionReasonsAndUnregisteredCallbacks) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  Host host;
  ASSERT_EQ(velmora_CInterface_create(&host.iface), VELMORA_OK);
  velmora_CInterface_OnAlTerminarSolicitudDispensacion(host.iface, OnFinish, &host);
  velmora_CInterface_OnAlTerminarSolicitudDispensacion(host.iface, nullptr, &host);  // removed again
  velmora_CInterface_OnIdle(host.iface, IdleOnce, &host);
  velmora_CPeticionDispensacion* request = CompleteCRequest("RX003", "sim:rejected");
  velmora_CRespuestaPeticion* response = nullptr;
  ASSERT_EQ(velmora_CInterface_SolicitudDispensacion(host.iface, request, &response), VELMORA_OK);
  EXPECT_EQ(Get(velmora_CRespuestaPeticion_DispensacionRealizada, response), 0);
  EXPECT_EQ(Items(response, VELMORA_m_colCodigoMotivosRechazo), (std::vector<std::string>{"2001", "2002"}));
  EXPECT_EQ(Items(response, VELMORA_m_colTextoMotivosRechazo).size(), 2u);
  EXPECT_EQ(host.finished, 0);
  EXPECT_EQ(host.idlePasses, 1);
  EXPECT_EQ(velmora_CRespuestaPeticion_release(response), VELMORA_OK);
  EXPECT_EQ(velmora_CPeticionDispensacion_release(request), VELMORA_OK);
  EXPECT_EQ(velmora_CInterface_release(host.iface), VELMORA_OK);
}

TEST(CApiRoad, BatchRowsComeBackOnePerItem) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  velmora_CInterface* iface = nullptr;
  ASSERT_EQ(velmora_CInterface_create(&iface), VELMORA_OK);
  velmora_CListadoDispensaciones* list = nullptr;
  ASSERT_EQ(velmora_CListadoDispensaciones_create(&list), VELMORA_OK);
  const std::vector<std::string> products = {"sim:batch-rejected", "700002", "700003"};
  for (int i = 0; i < 3; ++i) {
    const std::string id = "RXB" + std::to_string(i + 1);
    velmora_CPeticionDispensacion* r = CompleteCRequest(id.c_str(), products[i].c_str());
    velmora_CPeticionDispensacion_SetText(r, VELMORA_Lector, ("L" + id).c_str());
    int added = 0;
    ASSERT_EQ(velmora_CListadoDispensaciones_aniadirDispensacion(list, r, &added), VELMORA_OK);
    EXPECT_EQ(added, 1);
    EXPECT_EQ(velmora_CPeticionDispensacion_release(r), VELMORA_OK);
  }
  velmora_CRespDispensaciones* response = nullptr;
  ASSERT_EQ(velmora_CInterface_SolicitudDispensaciones(iface, list, 0, &response), VELMORA_OK);
  EXPECT_EQ(Get(velmora_CRespDispensaciones_DatosValidos, response), 1);
  EXPECT_EQ(Get(velmora_CRespDispensaciones_DispensacionRealizada, response), 0);
  EXPECT_EQ(Get(velmora_CRespDispensaciones_blnCodigoErrorDisp, response), 0);
  const size_t rows = Get(velmora_CRespDispensaciones_Count, response);
  ASSERT_EQ(rows, 3u);
  std::vector<std::string> products_back;
  for (size_t i = 1; i <= rows; ++i) {
    const char *codigo = nullptr, *description = nullptr, *dispensado = nullptr, *tipo = nullptr;
    ASSERT_EQ(velmora_CRespDispensaciones_Row(response, i, &codigo, &description, &dispensado, &tipo), VELMORA_OK);
    EXPECT_STRNE(description, "");
    products_back.emplace_back(dispensado);
  }
  EXPECT_EQ(products_back, products);
  const char* s = nullptr;
  EXPECT_EQ(velmora_CRespDispensaciones_Row(response, 4, &s, &s, &s, &s), VELMORA_ERR_INDEX);
  EXPECT_EQ(velmora_CRespDispensaciones_release(response), VELMORA_OK);
  EXPECT_EQ(velmora_CListadoDispensaciones_release(list), VELMORA_OK);
  EXPECT_EQ(velmora_CInterface_release(iface), VELMORA_OK);
}

// Failures reach a C host the way they reach a C++ one: a response with DatosValidos 0 and the
// numbers in Errores, never a failed status.
TEST(CApiRoad, FailuresShowInTheResponseAndErrores) {
  struct Case {
    const char* name;
    bool withIni;
    bool withExecutor;
    std::vector<std::string> expectedErrors;  // each among the numbers Errores holds
    int valid;
    const char* failure;  // the executor's, on the response
  };
  const Case cases[] = {
      {"no executor.exe", true, false, {"53 ", "32013 "}, 0, ""},
      {"no velmora.ini", false, true, {"32001 ", "32005 ", "32013 "}, 0, ""},
      // The default ini names a service that refuses connections; its answer is the internal one.
      {"service down", true, true, {}, 1, "(-2147467259) Error de conexi\xC3\xB3n: http://127.0.0.1:1/"},
  };
  for (const Case& c : cases) {
    InterfaceFixture f(c.withIni ? velmora::testing::IniWith("PeticionTimeOut", "2") : "", c.withExecutor);
    velmora_CInterface* iface = nullptr;
    ASSERT_EQ(velmora_CInterface_create(&iface), VELMORA_OK);
    EXPECT_EQ(Get(velmora_CInterface_Enabled, iface), c.withIni ? 1 : 0) << c.name;
    velmora_CPeticionDispensacion* request = CompleteCRequest("RX009", "600000");
    velmora_CRespuestaPeticion* response = nullptr;
    ASSERT_EQ(velmora_CInterface_SolicitudDispensacion(iface, request, &response), VELMORA_OK) << c.name;
    const char* failure = Get(velmora_CRespuestaPeticion_FalloEjecutor, response);
    EXPECT_EQ(Get(velmora_CRespuestaPeticion_DatosValidos, response), c.valid) << c.name;
    EXPECT_EQ(Get(velmora_CRespuestaPeticion_TipoRespuesta, response), VELMORA_rspInternal) << c.name;
    EXPECT_EQ(std::string(failure).rfind(c.failure, 0), 0u) << c.name << ": " << failure;
    const std::string numbers = " " + ErrorNumbers(iface);
    for (const std::string& n : c.expectedErrors) EXPECT_NE(numbers.find(" " + n), std::string::npos) << c.name << ": " << numbers;
    EXPECT_EQ(velmora_CRespuestaPeticion_release(response), VELMORA_OK);
    EXPECT_EQ(velmora_CPeticionDispensacion_release(request), VELMORA_OK);
    EXPECT_EQ(velmora_CInterface_release(iface), VELMORA_OK);
  }
}

// An interface used from a thread that did not make it is refused with its own status, and the
// request (with its password) is never written.
TEST(CApiRoad, AnotherThreadIsRefused) {
  InterfaceFixture f;
  velmora_CInterface* iface = nullptr;
  ASSERT_EQ(velmora_CInterface_create(&iface), VELMORA_OK);
  velmora_CPeticionDispensacion* request = CompleteCRequest("RX009", "600000");
  velmora_CRespuestaPeticion* response = nullptr;
  int status = VELMORA_OK;
  std::thread([&] { status = velmora_CInterface_SolicitudDispensacion(iface, request, &response); }).join();
  EXPECT_EQ(status, VELMORA_ERR_WRONG_THREAD);
  EXPECT_EQ(response, nullptr);
  EXPECT_EQ(ErrorNumbers(iface), "32005 ");
  EXPECT_FALSE(f.Exists("Enviados/RX009.xml"));
  EXPECT_EQ(velmora_CPeticionDispensacion_release(request), VELMORA_OK);
  EXPECT_EQ(velmora_CInterface_release(iface), VELMORA_OK);
}

}  // namespace
