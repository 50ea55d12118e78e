#include <gtest/gtest.h>

#include <sys/stat.h>

#include <functional>
#include <vector>

#include "messages_fixture.h"
#include "os/files.h"
#include "xml/xml.h"
#include "velmora/messages.h"

namespace velmora::testing {
namespace {

class PeticionTest : public MessagesTest {
 protected:
  static CPeticionDispensacion Filled() {
    CPeticionDispensacion p;
    p.Importe = "12,50", p.ImporteAportacion = "1,25", p.IdFarmacia = "F1", p.FechaDispensacion = "03/02/2024";
    p.IDPrescripcion = "RX123", p.Idioma = "es", p.IdUsuario = "U", p.IdFarmaceutico = "FA", p.ClaveUsuario = "secreto";
    p.EnvasesDispensados = "2", p.NumeroReceta = "NR", p.IdProvincia = "48", p.CodigoDispensado = "654321";
    p.CodigoColegiadoPrescriptor = "CP", p.FechaPrescripcion = "2024-01-15", p.Tis = "T", p.FormulaMagistral = "FM";
    p.Lector = "LEC";
    return p;
  }
};

// Everything up to the identifier, which both identifier kinds share byte for byte.
const std::string kBodyHead =
    "<PeticionDispensacion " + kEsquema + "> "
    "<importe >12,50</importe>\r\n<importeAportacion >1,25</importeAportacion>\r\n<codFarmacia >F1</codFarmacia>\r\n"
    "<fechaDispensacion >20240203</fechaDispensacion>\r\n<idioma >es</idioma>\r\n<idUsuario >U</idUsuario>\r\n"
    "<idFarmaceutico >FA</idFarmaceutico>\r\n<claveUsuario >secreto</claveUsuario>\r\n"
    "<envasesDispensados >2</envasesDispensados>\r\n<numeroReceta >NR</numeroReceta>\r\n"
    "<codProvincia >48</codProvincia>\r\n<codigoDispensado >654321</codigoDispensado>\r\n";

TEST_F(PeticionTest, BodiesOfAnOrdinaryAndAnItpIdentifier) {
  CPeticionDispensacion p = Filled();
  const std::string ordinary = kBodyHead + "<idPrescripcion >RX123</idPrescripcion>\r\n</PeticionDispensacion>\r\n";
  EXPECT_EQ(p.ToString(false), ordinary);
  EXPECT_EQ(p.ToString(), ordinary);

  // The ITP rule: the identifier is sent empty and the prescriber's details follow it.
  p.IDPrescripcion = "  ITP0001 ";
  p.TipoPrescripcion = Efectos_Y_Accesorios;
  EXPECT_EQ(p.ToString(false), kBodyHead +
                                    "<idPrescripcion ></idPrescripcion>\r\n<codColegiadoPrescriptor >CP</codColegiadoPrescriptor>\r\n"
                                    "<fechaPrescripcion >20240115</fechaPrescripcion>\r\n<TIS >T</TIS>\r\n<nombreFormula >FM</nombreFormula>\r\n"
                                    "<tipoPrescripcion >5</tipoPrescripcion>\r\n</PeticionDispensacion>\r\n");
  p.RegimenReceta = Trabajador;
  EXPECT_NE(p.ToString(false).find("<regimenReceta >0</regimenReceta>\r\n<tipoPrescripcion >5</tipoPrescripcion>\r\n"), std::string::npos);

  p.IDPrescripcion = "itp0001 ";  // the prefix is matched case-sensitively
  EXPECT_NE(p.ToString(false).find("<idPrescripcion >itp0001 </idPrescripcion>\r\n</PeticionDispensacion>"), std::string::npos);
  EXPECT_EQ(p.ToString(false).find("codColegiadoPrescriptor"), std::string::npos);
}

TEST_F(PeticionTest, EnvelopeHasTheHeaderAndTheFooterReplacedWhole) {
  CPeticionDispensacion p = Filled();
  const std::string header =
      "<?xml version='1.0' encoding='UTF-8'?><SOAP-ENV:Envelope xmlns:SOAP-ENV='http://schemas.xmlsoap.org/soap/envelope/' "
      "xmlns:SOAP-ENC='http://schemas.xmlsoap.org/soap/encoding/' " + kEsquema + "><SOAP-ENV:Body><ns0:solicitudDispensacion xmlns:ns0='urn:Dispensacion' "
      "SOAP-ENV:encodingStyle='http://schemas.xmlsoap.org/soap/encoding/'>"
      "<arg0 xsi:type='bean:PeticionDispensacion' xmlns:bean='java:dispensacion.ejb'>\r\n";
  EXPECT_EQ(p.ToString(true), header + p.ToString(false) + "</SOAP-ENV:Envelope>");
}

TEST_F(PeticionTest, BatchItemForm) {
  CPeticionDispensacion p = Filled();
  EXPECT_EQ(p.ToStringNew(),
            "<P70ItemPeticionDispensacion><importe >12,50</importe>\r\n<importeAportacion >1,25</importeAportacion>\r\n"
            "<fechaDispensacion >20240203</fechaDispensacion>\r\n<envasesDispensados >2</envasesDispensados>\r\n"
            "<numeroReceta >NR</numeroReceta>\r\n<codigoDispensado >654321</codigoDispensado>\r\n"
            "<idPrescripcion >RX123</idPrescripcion>\r\n</P70ItemPeticionDispensacion>");
  p.IDPrescripcion = "ITPX";
  p.RegimenReceta = Pensionista;
  const std::string itp = p.ToStringNew();
  EXPECT_EQ(itp.find("codFarmacia"), std::string::npos);
  EXPECT_EQ(itp.find("claveUsuario"), std::string::npos);
  EXPECT_NE(itp.find("<idPrescripcion ></idPrescripcion>\r\n<codColegiadoPrescriptor >CP"), std::string::npos);
  EXPECT_NE(itp.find("<regimenReceta >1</regimenReceta>\r\n</P70ItemPeticionDispensacion>"), std::string::npos);
}

TEST_F(PeticionTest, DatesThatAreNotDatesGive32004AndAnEmptyElement) {
  CPeticionDispensacion p = Filled();
  p.FechaDispensacion = "";
  EXPECT_NE(p.ToString(false).find("<fechaDispensacion ></fechaDispensacion>\r\n"), std::string::npos);
  EXPECT_EQ(Log().find("Parseando las fechas"), std::string::npos);  // an empty date is not parsed at all
  EXPECT_EQ(p.ParseDate("3 febrero 2024"), "20240203");
  EXPECT_TRUE(LogHas("CPeticionDispensacion.ParseDate:Parseando las fechas"));
  EXPECT_EQ(ErrorCount(), 0u);
  EXPECT_EQ(p.ParseDate("20240203"), "");
  EXPECT_EQ(LastErrorNumber(), 32004);
  EXPECT_EQ(LastError()->Source, "CPeticionDispensacion.ParseDate");
  EXPECT_TRUE(LogHas("CPeticionDispensacion.ParseDate:(32004)La fecha no es válida"));
  core::ThreadContext().Errors.Errores().Clear();
  p.FechaDispensacion = "31/02/2024";
  EXPECT_NE(p.ToString(false).find("<fechaDispensacion ></fechaDispensacion>"), std::string::npos);
  EXPECT_EQ(LastErrorNumber(), 32004);
}

TEST_F(PeticionTest, RequiredFieldsTable) {
  using P = CPeticionDispensacion;
  // The empty-identifier cases start from a request whose details are otherwise complete.
  auto noId = [](P& p) { p.IDPrescripcion = "", p.RegimenReceta = Trabajador, p.TipoPrescripcion = Principio_Activo; };
  // What MissingFields names for each change; "" for a request that can be sent.
  const std::vector<std::pair<std::function<void(P&)>, const char*>> cases = {
      {[](P&) {}, ""},
      {[](P& p) { p.ClaveUsuario = " "; }, ""},  // a blank password counts as set
      {noId, ""},
      {[&](P& p) { noId(p); p.TipoPrescripcion = Formula_Magistral; }, ""},
      {[](P& p) { p.IDPrescripcion = "ITP1"; p.Tis = ""; }, ""},  // any id: no details needed
      {[](P& p) { p.ClaveUsuario = p.IdUsuario = p.Idioma = p.IdFarmacia = ""; },
       "ClaveUsuario IdUsuario Idioma IdFarmacia "},
      {[](P& p) { p.IdFarmaceutico = p.EnvasesDispensados = p.Importe = p.ImporteAportacion = ""; },
       "IdFarmaceutico EnvasesDispensados Importe ImporteAportacion "},
      {[](P& p) { p.IdProvincia = p.FechaDispensacion = ""; }, "FechaDispensacion IdProvincia "},
      {[](P& p) { p.FechaDispensacion = "31/02/2024"; }, "FechaDispensacion "},
      {[](P& p) { p.IDPrescripcion = "  "; }, "RegimenReceta TipoPrescripcion "},
      {[&](P& p) { noId(p); p.CodigoColegiadoPrescriptor = p.Tis = "  "; }, "CodigoColegiadoPrescriptor Tis "},
      {[&](P& p) { noId(p); p.FechaPrescripcion = "32/01/2024"; }, "FechaPrescripcion "},
      {[&](P& p) { noId(p); p.RegimenReceta = RegimenVacio; }, "RegimenReceta "},
      {[&](P& p) { noId(p); p.TipoPrescripcion = Formula_Magistral; p.FormulaMagistral = " "; }, "FormulaMagistral "},
  };
  for (const auto& [change, expected] : cases) {
    P p = Filled();
    change(p);
    std::string missing;
    for (const auto& name : p.MissingFields()) missing += name + " ";
    EXPECT_EQ(missing, expected);
    EXPECT_EQ(p.IObject_RequiredFields(), missing.empty()) << expected;
    EXPECT_EQ(p.RequiredFields(), missing.empty()) << expected;
  }
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_RequiredFields:Comprobando que todos los campos requeridos se han establecido"));
}

TEST_F(PeticionTest, ToXMLFileSavesTheParsedBodyPrivately) {
  CPeticionDispensacion p = Filled();
  std::vector<std::string> events;
  p.onBeforeTransformToXML = [&] { events.push_back("before"); };
  p.onEndTransformToXML = [&] { events.push_back("end"); };
  const std::string path = folder.Path("Enviados/RX123.xml");
  ASSERT_TRUE(p.ToXMLFile(path));
  ASSERT_TRUE(p.IObject_ToXML());
  EXPECT_EQ(events, (std::vector<std::string>{"before", "end"}));
  EXPECT_TRUE(LogHas("CPeticionDispensacion.ToXML:Generando archivo " + path + " con la petición de la dispensación"));
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_ToXML:Generando objeto IXMLNodeList con las propiedades de la clase"));
  EXPECT_FALSE(os::PathExists(folder.Path("velmora.xml")));
  xml::Document doc;
  ASSERT_TRUE(doc.Load(path));
  XmlNodeList nodes = doc.ChildNodes();
  ASSERT_EQ(nodes.length(), 13u);
  EXPECT_EQ(nodes.Item(3).nodeName(), "fechaDispensacion");
  EXPECT_EQ(nodes.Item(3).nodeTypedValue(), "20240203");
  EXPECT_EQ(nodes.Item(12).nodeName(), "idPrescripcion");
  struct stat st {};
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

// Markup in a value is escaped: the file holds the same 13 elements and reads back the text.
TEST_F(PeticionTest, MarkupInValuesIsEscapedAndReadsBackAsText) {
  for (const char* value : {"a<b", "A & B", "x</claveUsuario><importe>0</importe><claveUsuario>"}) {
    CPeticionDispensacion p = Filled();
    p.ClaveUsuario = value;
    const std::string path = folder.Path("Enviados/markup.xml");
    ASSERT_TRUE(p.ToXMLFile(path)) << value;
    xml::Document doc;
    ASSERT_TRUE(doc.Load(path)) << value;
    ASSERT_EQ(doc.ChildNodes().length(), 13u) << value;
    EXPECT_EQ(doc.ChildNodes().Item(7).nodeTypedValue(), value);
  }
  CPeticionDispensacion p = Filled();
  p.ClaveUsuario = "<&>";
  EXPECT_NE(p.ToString(false).find("<claveUsuario >&lt;&amp;&gt;</claveUsuario>\r\n"), std::string::npos);
  EXPECT_EQ(ErrorCount(), 0u);
}

TEST_F(PeticionTest, SaveSOAPMsgToFileWritesACopyBesideTheLibrary) {
  CPeticionDispensacion p = Filled();
  p.SaveSOAPMsgToFile = true;
  folder.Write("velmora.xml", "old");
  ASSERT_TRUE(p.IObject_ToXML());
  EXPECT_NE(folder.Read("velmora.xml").find("<codigoDispensado>654321</codigoDispensado>"), std::string::npos);
  EXPECT_TRUE(LogHas("CPeticionDispensacion.IObject_ToXML:Generando archivo XML con la petición de la dispensación"));
}

TEST_F(PeticionTest, ConfiguredSchemaIsUsedAsItStands) {
  core::ThreadContext().EsquemaXML = "xmlns:a=\"urn:a\" ";
  CPeticionDispensacion p = Filled();
  EXPECT_EQ(p.ToString(false).rfind("<PeticionDispensacion xmlns:a=\"urn:a\" > <importe >", 0), 0u);
  core::ThreadContext().EsquemaXML = "1 ";  // what the ini's inverted reading gives
  EXPECT_FALSE(p.ToXMLFile(folder.Path("Enviados/y.xml")));
  EXPECT_EQ(LastErrorNumber(), 32003);
}

}  // namespace
}  // namespace velmora::testing
