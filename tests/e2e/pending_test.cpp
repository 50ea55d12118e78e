#include <gtest/gtest.h>

#include <sys/stat.h>

#include <map>

#include "interface/interface_fixture.h"
#include "ini/profile.h"
#include "support/test_processes.h"
#include "velmora/interface.h"
#include "velmora/velmora.h"

namespace velmora {
namespace {

using testing::ChildProcess;
using testing::InterfaceFixture;
using testing::SimulatorProcess;

// How many requests of each prescription reached the service.
int Sent(const SimulatorProcess& sim, const std::string& id) {
  int sent = 0;
  for (const auto& record : sim.Records())
    sent += SimulatorProcess::Field(record, "body").find(">" + id + "</idPrescripcion>") != std::string::npos;
  return sent;
}

// Runs the command line as a scheduled job would; returns its exit code and its output.
std::pair<int, std::string> Cli(const InterfaceFixture& f, const std::vector<std::string>& args) {
  std::vector<std::string> argv = {VELMORA_CLI};
  argv.insert(argv.end(), args.begin(), args.end());
  ChildProcess cli(argv, {}, f.folder.Path("out.txt"));
  const int code = cli.Wait(60000);
  return {code, f.folder.Read("out.txt")};
}

TEST(Pending, FallbackAnswersAreListedResentOnceEachAndConfirmed) {
  SimulatorProcess sim;
  InterfaceFixture f(testing::IniWith("Servicio", sim.WsdlUrl()));
  const std::string ini = f.folder.Path("velmora.ini");
  const std::string audit = f.folder.Path("Auditoria/audit.log");
  WritePrivateProfileStringEx(ini, "Asincrono", "PeticionTimeOut", "1");
  CInterface iface;
  CPendientes pending(iface);
  auto dispense = [&](const std::string& id, const std::string& code) {
    auto request = testing::CompleteRequest();
    request.IDPrescripcion = id;
    request.CodigoDispensado = code;
    EXPECT_EQ(*iface.SolicitudDispensacion(request)->m_colCodigoAviso.Item(1), "9999") << id;
  };

  // The service rejects RXLATE, but only after the till was given the internal response.
  dispense("RXLATE", "sim:slow-3-rejected");
  EXPECT_EQ(pending.Reenviar("RXLATE").Resultado, rnvEnCurso);  // its executor still waits
  ASSERT_TRUE(testing::WaitFor([&] { return f.Exists("Retrasados/RXLATE.xml"); }, std::chrono::seconds(20)));
  // The service goes away: connections are refused.
  const std::string refused = "http://127.0.0.1:" + std::to_string(testing::UnusedPort()) + "/dispensacion?wsdl";
  WritePrivateProfileStringEx(ini, "Configuracion", "Servicio", refused);
  for (const char* id : {"RX1", "RX2", "RX3"}) dispense(id, "654321");
  CListadoDispensaciones batch;
  auto item = testing::CompleteRequest();
  item.IDPrescripcion = "RXB";
  ASSERT_TRUE(batch.aniadirDispensacion(item));
  iface.SolicitudDispensaciones(batch);

  const auto listed = pending.Listar();
  ASSERT_EQ(listed.size(), 5u);
  for (const auto& p : listed) {
    const bool late = p.IDPrescripcion == "RXLATE";
    EXPECT_EQ(p.Estado, late ? pndVeredictoTardio : pndSinConfirmar) << p.IDPrescripcion;
    EXPECT_EQ(p.TipoRespuesta, rspInternal) << p.IDPrescripcion;
    EXPECT_EQ(p.Veredicto, late) << p.IDPrescripcion;
    EXPECT_EQ(p.Lote, p.IDPrescripcion == "MD__RXB");
    struct stat st {};
    ASSERT_EQ(stat(f.folder.Path("Pendientes/" + p.IDPrescripcion + ".xml").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u) << p.IDPrescripcion;
  }
  // The same list through the C interface.
  velmora_CInterface* c = nullptr;
  velmora_CPendientes* list = nullptr;
  velmora_CDispensacionPendiente late{};
  const char *code = nullptr, *text = nullptr;
  ASSERT_EQ(velmora_CInterface_create(&c), VELMORA_OK);
  ASSERT_EQ(velmora_CInterface_Pendientes(c, &list), VELMORA_OK);
  ASSERT_EQ(velmora_CPendientes_Item(list, 5, &late), VELMORA_OK);
  EXPECT_EQ(std::string(late.IDPrescripcion) + std::to_string(late.Estado) + std::to_string(late.NCodigos), "RXLATE22");
  ASSERT_EQ(velmora_CPendientes_Codigo(list, 5, 2, &code, &text), VELMORA_OK);
  EXPECT_EQ(std::string(code), "2002");
  EXPECT_EQ(velmora_CPendientes_Item(list, 6, &late), VELMORA_ERR_INDEX);
  velmora_CPendientes_release(list);
  velmora_CInterface_release(c);
  EXPECT_NE(Cli(f, {"pending", "--json"}).second.find(
                R"("TipoRespuesta":3,"Estado":"late-verdict","EjecutorActivo":false,"Veredicto":{"DispensacionRealizada":false,"Codigos":["2001","2002"],)"),
            std::string::npos);
  // What a scheduled job sees while the service is still away.
  const std::vector<std::pair<std::vector<std::string>, int>> whileAway = {
      {{"pending"}, 1}, {{"resend", "RX1"}, 3}, {{"ack", "RX1"}, 2}, {{"resend", "NOSUCH"}, 1}, {{"resend"}, 2}};
  for (const auto& [args, expected] : whileAway) EXPECT_EQ(Cli(f, args).first, expected) << args[0];

  // The service is back, and two scheduled jobs run at the same moment.
  WritePrivateProfileStringEx(ini, "Configuracion", "Servicio", sim.WsdlUrl());
  WritePrivateProfileStringEx(ini, "Asincrono", "PeticionTimeOut", "20");
  ChildProcess a({VELMORA_CLI, "resend", "--all", "--json"}, {}, f.folder.Path("a.json"));
  ChildProcess b({VELMORA_CLI, "resend", "--all", "--json"}, {}, f.folder.Path("b.json"));
  EXPECT_EQ(a.Wait(60000), 1);  // the late verdict still waits for the host
  EXPECT_EQ(b.Wait(60000), 1);
  const std::string both = f.folder.Read("a.json") + f.folder.Read("b.json");
  int confirmed = 0;
  for (size_t at = 0; (at = both.find(R"("Resultado":"confirmed")", at)) != std::string::npos; ++at) ++confirmed;
  EXPECT_EQ(confirmed, 4) << both;
  EXPECT_EQ(Sent(sim, "RXLATE"), 1);
  for (const std::string id : {"RX1", "RX2", "RX3", "MD__RXB"}) {
    EXPECT_EQ(Sent(sim, id == "MD__RXB" ? "RXB" : id), 1) << id;
    EXPECT_FALSE(f.Exists("Pendientes/" + id + ".xml")) << id;
    EXPECT_EQ(ini::ReadProfileString(audit, id, "CONFIRMADA"), "srv") << id;
  }
  EXPECT_EQ(ini::ReadProfileString(audit, "RX2", "REENVIOS"), "1");

  // The host has read the late rejection.
  EXPECT_EQ(Cli(f, {"ack", "RXLATE"}).first, 0);
  EXPECT_EQ(ini::ReadProfileString(audit, "RXLATE", "CONFIRMADA"), "ret");
  EXPECT_EQ(Cli(f, {"pending", "--json"}), std::make_pair(0, std::string("{\"pending\":[]}\n")));
  EXPECT_EQ(Sent(sim, "RXLATE"), 1);
}

}  // namespace
}  // namespace velmora
