#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

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
  const char* scenarios[] = {"sim:fault", "sim:http500", "sim:illformed", "sim:drop", "sim:hangup"};
  for (const char* scenario : scenarios) {
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
  // Once each: a dispensation cut off after it was sent is never sent again.
  EXPECT_EQ(sim.Records().size(), std::size(scenarios));
}

TEST(Road, AnHttpsServiceNeverLeadsThePasswordToPlainHttp) {
  SimulatorProcess plain;
  for (const auto& [option, target] : {std::pair{"--endpoint", plain.BaseUrl() + "/dispensacion"},
                                       std::pair{"--wsdl-redirect", plain.WsdlUrl()}}) {
    SimulatorProcess sim({"--tls-cert", testing::DataFile("sim-cert.pem"), "--tls-key", testing::DataFile("sim-key.pem"), option, target});
    std::string ini = Ini(sim, "2");
    InterfaceFixture f(ini.replace(ini.find("UtilizarProxy=0"), 15, "UtilizarProxy=0\r\nCAFile=" + testing::DataFile("sim-cert.pem")));
    CInterface iface;
    auto request = CompleteRequest();
    EXPECT_EQ(*iface.SolicitudDispensacion(request)->m_colCodigoAviso.Item(1), "9999");
    EXPECT_TRUE(f.LogHas("Se rechaza pasar de https a http: " + sim.WsdlUrl())) << f.Log();
  }
  EXPECT_EQ(plain.Records().size(), 0u);
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

namespace velmora {
namespace {

// Children of this process that have ended but were never reaped.
int ZombieChildren() {
  int zombies = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream in(entry.path() / "stat");
    std::string stat;
    if (!std::getline(in, stat)) continue;
    const size_t close = stat.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream rest(stat.substr(close + 2));
    char state = 0;
    long ppid = 0;
    rest >> state >> ppid;
    if (state == 'Z' && ppid == getpid()) ++zombies;
  }
  return zombies;
}

TEST(Road, LateAnswerWithADefaultFileGivesTheDefaultThenGoesAside) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim, "1"));
  f.folder.Write("defrespo.xml",
                 "<RespuestaPeticion><NAvisos>1</NAvisos><codigoAviso><i>7777</i></codigoAviso></RespuestaPeticion>");
  CInterface iface;
  Finish finish;
  Watch(iface, finish);
  auto request = CompleteRequest();
  request.CodigoDispensado = "sim:slow-3";
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_EQ(finish.type, rspDefault);
  EXPECT_EQ(*response->m_colCodigoAviso.Item(1), "7777");
  EXPECT_TRUE(testing::WaitFor([&] { return f.Exists("Retrasados/RX001.xml"); }, std::chrono::seconds(20)));
  EXPECT_EQ(platform::ReadProfileString(f.folder.Path("Auditoria/audit.log"), "RX001", "RESPUESTA_GENERADA"), "xml");
}

TEST(Road, ShellMetacharactersInTheIdentifierRunNothingButTheExecutor) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  CInterface iface;
  Finish finish;
  Watch(iface, finish);
  auto request = CompleteRequest();
  // Blanks split the command line (the executor joins the parts again); the rest is only text.
  // ("&" is left out: values go into the body unescaped, so it would fail the request as 32007.)
  request.IDPrescripcion = "RX;$(touch m1)`touch m2`|touch m3>m4";
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_EQ(finish.type, rspReceived);
  EXPECT_TRUE(response->DispensacionRealizada());
  for (const char* marker : {"m1", "m2", "m3", "m4"}) {
    EXPECT_FALSE(f.Exists(marker)) << marker;
    EXPECT_FALSE(std::filesystem::exists(marker)) << marker;
  }
  const auto records = sim.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_NE(SimulatorProcess::Field(records[0], "body").find("RX;$(touch m1)`touch m2`|touch m3&gt;m4"), std::string::npos)
      << records[0];
}

TEST(Road, AnAnswerIsTakenAsSoonAsItIsMarkedAndNoExecutorIsLeftAZombie) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim, "30"));
  CInterface iface;
  auto request = CompleteRequest();
  request.CodigoDispensado = "sim:slow-1";
  const auto start = std::chrono::steady_clock::now();
  auto response = iface.SolicitudDispensacion(request);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(response->DispensacionRealizada());
  // The service answers after a second; a wait that only looked again a whole second later would
  // take two or more. The folder watch wakes the wait when the mark is set.
  EXPECT_LT(took, std::chrono::milliseconds(1900));
  EXPECT_TRUE(testing::WaitFor([] { return ZombieChildren() == 0; }, std::chrono::seconds(10)));
}

}  // namespace
}  // namespace velmora
