#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "interface/interface_fixture.h"
#include "os/attributes.h"
#include "ini/profile.h"
#include "velmora/interface.h"

namespace velmora {
namespace {

using testing::CompleteRequest;
using testing::ErrorNumbers;
using testing::IniWith;
using testing::InterfaceFixture;
using testing::Outcome;

const char* kAnswer =
    "<RespuestaPeticion><NMotivosRechazo>0</NMotivosRechazo><NAvisos>1</NAvisos>"
    "<codigoAviso><item> 0000 </item></codigoAviso><textoAviso><item>Dispensada</item></textoAviso>"
    "</RespuestaPeticion>";

// The executor fails on the refusing service; its cause reaches the response from the file it
// hands over, whatever became of the log, and the file goes with the dispensation.
TEST(Dispensation, NoAnswerAndNoDefaultGivesTheInternalResponse) {
  for (const char* log : {"kept", "off", "a folder"}) {
    SCOPED_TRACE(log);
    const std::string logOn = log == std::string("off") ? "0" : "1";
    std::string ini = IniWith("GenerarLog", logOn);
    InterfaceFixture f(ini.replace(ini.find("PeticionTimeOut=5"), 17, "PeticionTimeOut=30"));  // ended by the executor
    if (log == std::string("a folder")) std::filesystem::create_directory(f.folder.Path("velmora.log"));
    std::filesystem::create_directory(f.folder.Path("Recibidos/.RX001.fallo"));
    f.folder.Write("Recibidos/.RX001.fallo/causa", "(1) de una petición anterior");
    CInterface iface;
    Outcome o(iface);
    auto request = CompleteRequest();
    auto response = iface.SolicitudDispensacion(request);
    EXPECT_TRUE(response->DatosValidos && o.raised);
    EXPECT_FALSE(o.correcto);
    EXPECT_EQ(o.type, rspInternal);
    EXPECT_EQ(o.started, "RX001");
    ASSERT_EQ(response->m_colCodigoAviso.Count(), 1u);
    EXPECT_EQ(*response->m_colCodigoAviso.Item(1), "9999");
    EXPECT_EQ(response->m_intNAvisos, 1);
    EXPECT_EQ(response->FalloEjecutor.rfind("(-2147467259) Error de conexión: http://127.0.0.1:1/", 0), 0u) << response->FalloEjecutor;
    EXPECT_TRUE(std::filesystem::is_empty(f.folder.Path("Recibidos")));
    // The wait's last look found nothing and said so.
    EXPECT_EQ(f.LogHas("CInterface.WaitResponse:(53)No se encontró el archivo"), log == std::string("kept"));
    const std::string audit = f.folder.Path("Auditoria/audit.log");
    EXPECT_EQ(ini::ReadProfileString(audit, "RX001", "PETICION_GENERADA"), "Si");
    EXPECT_EQ(ini::ReadProfileString(audit, "RX001", "RESPUESTA_GENERADA"), "int");
    EXPECT_FALSE(f.Exists("Enviados/RX001.xml"));  // EliminarXMLPeticion=1
  }
}

TEST(Dispensation, AnswerArrivingDuringTheWaitIsTakenStaleOneIsNot) {
  for (auto [timeOut, hidden] : {std::pair{"30", true}, {"30", false}, {"0", true}}) {
    SCOPED_TRACE(std::string(timeOut) + (hidden ? " hidden" : " unmarked"));
    const bool waits = std::string(timeOut) != "0";
    InterfaceFixture f(IniWith("PeticionTimeOut", timeOut));
    f.folder.Write("Recibidos/RX001.xml", "<RespuestaPeticion><NAvisos>7</NAvisos></RespuestaPeticion>");
    CInterface iface;
    Outcome o(iface);
    f.AnswerDuringTheWait(iface, "RX001", kAnswer, hidden);
    auto request = CompleteRequest();
    const auto start = std::chrono::steady_clock::now();
    auto response = iface.SolicitudDispensacion(request);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(o.type, waits ? rspReceived : rspInternal);
    EXPECT_EQ(response->DispensacionRealizada(), waits);
    EXPECT_EQ(response->m_intNAvisos, 1);
    EXPECT_FALSE(f.Exists("Recibidos/RX001.xml"));  // EliminarXMLRespuesta=1
    EXPECT_TRUE(f.Exists("Retrasados/RX001.xml"));
    EXPECT_EQ(ini::ReadProfileString(f.folder.Path("Auditoria/audit.log"), "RX001", "RESPUESTA_GENERADA"), waits ? "srv" : "int");
    EXPECT_EQ(f.LogHas("CInterface.WaitResponse: dentro del if --> " + f.folder.Root() + "Recibidos/RX001.xml32"), !hidden);
  }
}

TEST(Dispensation, ZeroIntervalFailsTheWaitNotTheCall) {
  InterfaceFixture f(IniWith("IntervaloComprobacion", "0"));
  CInterface iface;
  Outcome o(iface);
  auto request = CompleteRequest();
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_EQ(o.type, rspInternal);
  EXPECT_TRUE(f.LogHas("CInterface.WaitResponse:(11)División por cero"));
}

TEST(Dispensation, BlankIdentifierIsMadeAndNamesEverything) {
  InterfaceFixture f(IniWith("EliminarXMLPeticion", "0"));
  CInterface iface;
  auto request = CompleteRequest();
  request.IDPrescripcion = "   ";
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_EQ(request.IDPrescripcion, "ITPF148F1U1T1240203090507");
  EXPECT_TRUE(f.Exists("Enviados/ITPF148F1U1T1240203090507.xml"));
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("Auditoria/audit.log"), "ITPF148F1U1T1240203090507", "PETICION_GENERADA"), "Si");
}

TEST(Dispensation, FailuresGiveTheForcedInternalResponse) {
  struct Case {
    const char* name;
    std::function<void(CPeticionDispensacion&)> spoil;
    bool executor;
    const char* errors;
    const char* logLine;
  } cases[] = {
      {"incomplete", [](CPeticionDispensacion& r) { r.Importe.clear(); }, true, "32002 32013 ",
       "CInterface.SolicitudDispensacion:(32002)Inicialice los campos obligatorios"},
      {"no executor", [](CPeticionDispensacion&) {}, false, "53 32013 ",
       "CInterface.SolicitudDispensacion:(53)No se ha encontrado el archivo executor.exe"},
      {"path in id", [](CPeticionDispensacion& r) { r.IDPrescripcion = "../../escape"; }, true, "32007 32013 ",
       "CInterface.SolicitudDispensacion:(32007)No se puede exportar la petición de dispensación"},
      {"dot id", [](CPeticionDispensacion& r) { r.IDPrescripcion = ".."; }, true, "32007 32013 ", nullptr},
      {"section in id", [](CPeticionDispensacion& r) { r.IDPrescripcion = "RX]\r\n[RX2"; }, true, "32007 32013 ", nullptr},
      {"control in id", [](CPeticionDispensacion& r) { r.IDPrescripcion = "RX\x1b"; }, true, "32007 32013 ", nullptr},
      {"latin-1 id", [](CPeticionDispensacion& r) { r.IDPrescripcion = "RX\xf1"; }, true, "32007 32013 ", nullptr},
      {"long id", [](CPeticionDispensacion& r) { r.IDPrescripcion.assign(248, 'R'); }, true, "32007 32013 ", nullptr},
  };
  for (const auto& c : cases) {
    InterfaceFixture f(testing::RuntimeFolder::DefaultIni(), c.executor);
    CInterface iface;
    Outcome o(iface);
    auto request = CompleteRequest();
    c.spoil(request);
    auto response = iface.SolicitudDispensacion(request);
    EXPECT_FALSE(response->DatosValidos) << c.name;
    EXPECT_FALSE(o.raised) << c.name;
    EXPECT_EQ(ErrorNumbers(iface.Errores()), c.errors) << c.name;
    ASSERT_GE(response->m_colCodigoAviso.Count(), 1u) << c.name;
    EXPECT_EQ(*response->m_colCodigoAviso.Item(1), "9999") << c.name;
    EXPECT_TRUE(!c.logLine || f.LogHas(c.logLine)) << c.name << "\n" << f.Log();
    EXPECT_FALSE(std::filesystem::exists(f.folder.Path("../escape.xml"))) << c.name;
    // A refused identifier leaves no trace but the error: no audit record, no request file.
    if (std::string(c.errors) == "32007 32013 ") {
      EXPECT_FALSE(f.Exists("Auditoria/audit.log")) << c.name;
      EXPECT_TRUE(!f.Exists("Enviados") || std::filesystem::is_empty(f.folder.Path("Enviados"))) << c.name;
      EXPECT_EQ(f.Log().find("Iniciando una"), std::string::npos) << c.name;
    }
  }
}

TEST(Dispensation, AnotherThreadIsRefusedAndWritesNothing) {
  InterfaceFixture f;
  CInterface iface;
  auto request = CompleteRequest();
  std::unique_ptr<CRespuestaPeticion> response;
  std::thread([&] { response = iface.SolicitudDispensacion(request); }).join();
  EXPECT_FALSE(response->DatosValidos);
  EXPECT_EQ(ErrorNumbers(iface.Errores()), "32005 ");
  for (const auto& item : iface.Errores().Errores()) EXPECT_NE(item.Description.find("hilo"), std::string::npos);
  EXPECT_FALSE(f.Exists("Enviados/RX001.xml"));
}

TEST(Dispensation, RequestFileStaysWhenTheExecutorIsMissing) {
  InterfaceFixture f(testing::RuntimeFolder::DefaultIni(), false);
  CInterface iface;
  auto request = CompleteRequest();
  iface.SolicitudDispensacion(request);
  EXPECT_TRUE(f.Exists("Enviados/RX001.xml"));
}

}  // namespace
}  // namespace velmora
