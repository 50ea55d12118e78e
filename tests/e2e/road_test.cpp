#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "interface/interface_fixture.h"
#include "os/attributes.h"
#include "os/paths.h"
#include "ini/profile.h"
#include "audit/trail_store.h"
#include "support/font_test_env.h"
#include "support/test_processes.h"
#include "velmora/interface.h"

namespace velmora {
namespace {

using testing::CompleteRequest;
using testing::ErrorNumbers;
using testing::InterfaceFixture;
using Finish = testing::Outcome;
using testing::SimulatorProcess;

std::string Ini(const SimulatorProcess& sim, const std::string& timeOut = "10") {
  std::string ini = testing::IniWith("Servicio", sim.WsdlUrl());
  ini.replace(ini.find("PeticionTimeOut=5"), 17, "PeticionTimeOut=" + timeOut);
  return ini;
}

// One dispensation against the simulator; `prepare` changes the request first.
std::unique_ptr<CRespuestaPeticion> Dispense(CInterface& iface, const std::string& scenario,
                                             const std::function<void(CPeticionDispensacion&)>& prepare = {}) {
  auto request = CompleteRequest();
  request.CodigoDispensado = scenario;
  if (prepare) prepare(request);
  return iface.SolicitudDispensacion(request);
}

TEST(Road, AcceptedDispensationComesBackFromTheService) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  CInterface iface;
  Finish finish(iface);
  auto response = Dispense(iface, "654321");
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_TRUE(response->DispensacionRealizada());
  EXPECT_TRUE(finish.correcto);
  EXPECT_EQ(finish.type, rspReceived);
  EXPECT_EQ(ErrorNumbers(iface.Errores()), "");
  // What went on the wire was this request.
  const auto records = sim.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_NE(SimulatorProcess::Field(records[0], "body").find("<claveUsuario>clave</claveUsuario>"), std::string::npos) << records[0];
  // Both processes left their marks in one audit record and the counters moved.
  const std::string audit = f.folder.Path("Auditoria/audit.log");
  for (const char* key : {"PETICION_GENERADA", "MENSAJE_ENVIADO", "MENSAJE_RECIBIDO"})
    EXPECT_EQ(ini::ReadProfileString(audit, "RX001", key), "Si") << key;
  EXPECT_EQ(ini::ReadProfileString(audit, "RX001", "RESPUESTA_GENERADA"), "srv");
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Enviados"), "1");
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("velmora.ini"), "MensajeSOAP", "Recibidos"), "1");
  EXPECT_FALSE(f.Exists("Enviados/RX001.xml"));
  EXPECT_FALSE(f.Exists("Recibidos/RX001.xml"));
}

TEST(Road, ServiceFailuresFallBackToTheInternalResponse) {
  SimulatorProcess sim;
  const char* scenarios[] = {"sim:fault", "sim:http500", "sim:illformed", "sim:drop", "sim:hangup"};
  for (const char* scenario : scenarios) {
    InterfaceFixture f(Ini(sim, "2"));
    CInterface iface;
    Finish finish(iface);
    auto response = Dispense(iface, scenario);
    EXPECT_TRUE(response->DatosValidos) << scenario;
    EXPECT_FALSE(finish.correcto) << scenario;
    EXPECT_EQ(finish.type, rspInternal) << scenario;
    EXPECT_EQ(*response->m_colCodigoAviso.Item(1), "9999") << scenario;
    // The executor's own failure is in the shared log, for whoever reads it, and its cause
    // reaches the till as that line has it.
    EXPECT_TRUE(f.LogHas("CExecutor.SolicitudDispensacion:(*")) << scenario << "\n" << f.Log();
    const std::string log = f.Log(), mark = "RX001 CExecutor.Fallo:";
    ASSERT_NE(log.find(mark), std::string::npos) << scenario;
    const size_t at = log.find(mark) + mark.size();
    EXPECT_EQ(response->FalloEjecutor, log.substr(at, log.find("\r\n", at) - at)) << scenario;
    EXPECT_TRUE(std::filesystem::is_empty(f.folder.Path("Recibidos"))) << scenario;
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
    EXPECT_TRUE(f.LogHas("CExecutor.ConectarServicio:(-2147467259)Se rechaza pasar de https a http: " + sim.WsdlUrl() + " *")) << f.Log();
  }
  EXPECT_EQ(plain.Records().size(), 0u);
}

// Another process holding the folder locks for 20 s costs a dispensation its lock waits, never
// more than the time-out and two seconds, and none of its trail: the record is whole once the
// lock is let go.
TEST(Road, FolderLocksHeldElsewhereDoNotHoldTheTill) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim, "3"));
  CInterface iface;
  auto holder = testing::HoldFolderLocks({f.folder.Root(), f.folder.Path("Auditoria")});
  auto request = CompleteRequest();
  const auto start = std::chrono::steady_clock::now();
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3 + 2));
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_EQ(f.Log().find("CAuditor.Save:(70)"), std::string::npos) << f.Log();
  holder.reset();
  std::optional<std::string> record;
  ASSERT_TRUE(audit::ReadTrailSection(f.folder.Path("Auditoria/audit.log"), "RX001", record) && record.has_value());
  EXPECT_NE(record->find("PETICION_GENERADA=Si"), std::string::npos) << *record;
  EXPECT_NE(record->find("RESPUESTA_GENERADA="), std::string::npos) << *record;
}

// A desktop till as installed: the viewer variable unset, xdg-open on PATH, DISPLAY set. The
// printed batch reaches the service and the viewer gets the receipt; with no HOME (a till run as
// a service), a viewer that does not exist, or no fonts folder at all, the batch still goes and
// the printing failure is in Errores.
TEST(Road, APrintedBatchIsSentWhateverThePrintingSideDoes) {
  SimulatorProcess sim;
  struct Case {
    const char* name;
    const char* viewer;  // VELMORA_PDF_VIEWER; nullptr: unset
    bool home, accountHome;
    std::string errors, logged;
  };
  size_t sent = 0;
  for (const Case& c : {Case{"desktop", nullptr, true, true, "", ""}, Case{"service", nullptr, false, true, "", ""},
                        Case{"no viewer", "no-such-viewer", true, true, "53 ", "cPDF.Show:(53)No se encontró el archivo"},
                        Case{"no fonts folder", nullptr, false, false, "-2147221503 ", "CInterface.SolicitudDispensaciones:(-2147221503)No se ha podido determinar el directorio de fuentes del sistema."}}) {
    InterfaceFixture f(Ini(sim));
    f.folder.Write("xdg-open", "#!/bin/sh\necho \"$@\" >> " + f.folder.Path("viewed.txt") + "\n");
    chmod(f.folder.Path("xdg-open").c_str(), 0700);
    const std::string path = getenv("PATH"), home = getenv("HOME") ? getenv("HOME") : "", data = getenv("XDG_DATA_HOME");
    setenv("PATH", (f.folder.Root() + ":" + path).c_str(), 1);
    c.viewer ? setenv("VELMORA_PDF_VIEWER", c.viewer, 1) : unsetenv("VELMORA_PDF_VIEWER");
    setenv("DISPLAY", ":0", 1);
    if (!c.home) unsetenv("HOME"), unsetenv("XDG_DATA_HOME");
    if (!c.accountHome) os::SetAccountHomeForTesting([] { return std::string(); });
    CInterface iface;
    Finish finish(iface);
    CListadoDispensaciones list;
    auto request = CompleteRequest();
    ASSERT_TRUE(list.aniadirDispensacion(request));
    auto response = iface.SolicitudDispensaciones(list, true);
    testing::TestFonts().PinAccountHome();
    setenv("PATH", path.c_str(), 1), setenv("HOME", home.c_str(), 1), setenv("XDG_DATA_HOME", data.c_str(), 1);
    setenv("VELMORA_PDF_VIEWER", "", 1), unsetenv("DISPLAY");
    EXPECT_TRUE(response->DatosValidos) << c.name;
    EXPECT_EQ(finish.type, rspReceived) << c.name;
    EXPECT_EQ(sim.Records().size(), ++sent) << c.name;
    EXPECT_EQ(ErrorNumbers(iface.Errores()), c.errors) << c.name;
    EXPECT_TRUE(c.logged.empty() || f.LogHas(c.logged)) << c.name << "\n" << f.Log();
    const bool viewed = testing::WaitFor(
        [&] { return f.folder.Read("viewed.txt") == f.folder.Path("velmora.pdf") + "\n"; }, std::chrono::seconds(c.errors.empty() ? 10 : 0));
    EXPECT_EQ(viewed, c.errors.empty()) << c.name << ": " << f.folder.Read("viewed.txt");
  }
}

// The children of this process as pid and state ('Z': ended, never reaped), by command name.
std::vector<std::pair<int, char>> Children(const std::string& comm) {
  std::vector<std::pair<int, char>> children;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream in(entry.path() / "stat");
    std::string stat;
    if (!std::getline(in, stat)) continue;
    const size_t open = stat.find('('), close = stat.rfind(')');
    if (close == std::string::npos || stat.substr(open + 1, close - open - 1) != comm) continue;
    std::istringstream rest(stat.substr(close + 2));
    char state = 0;
    long ppid = 0;
    rest >> state >> ppid;
    if (ppid == getpid()) children.emplace_back(std::stoi(entry.path().filename()), state);
  }
  return children;
}

int ZombieChildren() {
  int zombies = 0;
  for (auto [pid, state] : Children("executor.exe")) zombies += state == 'Z';
  return zombies;
}

TEST(Road, LateAnswerWithADefaultFileGivesTheDefaultThenGoesAside) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim, "1"));
  f.folder.Write("defrespo.xml",
                 "<RespuestaPeticion><NAvisos>1</NAvisos><codigoAviso><i>7777</i></codigoAviso></RespuestaPeticion>");
  CInterface iface;
  Finish finish(iface);
  auto response = Dispense(iface, "sim:slow-3");
  EXPECT_EQ(finish.type, rspDefault);
  EXPECT_EQ(*response->m_colCodigoAviso.Item(1), "7777");
  EXPECT_TRUE(testing::WaitFor([&] { return f.Exists("Retrasados/RX001.xml"); }, std::chrono::seconds(20)));
  EXPECT_EQ(ini::ReadProfileString(f.folder.Path("Auditoria/audit.log"), "RX001", "RESPUESTA_GENERADA"), "xml");
}

TEST(Road, ShellMetacharactersInTheIdentifierRunNothingButTheExecutor) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  CInterface iface;
  Finish finish(iface);
  // The id travels as one argument, blanks and all; the rest is only text.
  auto response = Dispense(iface, "654321", [](auto& r) { r.IDPrescripcion = "RX;$(touch m1)`touch m2`|touch m3>m4 & x"; });
  EXPECT_EQ(finish.type, rspReceived);
  EXPECT_TRUE(response->DispensacionRealizada());
  for (const char* marker : {"m1", "m2", "m3", "m4"}) {
    EXPECT_FALSE(f.Exists(marker)) << marker;
    EXPECT_FALSE(std::filesystem::exists(marker)) << marker;
  }
  const auto records = sim.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_NE(SimulatorProcess::Field(records[0], "body").find("RX;$(touch m1)`touch m2`|touch m3&gt;m4 &amp; x<"), std::string::npos) << records[0];
}

TEST(Road, AnAnswerIsTakenAsSoonAsItIsMarkedAndNoExecutorIsLeftAZombie) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim, "30"));
  CInterface iface;
  const auto start = std::chrono::steady_clock::now();
  auto response = Dispense(iface, "sim:slow-1");
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(response->DispensacionRealizada());
  // The service answers after a second; a wait that only looked again a whole second later would
  // take two or more. The folder watch wakes the wait when the mark is set.
  EXPECT_LT(took, std::chrono::milliseconds(1900));
  EXPECT_TRUE(testing::WaitFor([] { return ZombieChildren() == 0; }, std::chrono::seconds(10)));
}

// The clock is fixed: both stamps fall in one second.
TEST(Counter, TwoBlankIdsInOneSecondGetTwoIdsAndTheirOwnVerdicts) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  struct Till {
    std::string scenario, id;
    bool done = false;
  } tills[] = {{"sim:rejected", {}}, {"sim:accepted", {}}};
  std::vector<std::thread> threads;
  for (Till& till : tills)
    threads.emplace_back([&till] {
      CInterface iface;
      auto request = CompleteRequest();
      request.IDPrescripcion = "";
      request.CodigoDispensado = till.scenario;
      till.done = iface.SolicitudDispensacion(request)->DispensacionRealizada();
      till.id = request.IDPrescripcion;
    });
  for (auto& t : threads) t.join();
  EXPECT_NE(tills[0].id, tills[1].id);
  EXPECT_EQ(tills[0].id.rfind("ITPF148F1U1T12402030905", 0), 0u);
  EXPECT_FALSE(tills[0].done);
  EXPECT_TRUE(tills[1].done);
  EXPECT_EQ(sim.Records().size(), 2u);
}

TEST(Counter, PaddedIdsAreSentOnceWithTheirExactId) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  // Another prescription's request left behind, named as the padded id cut at its blank.
  auto leftover = CompleteRequest();
  leftover.CodigoDispensado = "leftover";
  ASSERT_TRUE(leftover.ToXMLFile(f.folder.Path("Enviados/RX001.xml")));
  CInterface iface;
  for (const char* id : {"RX001 ", "RX  002"})
    EXPECT_TRUE(Dispense(iface, "654321", [&](auto& r) { r.IDPrescripcion = id; })->DispensacionRealizada()) << id;
  const auto records = sim.Records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_NE(SimulatorProcess::Field(records[0], "body").find("<idPrescripcion>RX001 </idPrescripcion>"), std::string::npos);
  EXPECT_NE(SimulatorProcess::Field(records[1], "body").find("<idPrescripcion>RX  002</idPrescripcion>"), std::string::npos);
}

TEST(Counter, RelativeHomeWithABlankWorks) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::create_directory(f.folder.Path("con blanco"));
  f.folder.Write("con blanco/velmora.ini", f.folder.Read("velmora.ini"));
  std::filesystem::create_symlink(VELMORA_EXECUTOR, f.folder.Path("con blanco/executor.exe"));
  std::filesystem::current_path(f.folder.Root());
  setenv("VELMORA_HOME", "con blanco", 1);
  {
    CInterface iface;
    EXPECT_TRUE(Dispense(iface, "654321")->DispensacionRealizada());
    EXPECT_EQ(ErrorNumbers(iface.Errores()), "");
  }
  std::filesystem::current_path(previous);
  EXPECT_TRUE(f.Exists("con blanco/Auditoria/audit.log"));
}

// The refused service's fallback is the one a time-out gives, without the time-out. The late
// answer of the time-out ends aside, not waiting in Recibidos.
TEST(Counter, RefusedServiceAnswersAtOnceWithTheTimeOutsFallback) {
  SimulatorProcess sim;
  std::string atTimeOut;
  {
    InterfaceFixture f(Ini(sim, "1"));
    CInterface iface;
    atTimeOut = Dispense(iface, "sim:slow-2")->ToString(false);
    EXPECT_TRUE(testing::WaitFor([&] { return f.Exists("Retrasados/RX001.xml"); }, std::chrono::seconds(20)));
    EXPECT_TRUE(testing::WaitFor([&] { return !f.Exists("Recibidos/RX001.xml"); }, std::chrono::seconds(5)));
  }
  InterfaceFixture f;  // the ini names a port that refuses, with PeticionTimeOut=5
  CInterface iface;
  Finish finish(iface);
  const auto start = std::chrono::steady_clock::now();
  auto response = Dispense(iface, "654321");
  // A tenth of the five seconds a time-out would take (about 60 ms here, under sanitizers).
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(finish.type, rspInternal);
  EXPECT_EQ(response->ToString(false), atTimeOut);
  const std::string log = f.Log();
  const std::string line = "CInterface.WaitResponse: executor.exe ha terminado sin dejar respuesta";
  EXPECT_TRUE(f.LogHas(line + " --> " + f.folder.Path("Recibidos/RX001.xml")));
  EXPECT_EQ(log.find(line), log.rfind(line));
}

TEST(Counter, NoPasswordInTheTrace) {
  SimulatorProcess sim;
  std::string ini = testing::IniWith("GenerarTrace", "1");
  ini.replace(ini.find("Servicio=http://127.0.0.1:1/dispensacion?wsdl"), 45, "Servicio=" + sim.WsdlUrl());
  ini.replace(ini.find("UtilizarProxy=0"), 15, "UtilizarProxy=1\r\nUsarProxy=0\r\nPuerto=1\r\nPassword=proxy-secreta");
  InterfaceFixture f(ini);
  CInterface iface;
  EXPECT_TRUE(Dispense(iface, "654321", [](auto& r) { r.ClaveUsuario = "clave-secreta"; })->DispensacionRealizada());
  const std::string trace = f.Trace();
  EXPECT_NE(trace.find("CPeticionDispensacion.ToString"), std::string::npos);
  EXPECT_NE(trace.find("<claveUsuario >********</claveUsuario>"), std::string::npos);
  EXPECT_EQ(trace.find("secreta"), std::string::npos);
}

// The host holds an inheritable file, ignores SIGUSR1 and blocks SIGUSR2; the executor, looked at
// while it waits on the service, has none of it.
TEST(Counter, ExecutorGetsOnlyStandardStreamsAndDefaultSignals) {
  SimulatorProcess sim;
  InterfaceFixture f(Ini(sim));
  const int hostFile = open(f.folder.Path("host-only").c_str(), O_CREAT | O_RDWR, 0600);
  sighandler_t previous = signal(SIGUSR1, SIG_IGN);
  sigset_t usr2, mask;
  sigemptyset(&usr2);
  sigaddset(&usr2, SIGUSR2);
  pthread_sigmask(SIG_BLOCK, &usr2, &mask);
  CInterface iface;
  std::map<int, std::string> fds;
  std::string status;
  iface.OnIdle = [&] {
    const auto children = Children("executor.exe");
    if (!status.empty() || children.empty()) return;
    const std::string proc = "/proc/" + std::to_string(children[0].first);
    try {
      for (const auto& fd : std::filesystem::directory_iterator(proc + "/fd"))
        fds[std::stoi(fd.path().filename())] = std::filesystem::read_symlink(fd.path()).string();
    } catch (const std::filesystem::filesystem_error&) {
      fds.clear();  // a descriptor the executor closed while it was listed: look again next pass
      return;
    }
    std::ifstream in(proc + "/status");
    status.assign(std::istreambuf_iterator<char>(in), {});
  };
  Dispense(iface, "sim:slow-1");
  signal(SIGUSR1, previous);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  close(hostFile);
  for (int fd : {0, 1, 2}) EXPECT_EQ(fds[fd], "/dev/null") << fd;
  for (const auto& [fd, target] : fds) EXPECT_EQ(target.find("host-only"), std::string::npos) << fd;
  auto bit = [&](const std::string& key, int sig) {
    return std::stoull(status.substr(status.find(key + ":\t") + key.size() + 2, 16), nullptr, 16) >> (sig - 1) & 1;
  };
  ASSERT_FALSE(status.empty());
  EXPECT_EQ(bit("SigIgn", SIGUSR1), 0u);
  EXPECT_EQ(bit("SigBlk", SIGUSR2), 0u);
}

// What comes from the service is bounded, on one line in the log, and valid UTF-8 for the host;
// markup travels as text both ways (a password holding "&" and "<" goes out as one escaped
// value, a reason that would read as an acceptance if written raw keeps the rejection); an
// answer left over for the id is never taken for the new request's.
TEST(Counter, ServiceTextsAndStaleAnswers) {
  SimulatorProcess sim;
  {
    InterfaceFixture f(Ini(sim));
    CInterface iface;
    auto response = Dispense(iface, "sim:markup", [](auto& r) { r.ClaveUsuario = "a&b<c>"; });
    EXPECT_EQ(ErrorNumbers(iface.Errores()), "");
    EXPECT_FALSE(response->DispensacionRealizada());
    ASSERT_EQ(response->m_colTextoMotivosRechazo.Count(), 1u);
    EXPECT_EQ(response->m_colTextoMotivosRechazo.Item(1)->rfind("Receta <b>anulada</b> & bloqueada</SOAP-ENC:", 0), 0u);
    EXPECT_NE(SimulatorProcess::Field(sim.Records().at(0), "body").find("<claveUsuario>a&amp;b&lt;c&gt;</claveUsuario>"),
              std::string::npos);
  }
  {
    InterfaceFixture f(Ini(sim));
    CInterface iface;
    Dispense(iface, "sim:fault-long");
    EXPECT_TRUE(f.LogHas("CExecutor.SolicitudDispensacion:(-2147467259)SOAP Fault: soapenv:Server - Error del servicio "
                         "2024/01/01 00:00:00 CExecutor.SolicitudDispensacion:Linea falsa xxx*"));
    for (const std::string& line : testing::Lines(f.Log())) {
      EXPECT_LT(line.size(), 1500u);
      EXPECT_NE(line.rfind("2024/01/01", 0), 0u) << line;
    }
  }
  {
    InterfaceFixture f(Ini(sim));
    CInterface iface;
    auto response = Dispense(iface, "sim:latin1");
    ASSERT_EQ(response->m_colTextoAviso.Count(), 2u);
    EXPECT_EQ(*response->m_colTextoAviso.Item(2), "Atención: envase próximo a caducar");
  }
  {
    InterfaceFixture f(Ini(sim));
    f.folder.Write("Recibidos/RX001.xml", "<RespuestaPeticion><codigoAviso><i>0000</i></codigoAviso></RespuestaPeticion>");
    os::SetAttributes(f.folder.Path("Recibidos/RX001.xml"), os::kAttrHidden, "t");
    CInterface iface;
    EXPECT_FALSE(Dispense(iface, "sim:rejected")->DispensacionRealizada());
    EXPECT_TRUE(f.Exists("Retrasados/RX001.xml"));
  }
}

}  // namespace
}  // namespace velmora
