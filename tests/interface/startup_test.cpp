#include <gtest/gtest.h>

#include "interface_fixture.h"
#include "velmora/interface.h"

namespace velmora {
namespace {

using testing::InterfaceFixture;
using testing::IniWith;

TEST(InterfaceStartup, LoadsTheConfigurationAndReportsIt) {
  InterfaceFixture f(IniWith("GuardarPeticionSOAP", "1"));
  CInterface iface;
  EXPECT_TRUE(iface.Enabled());
  EXPECT_EQ(iface.Opciones(), ifgSaveXMLSendedToFile);
  iface.Opciones(0);
  EXPECT_EQ(iface.Opciones(), 0);
  EXPECT_EQ(iface.OpcionesLog(), 3);
  EXPECT_EQ(iface.NombreServicio(), "http://127.0.0.1:1/dispensacion?wsdl");
  EXPECT_EQ(iface.NombreLog(), f.folder.Root() + "velmora.log");
  const std::string log = f.Log();
  EXPECT_NE(log.find("2024/02/03 09:05:07  Iniciando la clase CInterface\r\n"), std::string::npos);
  EXPECT_NE(log.find("2024/02/03 09:05:07 Se cargó correctamente la configuración del archivo " + f.folder.Root() +
                     "velmora.ini\r\n"),
            std::string::npos);
}

TEST(InterfaceStartup, MissingIniLeavesTheObjectDisabled) {
  InterfaceFixture f("");
  bool raised = false;
  CInterface iface;
  iface.AlConectar = [&] { raised = true; };
  iface.AlTerminarLeerIni = [&] { raised = true; };
  EXPECT_FALSE(iface.Enabled());
  EXPECT_TRUE(f.LogHas("CInterface.Class_Initialize:(32001)No se puede leer la información del archivo de "
                       "inicialización (.ini)\r\n"));
  auto request = testing::CompleteRequest();
  auto response = iface.SolicitudDispensacion(request);
  EXPECT_FALSE(response->DatosValidos);
  EXPECT_FALSE(raised);
  EXPECT_EQ(testing::ErrorNumbers(iface.Errores()), "13 32001 32005 32013 32001 ");
}

TEST(InterfaceStartup, SilentLogsAndTraceFlags) {
  std::string ini = IniWith("GenerarLog", "0");
  ini.replace(ini.find("GenerarTrace=0"), 14, "GenerarTrace=1");
  InterfaceFixture f(ini);
  {
    CInterface iface;
    EXPECT_EQ(iface.OpcionesLog(), 0);
    iface.NombreServicio();
  }
  EXPECT_FALSE(f.LogHas("Recuperado el valor"));
  EXPECT_FALSE(f.LogHas("Se cargó correctamente"));
  const std::string trace = f.folder.Read("velmora.txt");
  EXPECT_NE(trace.find("OUT\tCInterface.Class_Initialize\t\t"), std::string::npos);
  EXPECT_NE(trace.find("IN \tCInterface.Class_Terminate\t\t"), std::string::npos);
  core::ThreadContext().TraceLog.Flags = 0;
}

}  // namespace
}  // namespace velmora
