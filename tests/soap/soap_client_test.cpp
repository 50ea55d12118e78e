// The SOAP client against the real simulator on 127.0.0.1.
#include "soap/soap_client.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "soap/soap_error.h"
#include "xml/xml.h"
#include "support/test_processes.h"
#include "support/test_support.h"
#include "velmora/error.h"

namespace velmora::testing {
namespace {

using soap::SoapClient;

// A request body as the library writes it into Enviados.
std::string RequestBody(const std::string& codigo) {
  return "<PeticionDispensacion xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
         "<importe>12,50</importe><importeAportacion>1,20</importeAportacion><codFarmacia>F1</codFarmacia>"
         "<claveUsuario>p&amp;ss&lt;1</claveUsuario><codigoDispensado>" +
         codigo + "</codigoDispensado><idPrescripcion>RX1</idPrescripcion></PeticionDispensacion>";
}

// What `read` makes of each node of `list`, in order.
template <class Read>
std::vector<std::string> Each(const XmlNodeList& list, const Read& read) {
  std::vector<std::string> out;
  for (size_t i = 0; i < list.length(); ++i) out.push_back(read(list.Item(i)));
  return out;
}

std::vector<std::string> Names(const XmlNodeList& list) { return Each(list, [](const auto& n) { return n.nodeName(); }); }
std::vector<std::string> Texts(const XmlNodeList& list) { return Each(list, [](const auto& n) { return n.Text(); }); }

std::optional<XmlNodeList> Send(SoapClient& client, const std::string& body,
                                const std::string& operation = "SolicitudDispensacion") {
  xml::Document doc;
  EXPECT_TRUE(doc.LoadXml(body));
  return client.Call(operation, doc.ChildNodes());
}

// A client pointed at the proxy on `port`, with credentials when `user` is set.
void UseProxy(SoapClient& client, int port, const char* user = "", const char* password = "") {
  client.ConnectorProperty("UseProxy", true);
  client.ConnectorProperty("ProxyServer", std::string("127.0.0.1"));
  client.ConnectorProperty("ProxyPort", port);
  if (!*user) return;
  client.ConnectorProperty("ProxyUser", std::string(user));
  client.ConnectorProperty("ProxyPassword", std::string(password));
}

// The description of the client error that `act` raises from `source`.
template <class Act>
std::string Raised(const Act& act, const std::string& source) {
  try {
    act();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, soap::kSoapClientError);
    EXPECT_EQ(e.Source, source);
    return e.Description;
  }
  return "no error";
}

std::string ErrorOf(SoapClient& client, const std::string& operation, const std::string& body) {
  return Raised([&] { Send(client, body, operation); }, "SoapClient." + operation);
}

TEST(SoapClient, SendsTheNodeListAsThePartAndReadsTheReturnPart) {
  SimulatorProcess sim;
  SoapClient client;
  client.mssoapinit(sim.WsdlUrl());
  EXPECT_EQ(client.Description().endpoint, sim.BaseUrl() + "/dispensacion");
  std::optional<XmlNodeList> result = Send(client, RequestBody("sim:warnings"));
  ASSERT_TRUE(result);
  ASSERT_EQ(Names(*result), (std::vector<std::string>{"NMotivosRechazo", "NAvisos", "textoAviso", "textoMotivosRechazo",
                                                      "codigoMotivosRechazo", "codigoAviso"}));
  EXPECT_EQ(Texts(result->Item(5).childNodes()), (std::vector<std::string>{"0000", "1201"}));
  EXPECT_EQ(Texts(result->Item(2).childNodes()).at(1), "Atención: envase próximo a caducar");

  const std::string r = sim.Records().at(0);
  EXPECT_EQ(sim.Records().size(), 1u);
  EXPECT_EQ(SimulatorProcess::Field(r, "problem"), "");
  EXPECT_EQ(SimulatorProcess::Field(r, "soapAction"), "\"urn:Dispensacion#SolicitudDispensacion\"");
  EXPECT_EQ(SimulatorProcess::Field(r, "namespace"), "urn:Dispensacion");
  EXPECT_EQ(SimulatorProcess::Field(r, "part"), "arg0");
  EXPECT_EQ(SimulatorProcess::Field(r, "contentType"), "text/xml; charset=\"UTF-8\"");
  // The nodes are the accessor's content, in order, escaped as XML.
  std::string body = SimulatorProcess::Field(r, "body");
  EXPECT_NE(body.find("<arg0 xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><importe>12,50</importe>"
                      "<importeAportacion>1,20</importeAportacion><codFarmacia>F1</codFarmacia>"
                      "<claveUsuario>p&amp;ss&lt;1</claveUsuario>"),
            std::string::npos)
      << body;

  // The batch operation, and a nil return that is no value.
  result = Send(client,
      "<PeticionDispensacion><codFarmacia>F1</codFarmacia><dispensaciones>"
      "<P70ItemPeticionDispensacion><codigoDispensado>sim:batch-rejected</codigoDispensado></P70ItemPeticionDispensacion>"
      "<P70ItemPeticionDispensacion><codigoDispensado>654321</codigoDispensado></P70ItemPeticionDispensacion>"
      "</dispensaciones></PeticionDispensacion>",
      "SolicitudDispensacionMasiva");
  ASSERT_TRUE(result);
  EXPECT_EQ(Names(*result), (std::vector<std::string>{"ResultResp", "Respuestas"}));
  XmlNodeList rows = result->Item(1).childNodes();
  ASSERT_EQ(rows.length(), 2u);
  EXPECT_EQ(rows.Item(1).childNodes().Item(2).Text(), "654321");

  EXPECT_FALSE(Send(client, RequestBody("sim:noreturn")));
}

TEST(SoapClient, EachFailureSaysWhatHappened) {
  SimulatorProcess sim;
  SoapClient client;
  client.mssoapinit(sim.WsdlUrl());
  client.ConnectorProperty("Timeout", int32_t{400});
  const struct {
    const char* scenario;
    std::string expected;
  } cases[] = {
      {"fault", "SOAP Fault: soapenv:Server - Error interno del servicio de dispensación (simulado) "
                "(java.lang.IllegalStateException: base de datos no disponible)"},
      {"http500", "Error HTTP: HTTP 500 de " + sim.BaseUrl() + "/dispensacion"},
      {"illformed", "Respuesta SOAP mal formada: "},
      {"drop", "(curl 18)"},
      {"hangup", "(curl 52)"},
      {"slow-2", "Tiempo de espera agotado: 400 ms"},
  };
  for (const auto& c : cases) {
    std::string error = ErrorOf(client, "SolicitudDispensacion", RequestBody(std::string("sim:") + c.scenario));
    EXPECT_NE(error.find(c.expected), std::string::npos) << c.scenario << ": " << error;
  }
  // Each reached the service once: a request cut before any answer is never sent again.
  EXPECT_EQ(sim.Records().size(), std::size(cases));
  // Still usable after every kind of failure.
  EXPECT_TRUE(Send(client, RequestBody("sim:accepted")));
  EXPECT_NE(ErrorOf(client, "NoSuchOperation", RequestBody("x")).find("no tiene la operación"), std::string::npos);
}

TEST(SoapClient, RefusedConnectionAndMissingDescription) {
  SoapClient client;
  std::string port = std::to_string(UnusedPort());
  const std::string error = Raised([&] { client.mssoapinit("http://127.0.0.1:" + port + "/dispensacion?wsdl"); }, "SoapClient.mssoapinit");
  EXPECT_NE(error.find("Error de conexión: http://127.0.0.1:" + port), std::string::npos) << error;
  EXPECT_THROW(client.mssoapinit("/nonexistent/service.wsdl"), Error);
  EXPECT_FALSE(client.Initialised());
}

TEST(SoapClient, DescriptionFromAFileAndEnvironmentProxiesIgnored) {
  SimulatorProcess sim;
  // Saved copy of the WSDL, read through file:// and as a plain path.
  const std::string path = ::testing::TempDir() + "velmora-service.wsdl";
  ASSERT_EQ(ChildProcess({"/usr/bin/curl", "-s", "-o", path, sim.WsdlUrl()}).Wait(10000), 0);
  // A proxy in the environment that leads nowhere: the client must not use it.
  const std::string dead = "http://127.0.0.1:" + std::to_string(UnusedPort());
  for (const char* name : {"http_proxy", "HTTP_PROXY"}) setenv(name, dead.c_str(), 1);
  for (const std::string& url : {"file://" + path, path}) {
    SoapClient client;
    client.mssoapinit(url);
    EXPECT_TRUE(Send(client, RequestBody("sim:accepted"))) << url;
  }
  for (const char* name : {"http_proxy", "HTTP_PROXY"}) unsetenv(name);
}

TEST(SoapClient, ThroughAnHttpProxyWithAndWithoutCredentials) {
  SimulatorProcess sim;
  for (bool withCredentials : {false, true}) {
    ProxyProcess proxy(withCredentials ? "farmacia" : "", withCredentials ? "s3creta" : "");
    if (proxy.Port() == 0) GTEST_SKIP() << "tinyproxy is not installed";
    SoapClient client;
    UseProxy(client, proxy.Port(), withCredentials ? "farmacia" : "", "s3creta");
    client.mssoapinit(sim.WsdlUrl());
    EXPECT_TRUE(Send(client, RequestBody("sim:accepted")));
    EXPECT_NE(SimulatorProcess::Field(sim.Records().back(), "via").find("tinyproxy"), std::string::npos);
    if (!withCredentials) continue;
    // No credentials: the proxy's 407 is reported as such. Wrong ones: this proxy answers 401,
    // and the error names the proxy it went through.
    const std::pair<const char*, std::string> refusals[] = {
        {"", "El proxy rechazó las credenciales (HTTP 407)"},
        {"otra", "HTTP 401 (a través del proxy 127.0.0.1:" + std::to_string(proxy.Port()) + ")"}};
    for (const auto& [password, expected] : refusals) {
      SoapClient refused;
      UseProxy(refused, proxy.Port(), *password ? "farmacia" : "", password);
      try {
        refused.mssoapinit(sim.WsdlUrl());
        ADD_FAILURE() << "the proxy let a request through with password '" << password << "'";
      } catch (const Error& e) {
        EXPECT_NE(e.Description.find(expected), std::string::npos) << e.Description;
      }
    }
  }
}

// The refusal of https-to-http is tried end to end, through executor.exe (tests/e2e). Trust is
// looked up in the system's hashed directory, not its bundle: the simulator's certificate is
// trusted once SSL_CERT_DIR holds it under its subject's hash, yet refused under a name it was not
// made for; and checked at every handshake, so a client whose CAFile no longer trusts the service
// is refused although the description it finds kept needs one connection.
TEST(SoapClient, HttpsTrustsTheSystemDirectoryOrTheCaFileAtEveryHandshake) {
  SimulatorProcess sim({"--tls-cert", DataFile("sim-cert.pem"), "--tls-key", DataFile("sim-key.pem")});
  const std::string kept = ::testing::TempDir() + "velmora-kept.";
  const std::string hashed = MakeTempFolder("hashed-trust");
  const ProgramResult hash = RunProgram({"openssl", "x509", "-noout", "-subject_hash", "-in", DataFile("sim-cert.pem")});
  ASSERT_EQ(hash.exitCode, 0) << hash.output;
  std::filesystem::copy_file(DataFile("sim-cert.pem"), hashed + "/" + hash.output.substr(0, 8) + ".0");
  std::string otherName = sim.WsdlUrl();
  otherName.replace(otherName.find("127.0.0.1"), 9, "localhost");
  const struct {
    const char* certDir;  // SSL_CERT_DIR; null: the system's own
    bool caFile;
    bool byName;  // the service reached as localhost, a name its certificate does not hold
    bool accepted;
  } cases[] = {{nullptr, false, false, false},
               {hashed.c_str(), false, true, false},
               {hashed.c_str(), false, false, true},
               {nullptr, true, false, true},
               {nullptr, false, false, false}};
  for (const auto& c : cases) {
    if (c.certDir) setenv("SSL_CERT_DIR", c.certDir, 1);
    SoapClient client;
    client.DescriptionCacheFile(kept + "wsdl.cache");
    if (c.caFile) client.CertificateAuthorityFile(DataFile("sim-cert.pem"));
    std::string error = "no error";
    try {
      client.mssoapinit(c.byName ? otherName : sim.WsdlUrl());
      EXPECT_TRUE(Send(client, RequestBody("sim:accepted")));
    } catch (const Error& e) {
      error = e.Description;
    }
    unsetenv("SSL_CERT_DIR");
    EXPECT_EQ(error.find(c.accepted ? "no error" : "Error de conexión"), 0u) << error;
  }
  const std::vector<std::string> records = sim.Records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(SimulatorProcess::Field(records[1], "tlsResumed"), "no");
  std::filesystem::remove(kept + "wsdl.cache");
  std::filesystem::remove_all(hashed);
}

// The description kept in a file between clients, as executors keep it in the runtime folder.
TEST(SoapClient, KeptDescriptionServesOnlyItsAddressAndFollowsAChange) {
  const std::string cache = ::testing::TempDir() + "velmora-kept.wsdl.cache";
  auto connect = [&](const std::string& url) {
    auto client = std::make_unique<SoapClient>();
    client->DescriptionCacheFile(cache);
    client->mssoapinit(url);
    return client;
  };
  std::optional<SimulatorProcess> first(std::in_place), third, describer;
  const std::string port = std::to_string(UnusedPort());
  auto describe = [&](const SimulatorProcess& endpoint) {
    describer.reset();
    describer.emplace(std::vector<std::string>{"--port", port, "--endpoint", endpoint.BaseUrl() + "/dispensacion"});
    return describer->WsdlUrl();
  };
  const std::string url = describe(*first);
  EXPECT_TRUE(Send(*connect(url), RequestBody("sim:accepted")));
  EXPECT_EQ(std::filesystem::status(cache).permissions(), std::filesystem::perms(0600));
  describer.reset();
  EXPECT_TRUE(Send(*connect(url), RequestBody("sim:accepted")));  // kept: no server needed
  // The description moves the endpoint; the old one is gone, so nothing was sent to it.
  first.reset();
  third.emplace();
  describe(*third);
  EXPECT_TRUE(Send(*connect(url), RequestBody("sim:accepted")));
  EXPECT_EQ(third->Records().size(), 1u);
  // Another Servicio never gets the kept description, nor does a damaged file break anything.
  SimulatorProcess other({"--flavour", "alternate"});
  EXPECT_TRUE(Send(*connect(other.WsdlUrl()), RequestBody("sim:accepted")));
  // Every name of the other description is taken from it.
  const std::string r = other.Records().at(0);
  EXPECT_EQ(SimulatorProcess::Field(r, "problem") + "|" + SimulatorProcess::Field(r, "part") + "|" +
                SimulatorProcess::Field(r, "path") + "|" + SimulatorProcess::Field(r, "soapAction"),
            "|peticion|/servicios/receta-v2|\"http://receta.example.org/v2/acciones/Dispensar\"");
  std::ofstream(cache) << "velmora-service-description 1\n" << url << "\n" << std::time(nullptr) << "\n<wsdl";
  EXPECT_TRUE(Send(*connect(url), RequestBody("sim:accepted")));
  EXPECT_EQ(third->Records().size(), 2u);
  std::filesystem::remove(cache);
}

TEST(SoapClient, ConnectorPropertiesAreCheckedByName) {
  SoapClient client;
  client.ConnectorProperty("Timeout", std::string("1500"));
  EXPECT_EQ(client.Settings().timeoutMs, 1500);
  client.ConnectorProperty("UseProxy", false);
  EXPECT_FALSE(client.Settings().useProxy);
  EXPECT_THROW(client.ConnectorProperty("timeout", int32_t{1}), Error);  // names are case-sensitive
  EXPECT_THROW(client.ConnectorProperty("ProxyPort", std::string("80a")), Error);
}

}  // namespace
}  // namespace velmora::testing
