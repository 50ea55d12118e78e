// The real executor.exe against the real simulator: what it leaves in the working folders, the
// audit trail, the ini counters and the log.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "os/attributes.h"
#include "ini/profile.h"
#include "xml/xml.h"
#include "support/test_support.h"
#include "support/test_processes.h"

namespace velmora::testing {
namespace {

namespace fs = std::filesystem;

using Keys = std::vector<std::pair<std::string, std::string>>;

std::string Ini(const std::string& wsdl, const Keys& proxy = {{"UtilizarProxy", "0"}, {"TimeOut", "5000"}}) {
  std::string ini = RuntimeFolder::DefaultIni();
  ini.replace(ini.find("http://127.0.0.1:1/dispensacion?wsdl"), 37, wsdl);
  std::string section = "[Proxy]\r\n";
  for (const auto& [k, v] : proxy) section += k + "=" + v + "\r\n";
  const size_t at = ini.find("[Proxy]");
  return ini.replace(at, ini.find("[", at + 1) - at, section);
}

std::string SingleBody(const std::string& codigo) {
  return "<PeticionDispensacion xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><importe>10</importe>"
         "<codFarmacia>F1</codFarmacia><claveUsuario>clave</claveUsuario><codigoDispensado>" +
         codigo + "</codigoDispensado><idPrescripcion>RX-1</idPrescripcion></PeticionDispensacion>";
}

std::string BatchBody(const std::vector<std::string>& codigos) {
  std::string body = "<PeticionDispensacion><codFarmacia>F1</codFarmacia><dispensaciones>";
  for (const auto& c : codigos)
    body += "<P70ItemPeticionDispensacion><importe>1</importe><codigoDispensado>" + c +
            "</codigoDispensado></P70ItemPeticionDispensacion>";
  return body + "</dispensaciones></PeticionDispensacion>";
}

// Runs executor.exe from the build's runtime folder with the test's VELMORA_HOME.
int RunExecutor(const std::vector<std::string>& args) {
  std::vector<std::string> argv = {VELMORA_EXECUTOR};
  argv.insert(argv.end(), args.begin(), args.end());
  return ChildProcess(argv).Wait(30000);
}

struct Outcome {
  int exitCode;
  std::string log, audit;
};

Outcome Exchange(RuntimeFolder& folder, const std::string& id, const std::string& body, bool batch = false) {
  folder.Write("Enviados/" + id + ".xml", body);
  const int code = RunExecutor(batch ? std::vector<std::string>{"IDPres=" + id, "MD"} : std::vector<std::string>{"IDPres=" + id});
  return {code, folder.Read("velmora.log"), folder.Read("Auditoria/audit.log")};
}

Keys ProxyOn(const std::string& usar, const std::string& port, const std::string& user, const std::string& password,
             const std::string& timeout) {
  return {{"UtilizarProxy", "1"}, {"UsarProxy", usar}, {"Servidor", "127.0.0.1"}, {"Puerto", port},
          {"Usuario", user}, {"Password", password}, {"TimeOut", timeout}};
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string Counter(RuntimeFolder& f, const char* key) { return ini::ReadProfileString(f.Path("velmora.ini"), "MensajeSOAP", key); }

// The element texts of the saved response, in document order, as "name=text" for leaves.
std::string Leaves(const std::string& path) {
  xml::Document doc;
  if (!doc.Load(path)) return "<not loadable>";
  std::string out;
  for (pugi::xpath_node n : doc.Raw()->select_nodes("//*[not(*)]"))
    out += std::string(n.node().name()) + "=" + n.node().text().get() + ";";
  return out;
}

TEST(ExecutorProcess, EverySingleScenario) {
  SimulatorProcess sim;
  struct Case {
    const char* scenario;
    bool written;
    // fileHas: in a written response; logHas: in the log of a failure; received: the counter of
    // received messages afterwards.
    const char *fileHas, *logHas, *received;
  } cases[] = {
      {"accepted", true, "codigoMotivosRechazo=;SOAP-ENC:string=0000;", nullptr, "1"},
      {"warnings", true, "SOAP-ENC:string=0000;SOAP-ENC:string=1201;", nullptr, "1"},
      {"rejected", true, "NMotivosRechazo=2;", nullptr, "1"},
      {"multiref", true, "SOAP-ENC:string=Atención: dosis > 2 \"revisar\" — ñandú;", nullptr, "1"},
      {"noreturn", false, nullptr, "CExecutor.SolicitudDispensacion:(32000)No se puede pasar los valores*", "0"},
      {"fault", false, nullptr, "CExecutor.SolicitudDispensacion:(-2147467259)SOAP Fault: soapenv:Server*", "0"},
      {"http500", false, nullptr, "CExecutor.SolicitudDispensacion:(-2147467259)Error HTTP: HTTP 500*", "0"},
      {"illformed", false, nullptr, "CExecutor.SolicitudDispensacion:(-2147467259)Respuesta SOAP mal formada*", "0"},
      {"drop", false, nullptr, "CExecutor.SolicitudDispensacion:(-2147467259)Error de conexión*", "0"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.scenario);
    RuntimeFolder folder(Ini(sim.WsdlUrl()));
    const std::string id = std::string("RX-") + c.scenario;
    Outcome out = Exchange(folder, id, SingleBody(std::string("sim:") + c.scenario));
    const std::string response = folder.Path("Recibidos/" + id + ".xml");
    EXPECT_EQ(out.exitCode, c.written ? 0 : 1);
    EXPECT_EQ(fs::exists(response), c.written);
    EXPECT_TRUE(HasLine(out.log, id + " CExecutor.SolicitudDispensacion:Iniciando la solicitud de dispensación "));
    EXPECT_TRUE(HasLine(out.log, id + " CExecutor.SolicitudDispensacion:Enviando mensaje SOAP 'PeticionDispensacion' "));
    EXPECT_TRUE(Has(out.audit, "MENSAJE_ENVIADO=Si"));
    EXPECT_EQ(Has(out.audit, "MENSAJE_RECIBIDO=Si"), std::string(c.scenario) == "noreturn" || c.written);
    EXPECT_EQ(Counter(folder, "Recibidos"), c.received);
    if (c.written) {
      EXPECT_EQ(os::GetAttributes(response, "test"), os::kAttrHidden);
      EXPECT_TRUE(Has(Leaves(response), c.fileHas)) << Leaves(response);
      EXPECT_EQ(Counter(folder, "Enviados"), "1");
      for (const char* line : {"SolicitudDispensacion:Recibiendo mensaje SOAP 'RespuestaPeticion' ",
                               "CExecutor.SolicitudDispensacion:Antes de escribir en el fichero",
                               "CExecutor.SolicitudDispensacion:DESPUES de escribir en el fichero",
                               "CExecutor.SolicitudDispensacion:Antes de poner la propiedad a hidden"})
        EXPECT_TRUE(HasLine(out.log, id + " " + line)) << line;
    } else {
      EXPECT_TRUE(HasLine(out.log, c.logHas)) << out.log;
    }
  }
  EXPECT_EQ(sim.Records().size(), std::size(cases));
}

TEST(ExecutorProcess, BatchScenariosAndTheBatchTexts) {
  SimulatorProcess sim;
  {
    RuntimeFolder folder(Ini(sim.WsdlUrl()));
    const std::string id = "MD__RX-1";
    Outcome out = Exchange(folder, id, BatchBody({"sim:batch-rejected", "600001", "600002"}), true);
    ASSERT_EQ(out.exitCode, 0) << out.log;
    const std::string response = folder.Path("Recibidos/" + id + ".xml");
    EXPECT_EQ(os::GetAttributes(response, "test"), os::kAttrHidden);
    EXPECT_EQ(Leaves(response),
              "ResultResp=1;CodResp=0000;DescResp=Dispensación realizada;CodDisp=sim:batch-rejected;TipResp=0;"
              "CodResp=2001;DescResp=Dispensación rechazada: receta ya dispensada;CodDisp=600001;TipResp=1;"
              "CodResp=0000;DescResp=Dispensación realizada;CodDisp=600002;TipResp=0;");
    for (const std::string& line : std::vector<std::string>{"CExecutor.SolicitudDispensaciones SendedPath : " + folder.Root() + "Enviados/",
          "CExecutor.SolicitudDispensaciones strIdPrescripcion : " + id + "",
          id + " CExecutor.SolicitudDispensaciones:Enviando mensaje SOAP 'PeticionDispensacion' ",
          id + " SolicitudDispensaciones:Recibiendo mensaje SOAP 'RespuestaPeticion' ",
          id + " CExecutor.SolicitudDispensacion:Antes de poner la propiedad a hidden"})
      EXPECT_TRUE(HasLine(out.log, line)) << line;
    EXPECT_EQ(SimulatorProcess::Field(sim.Records().back(), "operation"), "SolicitudDispensacionMasiva");
  }
  {
    RuntimeFolder folder(Ini(sim.WsdlUrl()));
    Outcome out = Exchange(folder, "MD__RX-2", BatchBody({"sim:accepted"}), true);
    EXPECT_EQ(out.exitCode, 0);
    EXPECT_EQ(Leaves(folder.Path("Recibidos/MD__RX-2.xml")), "ResultResp=0;Respuestas=;");
  }
}

TEST(ExecutorProcess, LateAnswersEndInRetrasados) {
  SimulatorProcess sim;
  for (bool batch : {false, true}) {
    RuntimeFolder folder(Ini(sim.WsdlUrl()));
    const std::string id = batch ? "MD__RX-late" : "RX-late";
    // The interface has already answered this one.
    folder.Write("Auditoria/audit.log", "[" + id + "]\r\nMENSAJE_ENVIADO=No\r\nRESPUESTA_GENERADA=int\r\n");
    Outcome out = Exchange(folder, id, batch ? BatchBody({"sim:accepted"}) : SingleBody("sim:accepted"), batch);
    EXPECT_EQ(out.exitCode, 0) << out.log;
    EXPECT_FALSE(fs::exists(folder.Path("Recibidos/" + id + ".xml")));
    EXPECT_TRUE(fs::exists(folder.Path("Retrasados/" + id + ".xml")));
    EXPECT_TRUE(fs::is_empty(folder.Path("Recibidos")));
  }
}

TEST(ExecutorProcess, RequestAndConnectionFailures) {
  SimulatorProcess sim;
  // A missing request file, single or batch.
  for (const std::string method : {"SolicitudDispensacion", "SolicitudDispensaciones"}) {
    RuntimeFolder folder(Ini(sim.WsdlUrl()));
    EXPECT_EQ(RunExecutor(method == "SolicitudDispensacion" ? std::vector<std::string>{"IDPres=RX-none"}
                                                            : std::vector<std::string>{"IDPres=MD__missing", "MD"}), 1);
    EXPECT_TRUE(HasLine(folder.Read("velmora.log"), "CExecutor." + method + ":(32009)No se puede cargar el archivo XML*"));
  }
  {
    RuntimeFolder folder(Ini("http://127.0.0.1:" + std::to_string(UnusedPort()) + "/dispensacion?wsdl"));
    Outcome out = Exchange(folder, "RX-refused", SingleBody("1"));
    EXPECT_EQ(out.exitCode, 1);
    EXPECT_TRUE(HasLine(out.log, "CExecutor.ConectarServicio:(-2147467259)Error de conexión*"));
    EXPECT_TRUE(HasLine(out.log, "CExecutor.SolicitudDispensacion:(32010)No se puede conectar con el servicio web*"));
    EXPECT_FALSE(Has(out.audit, "MENSAJE_ENVIADO=Si"));
  }
  {
    RuntimeFolder folder("");  // no ini at all
    EXPECT_EQ(RunExecutor({"IDPres=RX-x"}), 1);
  }
  EXPECT_EQ(RunExecutor({"nothing"}), 1);
  EXPECT_EQ(sim.Records().size(), 0u);
}

TEST(ExecutorProcess, TimeOutOnlyWithTheProxySectionSwitchedOn) {
  SimulatorProcess sim;
  // UtilizarProxy=0: no connector property at all, so the short TimeOut is not applied.
  for (const bool on : {false, true}) {
    RuntimeFolder folder(Ini(sim.WsdlUrl(), on ? ProxyOn("0", "1", "", "", "300") : Keys{{"UtilizarProxy", "0"}, {"TimeOut", "300"}}));
    Outcome out = Exchange(folder, on ? "RX-slow1" : "RX-slow0", SingleBody("sim:slow-1"));
    EXPECT_EQ(out.exitCode, on ? 1 : 0) << out.log;
    if (!on) continue;
    EXPECT_TRUE(HasLine(out.log, "CExecutor.SolicitudDispensacion:(-2147467259)Tiempo de espera agotado: 300 ms*")) << out.log;
    EXPECT_TRUE(fs::is_empty(folder.Path("Recibidos")));
  }
}

TEST(ExecutorProcess, ThroughTheConfiguredProxy) {
  SimulatorProcess sim;
  ProxyProcess proxy("farmacia", "s3creta");
  if (proxy.Port() == 0) GTEST_SKIP() << "tinyproxy is not installed";
  const std::string port = std::to_string(proxy.Port());
  for (const bool credentials : {true, false}) {
    RuntimeFolder folder(Ini(sim.WsdlUrl(), ProxyOn("1", port, credentials ? "farmacia" : "", credentials ? "s3creta" : "", "5000")));
    Outcome out = Exchange(folder, credentials ? "RX-proxy" : "RX-407", SingleBody("sim:accepted"));
    EXPECT_EQ(out.exitCode, credentials ? 0 : 1) << out.log;
    if (credentials) {
      EXPECT_TRUE(Has(SimulatorProcess::Field(sim.Records().back(), "via"), "tinyproxy"));
    } else {
      EXPECT_TRUE(HasLine(out.log, "CExecutor.ConectarServicio:(-2147467259)El proxy rechazó las credenciales (HTTP 407): " +
                                       sim.WsdlUrl())) << out.log;
    }
  }
}

TEST(ExecutorProcess, HttpsServiceTrustedThroughTheIniCAFile) {
  SimulatorProcess sim({"--tls-cert", DataFile("sim-cert.pem"), "--tls-key", DataFile("sim-key.pem")});
  RuntimeFolder folder(Ini(sim.WsdlUrl(), {{"UtilizarProxy", "0"}, {"CAFile", DataFile("sim-cert.pem")}}));
  EXPECT_EQ(Exchange(folder, "RX-tls1", SingleBody("sim:accepted")).exitCode, 0);
}

TEST(ExecutorProcess, KilledAtAnyStepLeavesNoPartialResponse) {
  SimulatorProcess sim;
  RuntimeFolder folder(Ini(sim.WsdlUrl()));
  folder.Write("Enviados/RX-kill.xml", SingleBody("sim:accepted"));
  // Kill points reached by watching what the executor leaves behind, from "just started" to
  // "writing the response".
  std::vector<std::function<bool()>> points = {
      [] { return true; },
      [&] { return fs::exists(folder.Path("Auditoria/audit.log")); },
      [&] { return !sim.Records().empty(); },
      [&] { return HasLine(folder.Read("velmora.log"), "RX-kill CExecutor.SolicitudDispensacion:Antes de escribir en el fichero"); },
  };
  for (size_t i = 0; i < points.size(); ++i) {
    fs::remove(folder.Path("Recibidos/RX-kill.xml"));
    ChildProcess executor({VELMORA_EXECUTOR, "IDPres=RX-kill"});
    WaitFor(points[i], std::chrono::seconds(10));
    kill(executor.Pid(), SIGKILL);
    executor.Wait(5000);
    const std::string response = folder.Path("Recibidos/RX-kill.xml");
    if (fs::exists(response)) {
      EXPECT_NE(Leaves(response), "<not loadable>") << "kill point " << i;
    }
  }
}

}  // namespace
}  // namespace velmora::testing
