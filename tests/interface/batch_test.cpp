#include <gtest/gtest.h>

#include <filesystem>

#include "interface/interface_fixture.h"
#include "os/attributes.h"
#include "velmora/interface.h"

namespace velmora {
namespace {

using testing::CompleteRequest;
using testing::ErrorNumbers;
using testing::IniWith;
using testing::InterfaceFixture;

TEST(Batch, EmptyListIsPrintedThenRefused) {
  InterfaceFixture f;
  setenv("VELMORA_PDF_VIEWER", "", 1);
  CInterface iface;
  CListadoDispensaciones list;
  auto response = iface.SolicitudDispensaciones(list, true);
  EXPECT_FALSE(response->DatosValidos);
  EXPECT_TRUE(f.Exists("velmora.pdf"));
  EXPECT_TRUE(f.LogHas("CInterface.SolicitudDispensaciones:(32014)No hay dispensaciones para dispensar"));
  ASSERT_GE(response->ResultadoDispensacion().Count(), 1u);
  EXPECT_EQ(response->ResultadoDispensacion().Item(1)->Codigo, "99999");
}

TEST(Batch, IdentifierFilesAndStaleAnswer) {
  InterfaceFixture f(IniWith("PeticionTimeOut", "30"));  // the executor's failure ends the wait
  CInterface iface;
  std::string started;
  iface.AlIniciarSolicitudDispensacion = [&](const std::string& id) { started = id; };
  CListadoDispensaciones list;
  auto request = CompleteRequest();
  request.IDPrescripcion = "123";
  ASSERT_TRUE(list.aniadirDispensacion(request));
  // An answer left over from an earlier batch with the same first item: put aside, never taken.
  f.folder.Write("Recibidos/MD__123.xml", "<RespuestaPeticion><ResultResp>0</ResultResp></RespuestaPeticion>");
  std::filesystem::create_directory(f.folder.Path("Recibidos/.MD__123.fallo"));
  f.folder.Write("Recibidos/.MD__123.fallo/causa", "(1) de un lote anterior");
  auto response = iface.SolicitudDispensaciones(list);
  EXPECT_EQ(started, "MD__123");
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_EQ(response->TipoRespuesta, rspInternal);
  EXPECT_FALSE(response->DispensacionRealizada());
  EXPECT_TRUE(f.Exists("Retrasados/MD__123.xml"));
  EXPECT_EQ(response->FalloEjecutor.rfind("(-2147467259) ", 0), 0u) << response->FalloEjecutor;
  EXPECT_TRUE(std::filesystem::is_empty(f.folder.Path("Recibidos")));
  EXPECT_TRUE(f.LogHas("CInterface.SolicitudDispensaciones:MakeAuditor " + f.folder.Path("Auditoria/")));
}

TEST(Batch, DefaultArchiveIsTestedButDefaultFileIsRead) {
  InterfaceFixture f(IniWith("PeticionTimeOut", "1"));
  f.folder.Write("defaultResp.xml", "<RespuestaPeticion><ResultResp>1</ResultResp></RespuestaPeticion>");
  f.folder.Write("defrespo.xml", "<RespuestaPeticion><ResultResp>0</ResultResp></RespuestaPeticion>");
  CInterface iface;
  CListadoDispensaciones list;
  auto request = CompleteRequest();
  ASSERT_TRUE(list.aniadirDispensacion(request));
  auto response = iface.SolicitudDispensaciones(list);
  EXPECT_EQ(response->TipoRespuesta, rspDefault);
  EXPECT_TRUE(response->DispensacionRealizada());  // read from defrespo.xml
}

TEST(Batch, HiddenAnswerArrivesAndLosesItsMark) {
  InterfaceFixture f(IniWith("EliminarXMLRespuesta", "0"));
  CInterface iface;
  CListadoDispensaciones list;
  auto request = CompleteRequest();
  ASSERT_TRUE(list.aniadirDispensacion(request));
  const std::string id = "MD__RX001";
  f.AnswerDuringTheWait(iface, id,
                        "<RespuestaPeticion><ResultResp>1</ResultResp><Respuestas><P70ItemRespuestaPeticionDispensacion>"
                        "<CodResp>7</CodResp><DescResp>Rechazada</DescResp><CodDisp>654321</CodDisp><TipResp>E</TipResp>"
                        "</P70ItemRespuestaPeticionDispensacion></Respuestas></RespuestaPeticion>",
                        true);
  auto response = iface.SolicitudDispensaciones(list);
  EXPECT_TRUE(response->DatosValidos);
  EXPECT_FALSE(response->DispensacionRealizada());
  ASSERT_EQ(response->ResultadoDispensacion().Count(), 1u);
  EXPECT_EQ(response->ResultadoDispensacion().Item(1)->Description, "Rechazada");
  EXPECT_EQ(os::GetAttributes(f.folder.Path("Recibidos/" + id + ".xml"), "t"), os::kAttrArchive);
  EXPECT_EQ(ErrorNumbers(iface.Errores()), "");
}

}  // namespace
}  // namespace velmora
