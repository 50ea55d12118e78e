#include <gtest/gtest.h>

#include <vector>

#include "messages_fixture.h"
#include "os/files.h"
#include "xml/xml.h"
#include "velmora/messages.h"

namespace velmora::testing {
namespace {

std::vector<std::string> Items(const Collection<std::string>& c) {
  std::vector<std::string> out;
  for (const std::string& s : c) out.push_back(s);
  return out;
}

std::string EmptyArray(const char* name) {
  return std::string("<") + name + " " + kEsquema +
         "xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[0]\"></" + name + ">\r\n";
}

// What a service sends: prefixes of its own, odd cases, blank items and unknown elements.
const char* kServiceReply =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<ns1:RespuestaPeticion xmlns:ns1=\"urn:x\" xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\">\n"
    "  <ns1:nMotivosRechazo>0</ns1:nMotivosRechazo>\n"
    "  <NAVISOS>2</NAVISOS>\n"
    "  <desconocido>7</desconocido>\n"
    "  <textoaviso><SOAP-ENC:string>Aviso uno</SOAP-ENC:string><item>   </item><x>Aviso dos</x></textoaviso>\n"
    "  <codigoAviso><SOAP-ENC:string>0001</SOAP-ENC:string><SOAP-ENC:string> 0000 </SOAP-ENC:string>"
    "<SOAP-ENC:string></SOAP-ENC:string></codigoAviso>\n"
    "  <codigoMotivosRechazo/>\n"
    "  <TextoMotivosRechazo></TextoMotivosRechazo>\n"
    "</ns1:RespuestaPeticion>\n";

class RespuestaTest : public MessagesTest {};

TEST_F(RespuestaTest, BodyWithOneWarning) {
  CRespuestaPeticion r;
  r.m_intNAvisos = 1;
  r.m_colTextoAviso.Add("Receta dispensada");
  r.m_colCodigoAviso.Add("0000");
  const std::string expected =
      "<RespuestaPeticion " + kEsquema + "> "
      "<NMotivosRechazo >0</NMotivosRechazo>\r\n"
      "<NAvisos >1</NAvisos>\r\n"
      "<textoAviso " + kEsquema + "xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[1]\">"
      "<SOAP-ENC:string>Receta dispensada</SOAP-ENC:string></textoAviso>\r\n" +
      EmptyArray("textoMotivosRechazo") + EmptyArray("codigoMotivosRechazo") +
      "<codigoAviso " + kEsquema + "xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string[1]\">"
      "<SOAP-ENC:string>0000</SOAP-ENC:string></codigoAviso>\r\n"
      "</RespuestaPeticion>\r\n";
  EXPECT_EQ(r.ToString(false), expected);

  const std::string header =
      "<?xml version='1.0' encoding='UTF-8'?>"
      "<SOAP-ENV:Envelope xmlns:SOAP-ENV='http://schemas.xmlsoap.org/soap/envelope/' "
      "xmlns:SOAP-ENC='http://schemas.xmlsoap.org/soap/encoding/' "
      "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:xsd='http://www.w3.org/2001/XMLSchema'>"
      "<SOAP-ENV:Body><ns0:solicitudDispensacion xmlns:ns0='urn:Dispensacion' "
      "SOAP-ENV:encodingStyle='http://schemas.xmlsoap.org/soap/encoding/'>"
      "<arg0 xsi:type='bean:PeticionDispensacion' xmlns:bean='java:dispensacion.ejb'>\r\n";
  EXPECT_EQ(r.ToString(true), header + expected + "</SOAP-ENV:Envelope>");
}

TEST_F(RespuestaTest, ReadsAServiceReplyByLocalNameWhateverThePrefixOrCase) {
  folder.Write("Recibidos/R1.xml", kServiceReply);
  CRespuestaPeticion r;
  std::vector<std::string> events;
  r.onBeforeTransformFromXML = [&] { events.push_back("before"); };
  r.onEndTransformFromXML = [&] { events.push_back("end"); };
  ASSERT_TRUE(r.FromXMLFile(folder.Path("Recibidos/R1.xml")));
  EXPECT_EQ(events, (std::vector<std::string>{"before", "end"}));
  EXPECT_EQ(r.m_intNAvisos, 2);
  EXPECT_EQ(r.m_intNMotivosRechazo, 0);
  EXPECT_EQ(Items(r.m_colTextoAviso), (std::vector<std::string>{"Aviso uno", "Aviso dos"}));
  // The success code with blanks around it counts, and is kept with its blanks.
  EXPECT_EQ(Items(r.m_colCodigoAviso), (std::vector<std::string>{"0001", " 0000 "}));
  EXPECT_TRUE(r.DispensacionRealizada());
  EXPECT_EQ(r.m_colCodigoMotivosRechazo.Count(), 0u);
  EXPECT_EQ(r.m_colTextoMotivosRechazo.Count(), 0u);
  EXPECT_EQ(ErrorCount(), 0u);
  EXPECT_TRUE(LogHas("CRespuestaPeticion.IObject_FromXML:Cargando propiedades de clase a partir de un objeto NodeList"));

  // Reading again appends.
  ASSERT_TRUE(r.FromXMLFile(folder.Path("Recibidos/R1.xml")));
  EXPECT_EQ(r.m_colCodigoAviso.Count(), 4u);
}

TEST_F(RespuestaTest, NonNumericCountIsZeroAndTextsAreStillRead) {
  folder.Write("Recibidos/R2.xml",
                "<RespuestaPeticion><NAvisos>dos</NAvisos><NMotivosRechazo>1,5</NMotivosRechazo>"
                "<textoAviso><s>T</s></textoAviso><codigoAviso><s>0001</s></codigoAviso></RespuestaPeticion>");
  CRespuestaPeticion r;
  ASSERT_TRUE(r.FromXMLFile(folder.Path("Recibidos/R2.xml")));
  EXPECT_EQ(r.m_intNAvisos, 0);
  EXPECT_EQ(r.m_intNMotivosRechazo, 2);  // 1,5 rounds half to even
  EXPECT_EQ(Items(r.m_colTextoAviso), std::vector<std::string>{"T"});
  EXPECT_FALSE(r.DispensacionRealizada());
}

TEST_F(RespuestaTest, RoundTripThroughTheFile) {
  CRespuestaPeticion r;
  r.m_intNAvisos = 2, r.m_intNMotivosRechazo = 1;
  r.m_colTextoAviso.Add("Aviso 1"), r.m_colTextoAviso.Add(" año ");
  r.m_colCodigoAviso.Add("0001"), r.m_colCodigoAviso.Add("0000");
  r.m_colTextoMotivosRechazo.Add("Rechazo"), r.m_colCodigoMotivosRechazo.Add("R9");
  const std::string path = folder.Path("Recibidos/RT.xml");
  ASSERT_TRUE(r.ToXMLFile(path));
  EXPECT_TRUE(LogHas("CRespuestaPeticion.ToXML:Generando archivo " + path + " con la respuesta de la dispensación"));

  // A reason holding markup travels as text: escaped in the file, given back as it was.
  for (const char* text : {"", "R&D <b>anulada</b></SOAP-ENC:string></textoMotivosRechazo><codigoAviso>0000"}) {
    if (*text) r.m_colTextoMotivosRechazo.Add(text);
    ASSERT_TRUE(r.ToXMLFile(path));
    CRespuestaPeticion back;
    ASSERT_TRUE(back.FromXMLFile(path));
    EXPECT_TRUE(back.DispensacionRealizada());  // "0000" is the configured success code
    EXPECT_EQ(back.ToString(false), r.ToString(false));
    EXPECT_EQ(back.m_colCodigoAviso.Count(), 2u);
  }
}

// Files that cannot be read are 32009; a count out of range is 32000, the list refused whole.
TEST_F(RespuestaTest, BadFilesAreErrorsWithoutACrash) {
  const struct {
    const char* name;
    std::string text;  // empty: no file at all
    int32_t number;
  } cases[] = {
      {"missing.xml", "", 32009},
      {"empty.xml", "", 32009},
      {"ill.xml", "<RespuestaPeticion><NAvisos>1</NAvisos>", 32009},
      {"huge.xml", "<RespuestaPeticion><textoAviso><s>" + std::string(9u << 20, 'x') + "</s></textoAviso></RespuestaPeticion>", 32009},
      {"entity.xml", "<!DOCTYPE r [<!ENTITY a 'aaaa'>]><RespuestaPeticion><NAvisos>&a;</NAvisos></RespuestaPeticion>", 32009},
      {"range.xml", "<RespuestaPeticion><NAvisos>99999</NAvisos></RespuestaPeticion>", 32000},
  };
  for (const auto& c : cases) {
    if (std::string(c.name) != "missing.xml") folder.Write(std::string("Recibidos/") + c.name, c.text);
    CRespuestaPeticion r;
    EXPECT_FALSE(r.FromXMLFile(folder.Path(std::string("Recibidos/") + c.name))) << c.name;
    EXPECT_EQ(LastErrorNumber(), c.number) << c.name;
    EXPECT_EQ(r.m_colTextoAviso.Count(), 0u);
  }
  EXPECT_TRUE(LogHas("CRespuestaPeticion.FromXMLFile:(32009)No se puede cargar el archivo XML"));
  EXPECT_EQ(LastError()->Description, "No se puede pasar los valores del objeto IXMLNodeList al objeto CRespuestaPeticion");
}

TEST_F(RespuestaTest, InternalResponseFromTheIni) {
  CRespuestaPeticion r;
  r.SetInternalResponse(true);
  EXPECT_EQ(Items(r.m_colCodigoAviso), std::vector<std::string>{"9999"});
  EXPECT_EQ(Items(r.m_colTextoAviso), std::vector<std::string>{"Respuesta interna"});
  EXPECT_EQ(r.m_intNAvisos, 1);
  // Empty values are still added.
  EXPECT_EQ(Items(r.m_colCodigoMotivosRechazo), std::vector<std::string>{""});
  EXPECT_EQ(Items(r.m_colTextoMotivosRechazo), std::vector<std::string>{""});
  EXPECT_EQ(r.m_intNMotivosRechazo, 0);
  EXPECT_FALSE(r.DispensacionRealizada());
  EXPECT_EQ(ErrorCount(), 0u);
}

class RespuestaEmptyCountTest : public MessagesTest {
 protected:
  RespuestaEmptyCountTest()
      : MessagesTest(RuntimeFolder::MakeIni(
            {{"Configuracion", {{"CodigoDispensacionCorrecta", "0000"}}},
             {"RespuestaDefecto", {{"CodigoAviso", "0000"}, {"NumAvisos", ""}, {"CodigoMotivosRechazo", "R"}, {"NumMotivosRechazo", "x"}}}})) {}
};

TEST_F(RespuestaEmptyCountTest, NonNumericCountsTakeTheListSizes) {
  CRespuestaPeticion r;
  r.SetInternalResponse(true);
  EXPECT_EQ(r.m_intNAvisos, 1);
  EXPECT_EQ(r.m_intNMotivosRechazo, 1);
  EXPECT_FALSE(r.DispensacionRealizada());  // not touched, even with the success code
}

// The "errorInterface" entry, settled in the shape of the batch's "99999" failure row: a forced
// response carries the failure entry first and the configured values after it.
TEST_F(RespuestaTest, ForcedInternalResponseRecords32013AndCarriesTheErrorInterfaceEntry) {
  CRespuestaPeticion r;
  r.SetInternalResponse(false);
  ASSERT_EQ(ErrorCount(), 1u);
  EXPECT_EQ(LastErrorNumber(), 32013);
  EXPECT_EQ(LastError()->Source, "CRespuestaPeticion.SetInternalResponse");
  EXPECT_EQ(LastError()->Description, "Se ha forzado la respuesta interna de 'Interface Velmora' para la dispensación");
  EXPECT_TRUE(LogHas("CRespuestaPeticion.SetInternalResponse:(32013)Se ha forzado la respuesta interna de 'Interface Velmora' para la dispensación"));
  EXPECT_EQ(Items(r.m_colCodigoMotivosRechazo), (std::vector<std::string>{"99999", ""}));
  EXPECT_EQ(Items(r.m_colTextoMotivosRechazo),
            (std::vector<std::string>{"errorInterface velmora:(32013)Se ha forzado la respuesta interna de 'Interface Velmora' para la dispensación", ""}));
  EXPECT_EQ(r.m_intNMotivosRechazo, 0);  // the ini's NumMotivosRechazo
  EXPECT_EQ(Items(r.m_colCodigoAviso), std::vector<std::string>{"9999"});
  // The entry survives the file.
  ASSERT_TRUE(r.ToXMLFile(folder.Path("Recibidos/forced.xml")));
  CRespuestaPeticion back;
  ASSERT_TRUE(back.FromXMLFile(folder.Path("Recibidos/forced.xml")));
  EXPECT_EQ(Items(back.m_colCodigoMotivosRechazo), std::vector<std::string>{"99999"});
}

class RespuestaNoIniTest : public MessagesTest {
 protected:
  RespuestaNoIniTest() : MessagesTest("") {}
};

TEST_F(RespuestaNoIniTest, MissingIniGives32001AndOnlyTheErrorInterfaceEntry) {
  CRespuestaPeticion r;
  r.SetInternalResponse(true);
  EXPECT_EQ(LastErrorNumber(), 32001);
  EXPECT_EQ(Items(r.m_colCodigoMotivosRechazo), std::vector<std::string>{"99999"});
  EXPECT_EQ(Items(r.m_colTextoMotivosRechazo),
            std::vector<std::string>{"errorInterface velmora:(32001)No se puede leer la información del archivo de inicialización (.ini)"});
  EXPECT_EQ(r.m_intNMotivosRechazo, 1);
  EXPECT_EQ(r.m_colCodigoAviso.Count(), 0u);

  CRespuestaPeticion forced;
  forced.SetInternalResponse(false);
  EXPECT_EQ(ErrorCount(), 3u);  // 32001, then 32013 and 32001 again
  EXPECT_EQ(Items(forced.m_colCodigoMotivosRechazo), std::vector<std::string>{"99999"});
  EXPECT_EQ(forced.m_intNMotivosRechazo, 1);
}

}  // namespace
}  // namespace velmora::testing
