#include <gtest/gtest.h>

#include "messages_fixture.h"
#include "os/files.h"
#include "xml/xml.h"
#include "velmora/messages.h"

namespace velmora::testing {
namespace {

class ListadoTest : public MessagesTest {
 protected:
  static CPeticionDispensacion Request(const std::string& id) {
    CPeticionDispensacion p;
    p.Importe = "10", p.ImporteAportacion = "1", p.IdFarmacia = "F1", p.FechaDispensacion = "03/02/2024";
    p.IDPrescripcion = id, p.Idioma = "es", p.IdUsuario = "U", p.IdFarmaceutico = "FA", p.ClaveUsuario = "K";
    p.EnvasesDispensados = "1", p.NumeroReceta = "NR-own", p.IdProvincia = "48", p.CodigoDispensado = "C1", p.Tis = "T";
    p.Lector = "READ1", p.NombrePaciente = "Paciente", p.NombreMedicamento = "Medicamento", p.NecesitaVisado = "S";
    return p;
  }
};

TEST_F(ListadoTest, TheCopyCarriesTheReaderAsItsPrescriptionNumber) {
  CListadoDispensaciones batch;
  CPeticionDispensacion p = Request("RX1");
  p.CodigoColegiadoPrescriptor = "CP", p.FechaPrescripcion = "01/01/2024", p.FormulaMagistral = "FM";
  p.RegimenReceta = Pensionista, p.TipoPrescripcion = Principio_Activo, p.SaveSOAPMsgToFile = true;
  ASSERT_TRUE(batch.aniadirDispensacion(p));
  const CPeticionDispensacion& c = *batch.Dispensaciones().Item(1);
  EXPECT_EQ(c.NumeroReceta, "READ1");
  EXPECT_EQ(c.Lector, "");
  EXPECT_EQ(c.NecesitaVisado, "");
  EXPECT_FALSE(c.SaveSOAPMsgToFile);
  using S = std::string CPeticionDispensacion::*;
  for (S m : {&CPeticionDispensacion::IDPrescripcion, &CPeticionDispensacion::ClaveUsuario,
              &CPeticionDispensacion::CodigoColegiadoPrescriptor, &CPeticionDispensacion::CodigoDispensado,
              &CPeticionDispensacion::EnvasesDispensados, &CPeticionDispensacion::FechaDispensacion,
              &CPeticionDispensacion::FechaPrescripcion, &CPeticionDispensacion::FormulaMagistral,
              &CPeticionDispensacion::IdFarmaceutico, &CPeticionDispensacion::IdFarmacia, &CPeticionDispensacion::Idioma,
              &CPeticionDispensacion::IdProvincia, &CPeticionDispensacion::IdUsuario, &CPeticionDispensacion::Importe,
              &CPeticionDispensacion::ImporteAportacion, &CPeticionDispensacion::Tis,
              &CPeticionDispensacion::NombrePaciente, &CPeticionDispensacion::NombreMedicamento})
    EXPECT_EQ(c.*m, p.*m);
  EXPECT_EQ(c.RegimenReceta, Pensionista);
  EXPECT_EQ(c.TipoPrescripcion, Principio_Activo);

  // An empty reader gives an empty prescription number, whatever the request's own was.
  CPeticionDispensacion q = Request("RX2");
  q.Lector = "";
  ASSERT_TRUE(batch.aniadirDispensacion(q));
  EXPECT_EQ(batch.Dispensaciones().Item(2)->NumeroReceta, "");

  // Adding the same object again gives another copy, untouched by later changes to the object.
  ASSERT_TRUE(batch.aniadirDispensacion(p));
  p.Importe = "changed";
  EXPECT_NE(batch.Dispensaciones().Item(1), batch.Dispensaciones().Item(3));
  EXPECT_EQ(batch.Dispensaciones().Item(1)->Importe, "10");
  EXPECT_EQ(batch.Dispensaciones().Item(3)->Importe, "10");
}

TEST_F(ListadoTest, IncompleteRequestIsNotAddedAndGives32002) {
  CListadoDispensaciones batch;
  CPeticionDispensacion p = Request("RX1");
  p.ClaveUsuario = "";
  EXPECT_FALSE(batch.aniadirDispensacion(p));
  EXPECT_EQ(batch.Dispensaciones().Count(), 0u);
  EXPECT_EQ(LastErrorNumber(), 32002);
  EXPECT_EQ(LastError()->Source, "CListadoDispensaciones.añadirDispensacion");
  EXPECT_EQ(LastError()->Description, "Inicialice los campos obligatorios");
}

TEST_F(ListadoTest, BatchBodyTakesPharmacyAndUserFromTheFirstItem) {
  CListadoDispensaciones batch;
  CPeticionDispensacion a = Request("RX1");
  CPeticionDispensacion b = Request("ITPB");
  b.IdFarmacia = "F2", b.Lector = "READ2", b.TipoPrescripcion = Efectos_Y_Accesorios;
  ASSERT_TRUE(batch.aniadirDispensacion(a));
  ASSERT_TRUE(batch.aniadirDispensacion(b));
  const std::string expected =
      "<PeticionDispensacion " + kEsquema + "> "
      "<codFarmacia >F1</codFarmacia>\r\n<idioma >es</idioma>\r\n<idUsuario >U</idUsuario>\r\n"
      "<idFarmaceutico >FA</idFarmaceutico>\r\n<claveUsuario >K</claveUsuario>\r\n<codProvincia >48</codProvincia>\r\n"
      "<dispensaciones >\r\n"
      "<P70ItemPeticionDispensacion><importe >10</importe>\r\n<importeAportacion >1</importeAportacion>\r\n"
      "<fechaDispensacion >20240203</fechaDispensacion>\r\n<envasesDispensados >1</envasesDispensados>\r\n"
      "<numeroReceta >READ1</numeroReceta>\r\n<codigoDispensado >C1</codigoDispensado>\r\n"
      "<idPrescripcion >RX1</idPrescripcion>\r\n</P70ItemPeticionDispensacion>\r\n"
      "<P70ItemPeticionDispensacion><importe >10</importe>\r\n<importeAportacion >1</importeAportacion>\r\n"
      "<fechaDispensacion >20240203</fechaDispensacion>\r\n<envasesDispensados >1</envasesDispensados>\r\n"
      "<numeroReceta >READ2</numeroReceta>\r\n<codigoDispensado >C1</codigoDispensado>\r\n"
      "<idPrescripcion ></idPrescripcion>\r\n<codColegiadoPrescriptor ></codColegiadoPrescriptor>\r\n"
      "<fechaPrescripcion ></fechaPrescripcion>\r\n<TIS >T</TIS>\r\n<nombreFormula ></nombreFormula>\r\n"
      "<tipoPrescripcion >5</tipoPrescripcion>\r\n</P70ItemPeticionDispensacion>\r\n"
      "</dispensaciones>\r\n</PeticionDispensacion>\r\n";
  EXPECT_EQ(batch.ToString(false), expected);
  EXPECT_EQ(batch.ToString(), expected);
  const std::string env = batch.ToString(true);
  EXPECT_EQ(env.rfind("<?xml version='1.0' encoding='UTF-8'?><SOAP-ENV:Envelope ", 0), 0u);
  EXPECT_EQ(env.substr(env.size() - expected.size() - 20), expected + "</SOAP-ENV:Envelope>");

  const std::string path = folder.Path("Enviados/MD__RX1.xml");
  ASSERT_TRUE(batch.ToXMLFile(path));
  EXPECT_TRUE(LogHas("CListadoDispensaciones.ToXML:Generando archivo " + path + " con la petición de la dispensación"));
  xml::Document doc;
  ASSERT_TRUE(doc.Load(path));
  EXPECT_EQ(doc.ChildNodes().length(), 7u);
  EXPECT_FALSE(batch.FromXMLFile(path));
}

TEST_F(ListadoTest, EmptyBatchReports32014AndMarkupIsEscaped) {
  CListadoDispensaciones batch;
  CPeticionDispensacion p = Request("RX1");
  ASSERT_TRUE(batch.aniadirDispensacion(p));
  batch.ResetDispensacionesCol();
  EXPECT_EQ(batch.Dispensaciones().Count(), 0u);
  EXPECT_EQ(batch.ToString(false), "");
  EXPECT_EQ(LastErrorNumber(), 32014);
  EXPECT_EQ(LastError()->Description, "No hay dispensaciones para dispensar");
  EXPECT_EQ(LastError()->Source, "CInterface.SolicitudDispensaciones");
  const std::string path = folder.Path("Enviados/empty.xml");
  EXPECT_FALSE(batch.ToXMLFile(path));
  EXPECT_EQ(LastErrorNumber(), 32003);
  EXPECT_FALSE(os::PathExists(path));

  CPeticionDispensacion markup = Request("RX1");
  markup.Lector = "A&B";
  ASSERT_TRUE(batch.aniadirDispensacion(markup));
  ASSERT_TRUE(batch.ToXMLFile(path));
  EXPECT_NE(folder.Read("Enviados/empty.xml").find(">A&amp;B</numeroReceta>"), std::string::npos);
}

}  // namespace
}  // namespace velmora::testing
