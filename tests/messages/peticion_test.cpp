#include <gtest/gtest.h>

#include <sys/stat.h>

#include <vector>

#include "fixture.h"
#include "platform/files.h"
#include "platform/xml/xml.h"
#include "velmora/messages.h"

namespace velmora::testing {
namespace {

class PeticionTest : public MessagesTest {
 protected:
  static CPeticionDispensacion Filled() {
    CPeticionDispensacion p;
    p.Importe = "12,50";
    p.ImporteAportacion = "1,25";
    p.IdFarmacia = "F1";
    p.FechaDispensacion = "03/02/2024";
    p.IDPrescripcion = "RX123";
    p.Idioma = "es";
    p.IdUsuario = "U";
    p.IdFarmaceutico = "FA";
    p.ClaveUsuario = "secreto";
    p.EnvasesDispensados = "2";
    p.NumeroReceta = "NR";
    p.IdProvincia = "48";
    p.CodigoDispensado = "654321";
    p.CodigoColegiadoPrescriptor = "CP";
    p.FechaPrescripcion = "2024-01-15";
    p.Tis = "T";
    p.FormulaMagistral = "FM";
    p.Lector = "LEC";
    return p;
  }
};

TEST_F(PeticionTest, StartsEmptyWithUnsetEnumerations) {
  CPeticionDispensacion p;
  EXPECT_EQ(p.Importe, "");
  EXPECT_EQ(p.IDPrescripcion, "");
  EXPECT_EQ(p.RegimenReceta, RegimenVacio);
  EXPECT_EQ(p.TipoPrescripcion, PrescripcionVacio);
  EXPECT_EQ(static_cast<int>(RegimenVacio), -1);
  EXPECT_EQ(static_cast<int>(Efectos_Y_Accesorios), 5);
  EXPECT_FALSE(p.SaveSOAPMsgToFile);
  EXPECT_FALSE(p.onEndTransformToXML);
}

TEST_F(PeticionTest, BodyOfAnOrdinaryIdentifier) {
  CPeticionDispensacion p = Filled();
  const std::string expected =
      "<PeticionDispensacion " + kEsquema + "> "
      "<importe >12,50</importe>\r\n"
      "<importeAportacion >1,25</importeAportacion>\r\n"
      "<codFarmacia >F1</codFarmacia>\r\n"
      "<fechaDispensacion >20240203</fechaDispensacion>\r\n"
      "<idioma >es</idioma>\r\n"
      "<idUsuario >U</idUsuario>\r\n"
      "<idFarmaceutico >FA</idFarmaceutico>\r\n"
      "<claveUsuario >secreto</claveUsuario>\r\n"
      "<envasesDispensados >2</envasesDispensados>\r\n"
      "<numeroReceta >NR</numeroReceta>\r\n"
      "<codProvincia >48</codProvincia>\r\n"
      "<codigoDispensado >654321</codigoDispensado>\r\n"
      "<idPrescripcion >RX123</idPrescripcion>\r\n"
      "</PeticionDispensacion>\r\n";
  EXPECT_EQ(p.ToString(false), expected);
  EXPECT_EQ(p.ToString(), expected);
}

TEST_F(PeticionTest, BodyOfAnItpIdentifierSendsThePrescriberAndAnEmptyIdentifier) {
  CPeticionDispensacion p = Filled();
  p.IDPrescripcion = "  ITP0001 ";
  p.TipoPrescripcion = Efectos_Y_Accesorios;
  const std::string expected =
      "<PeticionDispensacion " + kEsquema + "> "
      "<importe >12,50</importe>\r\n"
      "<importeAportacion >1,25</importeAportacion>\r\n"
      "<codFarmacia >F1</codFarmacia>\r\n"
      "<fechaDispensacion >20240203</fechaDispensacion>\r\n"
      "<idioma >es</idioma>\r\n"
      "<idUsuario >U</idUsuario>\r\n"
      "<idFarmaceutico >FA</idFarmaceutico>\r\n"
      "<claveUsuario >secreto</claveUsuario>\r\n"
      "<envasesDispensados >2</envasesDispensados>\r\n"
      "<numeroReceta >NR</numeroReceta>\r\n"
      "<codProvincia >48</codProvincia>\r\n"
      "<codigoDispensado >654321</codigoDispensado>\r\n"
      "<idPrescripcion ></idPrescripcion>\r\n"
      "<codColegiadoPrescriptor >CP</codColegiadoPrescriptor>\r\n"
      "<fechaPrescripcion >20240115</fechaPrescripcion>\r\n"
      "<TIS >T</TIS>\r\n"
      "<nombreFormula >FM</nombreFormula>\r\n"
      "<tipoPrescripcion >5</tipoPrescripcion>\r\n"
      "</PeticionDispensacion>\r\n";
  EXPECT_EQ(p.ToString(false), expected);

  p.RegimenReceta = Trabajador;
  EXPECT_NE(p.ToString(false).find("<regimenReceta >0</regimenReceta>\r\n<tipoPrescripcion >5</tipoPrescripcion>\r\n"),
            std::string::npos);
}

TEST_F(PeticionTest, LowerCaseItpIsAnOrdinaryIdentifier) {
  CPeticionDispensacion p = Filled();
  p.IDPrescripcion = "itp0001 ";
  const std::string body = p.ToString(false);
  EXPECT_NE(body.find("<idPrescripcion >itp0001 </idPrescripcion>\r\n</PeticionDispensacion>"), std::string::npos);
  EXPECT_EQ(body.find("codColegiadoPrescriptor"), std::string::npos);
}

TEST_F(PeticionTest, EnvelopeHasTheHeaderAndTheFooterReplacedWhole) {
  CPeticionDispensacion p = Filled();
  const std::string header =
      "<?xml version='1.0' encoding='UTF-8'?>"
      "<SOAP-ENV:Envelope xmlns:SOAP-ENV='http://schemas.xmlsoap.org/soap/envelope/' "
      "xmlns:SOAP-ENC='http://schemas.xmlsoap.org/soap/encoding/' " +
      kEsquema +
      ">"
      "<SOAP-ENV:Body><ns0:solicitudDispensacion xmlns:ns0='urn:Dispensacion' "
      "SOAP-ENV:encodingStyle='http://schemas.xmlsoap.org/soap/encoding/'>"
      "<arg0 xsi:type='bean:PeticionDispensacion' xmlns:bean='java:dispensacion.ejb'>\r\n";
  EXPECT_EQ(p.ToString(true), header + p.ToString(false) + "</SOAP-ENV:Envelope>");
  const std::string env = p.ToString(true);
  EXPECT_EQ(env.substr(env.size() - 45), "</PeticionDispensacion>\r\n</SOAP-ENV:Envelope>");
}

TEST_F(PeticionTest, BatchItemForm) {
  CPeticionDispensacion p = Filled();
  EXPECT_EQ(p.ToStringNew(),
            "<P70ItemPeticionDispensacion>"
            "<importe >12,50</importe>\r\n"
            "<importeAportacion >1,25</importeAportacion>\r\n"
            "<fechaDispensacion >20240203</fechaDispensacion>\r\n"
            "<envasesDispensados >2</envasesDispensados>\r\n"
            "<numeroReceta >NR</numeroReceta>\r\n"
            "<codigoDispensado >654321</codigoDispensado>\r\n"
            "<idPrescripcion >RX123</idPrescripcion>\r\n"
            "</P70ItemPeticionDispensacion>");
  p.IDPrescripcion = "ITPX";
  p.RegimenReceta = Pensionista;
  const std::string itp = p.ToStringNew();
  EXPECT_EQ(itp.find("codFarmacia"), std::string::npos);
  EXPECT_EQ(itp.find("claveUsuario"), std::string::npos);
  EXPECT_NE(itp.find("<idPrescripcion ></idPrescripcion>\r\n<codColegiadoPrescriptor >CP"), std::string::npos);
  EXPECT_NE(itp.find("<regimenReceta >1</regimenReceta>\r\n</P70ItemPeticionDispensacion>"), std::string::npos);
}

TEST_F(PeticionTest, EmptyDateGivesAnEmptyElementButIsNotComplete) {
  CPeticionDispensacion p = Filled();
  p.FechaDispensacion = "";
  EXPECT_NE(p.ToString(false).find("<fechaDispensacion ></fechaDispensacion>\r\n"), std::string::npos);
  EXPECT_FALSE(p.IObject_RequiredFields());
  EXPECT_FALSE(LogHas("Parseando las fechas"));
}

TEST_F(PeticionTest, ParseDateRejectsWith32004AndLogs) {
  CPeticionDispensacion p;
  EXPECT_EQ(p.ParseDate(""), "");
  EXPECT_EQ(p.ParseDate("3 febrero 2024"), "20240203");
  EXPECT_TRUE(LogHas(" CPeticionDispensacion.ParseDate:Parseando las fechas\r\n"));
  EXPECT_EQ(ErrorCount(), 0u);
  EXPECT_EQ(p.ParseDate("31/02/2024"), "");
  EXPECT_EQ(LastErrorNumber(), 32004);
  EXPECT_EQ(LastError()->Source, "CPeticionDispensacion.ParseDate");
  EXPECT_EQ(LastError()->Description, "La fecha no es válida");
  EXPECT_TRUE(LogHas(" CPeticionDispensacion.ParseDate:(32004)La fecha no es válida\r\n"));
  EXPECT_EQ(p.ParseDate("20240203"), "");
  EXPECT_EQ(LastErrorNumber(), 32004);
}

TEST_F(PeticionTest, BadDateInTheBodyIsLoggedAndSentEmpty) {
  CPeticionDispensacion p = Filled();
  p.FechaDispensacion = "31/02/2024";
  EXPECT_NE(p.ToString(false).find("<fechaDispensacion ></fechaDispensacion>"), std::string::npos);
  EXPECT_EQ(LastErrorNumber(), 32004);
}

struct RequiredCase {
  const char* name;
  void (*change)(CPeticionDispensacion&);
  bool expected;
};

TEST_F(PeticionTest, RequiredFieldsTable) {
  const std::vector<RequiredCase> cases = {
      {"complete", [](CPeticionDispensacion&) {}, true},
      {"blank password counts as set", [](CPeticionDispensacion& p) { p.ClaveUsuario = " "; }, true},
      {"no password", [](CPeticionDispensacion& p) { p.ClaveUsuario = ""; }, false},
      {"no user", [](CPeticionDispensacion& p) { p.IdUsuario = ""; }, false},
      {"no language", [](CPeticionDispensacion& p) { p.Idioma = ""; }, false},
      {"no pharmacy", [](CPeticionDispensacion& p) { p.IdFarmacia = ""; }, false},
      {"no pharmacist", [](CPeticionDispensacion& p) { p.IdFarmaceutico = ""; }, false},
      {"no packages", [](CPeticionDispensacion& p) { p.EnvasesDispensados = ""; }, false},
      {"no price", [](CPeticionDispensacion& p) { p.Importe = ""; }, false},
      {"no contribution", [](CPeticionDispensacion& p) { p.ImporteAportacion = ""; }, false},
      {"no province", [](CPeticionDispensacion& p) { p.IdProvincia = ""; }, false},
      {"date not a date", [](CPeticionDispensacion& p) { p.FechaDispensacion = "31/02/2024"; }, false},
      {"date single number", [](CPeticionDispensacion& p) { p.FechaDispensacion = "20240203"; }, false},
      {"empty id, details missing", [](CPeticionDispensacion& p) { p.IDPrescripcion = "  "; }, false},
      {"empty id, details given",
       [](CPeticionDispensacion& p) {
         p.IDPrescripcion = "";
         p.RegimenReceta = Trabajador;
         p.TipoPrescripcion = Principio_Activo;
       },
       true},
      {"empty id, blank prescriber",
       [](CPeticionDispensacion& p) {
         p.IDPrescripcion = "";
         p.RegimenReceta = Trabajador;
         p.TipoPrescripcion = Principio_Activo;
         p.CodigoColegiadoPrescriptor = "  ";
       },
       false},
      {"empty id, bad prescription date",
       [](CPeticionDispensacion& p) {
         p.IDPrescripcion = "";
         p.RegimenReceta = Trabajador;
         p.TipoPrescripcion = Principio_Activo;
         p.FechaPrescripcion = "32/01/2024";
       },
       false},
      {"empty id, no regime",
       [](CPeticionDispensacion& p) {
         p.IDPrescripcion = "";
         p.TipoPrescripcion = Principio_Activo;
       },
       false},
      {"empty id, formula without name",
       [](CPeticionDispensacion& p) {
         p.IDPrescripcion = "";
         p.RegimenReceta = Pensionista;
         p.TipoPrescripcion = Formula_Magistral;
         p.FormulaMagistral = " ";
       },
       false},
      {"empty id, formula with name",
       [](CPeticionDispensacion& p) {
         p.IDPrescripcion = "";
         p.RegimenReceta = Pensionista;
         p.TipoPrescripcion = Formula_Magistral;
       },
       true},
      {"itp id needs no details", [](CPeticionDispensacion& p) { p.IDPrescripcion = "ITP1"; p.Tis = ""; }, true},
  };
  for (const auto& c : cases) {
    CPeticionDispensacion p = Filled();
    c.change(p);
    EXPECT_EQ(p.IObject_RequiredFields(), c.expected) << c.name;
    EXPECT_EQ(p.RequiredFields(), c.expected) << c.name;
  }
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_RequiredFields:Comprobando que todos los campos requeridos se han "
                     "establecido"));
}

TEST_F(PeticionTest, ToXMLFileSavesTheParsedBody) {
  CPeticionDispensacion p = Filled();
  const std::string path = folder_.Path("Enviados/RX123.xml");
  ASSERT_TRUE(p.ToXMLFile(path));
  EXPECT_TRUE(LogHas("CPeticionDispensacion.ToXML:Generando archivo " + path + " con la petición de la dispensación"));
  platform::xml::Document doc;
  ASSERT_TRUE(doc.Load(path));
  XmlNodeList nodes = doc.ChildNodes();
  ASSERT_EQ(nodes.length(), 13u);
  EXPECT_EQ(nodes.Item(0).nodeName(), "importe");
  EXPECT_EQ(nodes.Item(0).Text(), "12,50");
  EXPECT_EQ(nodes.Item(12).nodeName(), "idPrescripcion");
  struct stat st {};
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(PeticionTest, UnescapedValuesGive32003AndNoFile) {
  for (const char* bad : {"a<b", "a&b", "A & B"}) {
    CPeticionDispensacion p = Filled();
    p.CodigoDispensado = bad;
    const std::string path = folder_.Path("Enviados/bad.xml");
    EXPECT_FALSE(p.ToXMLFile(path)) << bad;
    EXPECT_FALSE(platform::PathExists(path)) << bad;
    EXPECT_EQ(LastErrorNumber(), 32003);
    EXPECT_EQ(LastError()->Description, "La petición SOAP/XML generada tiene errores");
    EXPECT_EQ(p.IObject_ToXML(), nullptr);
    EXPECT_EQ(LastError()->Source, "CPeticionDispensacion.IObject_ToXML");
  }
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_ToXML:(32003)La petición SOAP/XML generada tiene errores"));
}

TEST_F(PeticionTest, IObjectToXMLGivesTheElementsAndRaisesEvents) {
  CPeticionDispensacion p = Filled();
  std::vector<std::string> events;
  p.onBeforeTransformToXML = [&] { events.push_back("before"); };
  p.onEndTransformToXML = [&] { events.push_back("end"); };
  std::shared_ptr<XmlNodeList> nodes = p.IObject_ToXML();
  ASSERT_TRUE(nodes);
  ASSERT_EQ(nodes->length(), 13u);
  EXPECT_EQ(nodes->Item(3).nodeName(), "fechaDispensacion");
  EXPECT_EQ(nodes->Item(3).nodeTypedValue(), "20240203");
  EXPECT_EQ(events, (std::vector<std::string>{"before", "end"}));
  EXPECT_FALSE(platform::PathExists(folder_.Path("velmora.xml")));
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_ToXML:Generando objeto IXMLNodeList con las propiedades de la clase"));

  IObject& contract = p;
  EXPECT_TRUE(contract.ToXML());
}

TEST_F(PeticionTest, SaveSOAPMsgToFileWritesACopyBesideTheLibrary) {
  CPeticionDispensacion p = Filled();
  p.SaveSOAPMsgToFile = true;
  folder_.Write("velmora.xml", "old");
  ASSERT_TRUE(p.IObject_ToXML());
  const std::string saved = folder_.Read("velmora.xml");
  EXPECT_NE(saved.find("<codigoDispensado>654321</codigoDispensado>"), std::string::npos);
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_ToXML:Generando archivo XML con la petición de la dispensación"));
}

TEST_F(PeticionTest, FromXMLReadsNothingAndFromXMLFileIsAlwaysFalse) {
  CPeticionDispensacion p;
  std::vector<std::string> events;
  p.onBeforeTransformFromXML = [&] { events.push_back("before"); };
  p.onEndTransformFromXML = [&] { events.push_back("end"); };
  platform::xml::Document doc;
  ASSERT_TRUE(doc.LoadXml("<a><importe>1</importe></a>"));
  EXPECT_TRUE(p.IObject_FromXML(doc.ChildNodes()));
  EXPECT_EQ(p.Importe, "");
  EXPECT_EQ(events, (std::vector<std::string>{"before", "end"}));
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_FromXML:Cargando propiedades de clase a partir de un objeto NodeList"));

  CPeticionDispensacion q = Filled();
  ASSERT_TRUE(q.ToXMLFile(folder_.Path("Enviados/x.xml")));
  CPeticionDispensacion r;
  EXPECT_FALSE(r.FromXMLFile(folder_.Path("Enviados/x.xml")));
  EXPECT_EQ(r.Importe, "");
  EXPECT_FALSE(r.FromXMLFile(folder_.Path("Enviados/missing.xml")));
}

TEST_F(PeticionTest, ConfiguredSchemaIsUsedAsItStands) {
  core::ThreadContext().EsquemaXML = "xmlns:a=\"urn:a\" ";
  CPeticionDispensacion p = Filled();
  EXPECT_EQ(p.ToString(false).rfind("<PeticionDispensacion xmlns:a=\"urn:a\" > <importe >", 0), 0u);
  core::ThreadContext().EsquemaXML = "1 ";  // what the ini's inverted reading gives
  EXPECT_FALSE(p.ToXMLFile(folder_.Path("Enviados/y.xml")));
  EXPECT_EQ(LastErrorNumber(), 32003);
}

}  // namespace
}  // namespace velmora::testing
