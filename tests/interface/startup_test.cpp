#include <gtest/gtest.h>

#include "interface/interface_fixture.h"
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
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07  Iniciando la clase CInterface"));
  EXPECT_TRUE(f.LogHas("2024/02/03 09:05:07 Se cargó correctamente la configuración del archivo " + f.folder.Root() +
                       "velmora.ini"));
}

TEST(InterfaceStartup, MissingIniLeavesTheObjectDisabled) {
  InterfaceFixture f("");
  bool raised = false;
  CInterface iface;
  iface.AlConectar = [&] { raised = true; };
  iface.AlTerminarLeerIni = [&] { raised = true; };
  EXPECT_FALSE(iface.Enabled());
  EXPECT_TRUE(f.LogHas("CInterface.Class_Initialize:(32001)No se puede leer la información del archivo de "
                       "inicialización (.ini)"));
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
  EXPECT_EQ(f.Log().find("Recuperado el valor"), std::string::npos);
  EXPECT_EQ(f.Log().find("Se cargó correctamente"), std::string::npos);
  EXPECT_TRUE(testing::HasLine(f.Trace(), "OUT\tCInterface.Class_Initialize\t\t"));
  EXPECT_TRUE(testing::HasLine(f.Trace(), "IN \tCInterface.Class_Terminate\t\t"));
  core::ThreadContext().TraceLog.Flags = 0;
}

}  // namespace
}  // namespace velmora
