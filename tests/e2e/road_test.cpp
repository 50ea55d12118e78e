#include <gtest/gtest.h>

#include <filesystem>

#include "../interface/interface_fixture.h"
#include "platform/profile.h"
#include "test_processes.h"
#include "velmora/interface.h"

namespace velmora {
namespace {

using testing::CompleteRequest;
using testing::ErrorNumbers;
using testing::InterfaceFixture;
using testing::SimulatorProcess;

std::string Ini(const SimulatorProcess& sim, const std::string& timeOut = "10") {
  std::string ini = testing::IniWith("Servicio", sim.WsdlUrl());
  ini.replace(ini.find("PeticionTimeOut=5"), 17, "PeticionTimeOut=" + timeOut);
  return ini;
}

struct Finish {
  bool raised = false;
  bool correcto = false;
  ResponseTypeEnum type = rspInternal;
};

void Watch(CInterface& iface, Finish& f) {
  iface.AlTerminarSolicitudDispensacion = [&f](bool c, ResponseTypeEnum t) {
    f.raised = true;
    f.correcto = c;
    f.type = t;
  };
}

TEST(Road, AcceptedDispensationComesBackFromTheService) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  CInterface iface;
  Finish finish;
  Watch(iface, finish);
  auto request = CompleteRequest();
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_TRUE(response->DispensacionRealizada());
  EXPECT_TRUE(finish.correcto);
  EXPECT_EQ(finish.type, rspReceived);
  EXPECT_EQ(ErrorNumbers(iface.Errores()), "");
  // What went on the wire was this request.
  const auto records = sim.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_NE(SimulatorProcess::Field(records[0], "body").find("<claveUsuario>clave</claveUsuario>"), std::string::npos)
      << records[0];
  // Both processes left their marks in one audit record and the counters moved.
  const std::string audit = f.folder.Path("Auditoria/audit.log");
  for (const char* key : {"PETICION_GENERADA", "MENSAJE_ENVIADO", "MENSAJE_RECIBIDO"})
    EXPECT_EQ(platform::ReadProfileString(audit, "RX001", key), "Si") << key;
  EXPECT_EQ(platform::ReadProfileString(audit, "RX001", "RESPUESTA_GENERADA"), "srv");
  EXPECT_EQ(platform::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados"), "1");
  EXPECT_EQ(platform::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Recibidos"), "1");
  EXPECT_FALSE(f.Exists("Enviados/RX001.xml"));
  EXPECT_FALSE(f.Exists("Recibidos/RX001.xml"));
}

TEST(Road, RejectionCodesAndTextsReachTheHost) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  CInterface iface;
  auto request = CompleteRequest();
  request.CodigoDispensado = "sim:rejected";
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_FALSE(response->DispensacionRealizada());
  ASSERT_EQ(response->m_colCodigoMotivosRechazo.Count(), 2u);
  EXPECT_EQ(*response->m_colCodigoMotivosRechazo.Item(1), "2001");
  EXPECT_EQ(*response->m_colCodigoMotivosRechazo.Item(2), "2002");
  EXPECT_EQ(response->m_colTextoMotivosRechazo.Count(), 2u);
}

TEST(Road, ServiceFailuresFallBackToTheInternalResponse) {
  SimulatorProcess sim;
  for (const char* scenario : {"sim:fault", "sim:http500", "sim:illformed", "sim:drop"}) {
    InterfaceFixture f(Ini(sim, "2"));
    CInterface iface;
    Finish finish;
    Watch(iface, finish);
    auto request = CompleteRequest();
    request.CodigoDispensado = scenario;
    auto response = iface.SolicitudDispensacion(request);
    EXPECT_TRUE(response->DatosValidos) << scenario;
    EXPECT_FALSE(finish.correcto) << scenario;
    EXPECT_EQ(finish.type, rspInternal) << scenario;
    EXPECT_EQ(*response->m_colCodigoAviso.Item(1), "9999") << scenario;
    // The executor's own failure is in the shared log, for whoever reads it.
    EXPECT_TRUE(f.LogHas("CExecutor.SolicitudDispensacion:(")) << scenario << "\n" << f.Log();
  }
}

TEST(Road, LateAnswerIsPutAsideInRetrasados) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim, "1"));
  CInterface iface;
  Finish finish;
  Watch(iface, finish);
  auto request = CompleteRequest();
  request.CodigoDispensado = "sim:slow-3";
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_EQ(finish.type, rspInternal);
  // The executor answers after the interface gave up; its file must end up aside, not waiting.
  EXPECT_TRUE(testing::WaitFor([&] { return f.Exists("Retrasados/RX001.xml"); }, std::chrono::seconds(20)));
  EXPECT_TRUE(testing::WaitFor([&] { return !f.Exists("Recibidos/RX001.xml"); }, std::chrono::seconds(5)));
}

TEST(Road, BatchPartlyRejectedGivesOneRowPerItem) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  setenv("VELMORA_PDF_VIEWER", "", 1);
  CInterface iface;
  Finish finish;
  Watch(iface, finish);
  CListadoDispensaciones list;
  for (int i = 1; i <= 5; ++i) {
    auto request = CompleteRequest();
    request.IDPrescripcion = "RX00" + std::to_string(i);
    request.CodigoDispensado = i == 1 ? "sim:batch-rejected" : "65432" + std::to_string(i);
    ASSERT_TRUE(list.aniadirDispensacion(request));
  }
  auto response = iface.SolicitudDispensaciones(list, true);
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_EQ(finish.type, rspReceived);
  EXPECT_FALSE(response->DispensacionRealizada());
  EXPECT_EQ(response->ResultadoDispensacion().Count(), 5u);
  EXPECT_TRUE(f.Exists("velmora.pdf"));
  const auto records = sim.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(SimulatorProcess::Field(records[0], "operation"), "SolicitudDispensacionMasiva");
}

TEST(Road, BatchAcceptedWhole) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  CInterface iface;
  CListadoDispensaciones list;
  auto request = CompleteRequest();
  ASSERT_TRUE(list.aniadirDispensacion(request));
  auto response = iface.SolicitudDispensaciones(list);
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_TRUE(response->DispensacionRealizada());
  EXPECT_TRUE(response->blnCodigoErrorDisp);
}

}  // namespace
}  // namespace velmora
