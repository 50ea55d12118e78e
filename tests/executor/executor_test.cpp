// CExecutor in this process: start-up, getters, connection and the request's early failures.
#include "velmora/executor.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/test_support.h"
#include "support/test_processes.h"

namespace velmora::testing {
namespace {

// Each test runs on a thread of its own: the library's shared objects are per thread, so a
// fresh thread starts from a clean log, error list and audit trail.
void InFreshThread(const std::function<void()>& body) { std::thread(body).join(); }

std::string IniFor(const std::string& wsdl, const std::string& guardar = "0") {
  std::string ini = RuntimeFolder::DefaultIni();
  ini.replace(ini.find("http://127.0.0.1:1/dispensacion?wsdl"), 37, wsdl);
  ini.replace(ini.find("GuardarPeticionSOAP=0"), 21, "GuardarPeticionSOAP=" + guardar);
  return ini;
}

TEST(Executor, WithoutIniItIsDisabledAndEveryRequestFails) {
  InFreshThread([] {
    RuntimeFolder folder("");
    CExecutor executor;
    EXPECT_FALSE(executor.Enabled());
    EXPECT_FALSE(executor.SolicitudDispensacion("RX1"));
    EXPECT_FALSE(executor.SolicitudDispensaciones("MD__RX1"));
    std::string log = folder.Read("velmora.log");
    EXPECT_TRUE(HasLine(log, "CExecutor.Class_Initialize:(32001)No se puede leer la información del archivo de "
                         "inicialización (.ini)"));
    EXPECT_TRUE(HasLine(log, "CExecutor.SolicitudDispensaciones:(32005)La interfaz Velmora no está activa. Posiblemente "
                         "no se han cargado los daos del archivo de inicialización correctamente"));
    ASSERT_GE(executor.Errores().Errores().Count(), 1u);
    const CErrorItem* last = executor.Errores().Errores().Item(executor.Errores().Errores().Count());
    EXPECT_EQ(last->Number, 32005);
    EXPECT_EQ(last->Source, "CExecutor.SolicitudDispensaciones");
  });
}

TEST(Executor, ConnectsOnceAndRaisesItsEvents) {
  SimulatorProcess sim;
  InFreshThread([&] {
    RuntimeFolder folder(IniFor(sim.WsdlUrl()));
    CExecutor executor;
    executor.IDPrescripcion("RX8");
    int connected = 0, started = 0, finished = 0;
    executor.AlConectar = [&] { ++connected; };
    executor.AlIniciarSolicitudDispensacion = [&] { ++started; };
    executor.AlTerminarSolicitudDispensacion = [&] { ++finished; };
    EXPECT_TRUE(executor.ConectarServicio());
    EXPECT_TRUE(executor.ConectarServicio());
    EXPECT_EQ(connected, 1);
    EXPECT_TRUE(HasLine(folder.Read("velmora.log"), "RX8 CExecutor.ConectarServicio:El servicio ya está conectado"));

    // A missing request file: no call is made and nothing counts as sent.
    EXPECT_FALSE(executor.SolicitudDispensacion("RX8"));
    EXPECT_FALSE(executor.DatosEnviados());
    EXPECT_EQ(started, 1);
    EXPECT_EQ(finished, 0);
    EXPECT_TRUE(sim.Records().empty());

    folder.Write("Enviados/RX8.xml", "<PeticionDispensacion><codigoDispensado>sim:accepted</codigoDispensado>"
                                     "</PeticionDispensacion>");
    EXPECT_TRUE(executor.SolicitudDispensacion("RX8"));
    EXPECT_TRUE(executor.DatosEnviados());
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(connected, 1);  // the connection is kept for the object's life
  });
}

TEST(Executor, BadProxySectionFailsTheConnection) {
  InFreshThread([] {
    std::string ini = IniFor("http://127.0.0.1:1/x?wsdl");
    ini.replace(ini.find("UtilizarProxy=0"), 15, "UtilizarProxy=si");
    RuntimeFolder folder(ini);
    CExecutor executor;
    EXPECT_FALSE(executor.ConectarServicio());
    EXPECT_FALSE(executor.Conectado());
    EXPECT_TRUE(HasLine(folder.Read("velmora.log"), "CExecutor.ConectarServicio:(13)No coinciden los tipos"));
  });
}

}  // namespace
}  // namespace velmora::testing
