#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "messages_fixture.h"
#include "os/files.h"
#include "xml/xml.h"
#include "velmora/messages.h"

namespace velmora::testing {
namespace {

const char* kFailureText =
    "Errores internos en la aplicación 'Interface Velmora' impiden la realizar la dispensación. Consulte el "
    "archivo de log para determinar la causa del error";

const char* kRejected =
    "<RespuestaPeticion><ResultResp>1</ResultResp><Respuestas><item><CodResp>10</CodResp><DescResp>Uno</DescResp><CodDisp>C1</CodDisp><TipResp>1</TipResp></item>"
    "<item><codresp>20</codresp><descresp>Dos</descresp><coddisp>C2</coddisp><tipresp>2</tipresp></item>"
    "<p:item xmlns:p='urn:p'><p:CodResp>30</p:CodResp><p:DescResp>Tres</p:DescResp><p:CodDisp>C3</p:CodDisp>"
    "<p:TipResp>3</p:TipResp><p:Otro>x</p:Otro></p:item></Respuestas></RespuestaPeticion>";

class RespDispensacionesTest : public MessagesTest {};

TEST_F(RespDispensacionesTest, AcceptedBatchDoesNotReadTheRows) {
  folder.Write("Recibidos/ok.xml", "<RespuestaPeticion><resultresp>0</resultresp><Respuestas><i><CodResp>1</CodResp></i></Respuestas></RespuestaPeticion>");
  CRespDispensaciones r;
  ASSERT_TRUE(r.FromXMLFile(folder.Path("Recibidos/ok.xml")));
  EXPECT_TRUE(r.blnCodigoErrorDisp);
  EXPECT_TRUE(r.DispensacionRealizada());
  EXPECT_EQ(r.ResultadoDispensacion().Count(), 0u);
  EXPECT_TRUE(LogHas("CRespDispensaciones.IObject_FromXML:CORRECTOOOOOOOOOOOO "));
  EXPECT_NE(r.ToString(false).find("<ResultResp >0</ResultResp>\r\n"), std::string::npos);
}

TEST_F(RespDispensacionesTest, RescanRules) {
  CRespDispensaciones none;
  xml::Document doc;
  ASSERT_TRUE(doc.LoadXml("<R><ResultResp>7</ResultResp></R>"));
  ASSERT_TRUE(none.IObject_FromXML(doc.ChildNodes()));
  EXPECT_EQ(none.ResultadoDispensacion().Count(), 0u);
  EXPECT_FALSE(none.DispensacionRealizada());

  // Two non-"0" result nodes read the rows twice; the list is read from the start each time.
  CRespDispensaciones twice;
  ASSERT_TRUE(doc.LoadXml("<R><Respuestas><i><CodResp>1</CodResp></i></Respuestas><ResultResp>1</ResultResp>"
                          "<ResultResp>2</ResultResp></R>"));
  ASSERT_TRUE(twice.IObject_FromXML(doc.ChildNodes()));
  EXPECT_EQ(twice.ResultadoDispensacion().Count(), 2u);
}

TEST_F(RespDispensacionesTest, RejectedBatchRowsBodyAndRoundTrip) {
  folder.Write("Recibidos/MD.xml", kRejected);
  CRespDispensaciones r;
  ASSERT_TRUE(r.FromXMLFile(folder.Path("Recibidos/MD.xml")));
  EXPECT_FALSE(r.blnCodigoErrorDisp);
  EXPECT_FALSE(r.DispensacionRealizada());
  // The rows themselves are pinned by the body below.
  EXPECT_TRUE(LogHas("CRespDispensaciones.IObject_FromXML:Cargando propiedades de clase a partir de un objeto NodeList"));
  EXPECT_TRUE(LogHas("CRespDispensaciones.IObject_FromXML:nombre del nodo : ResultResp de i = 0"));
  EXPECT_TRUE(LogHas("CRespDispensaciones.IObject_FromXML:errrorrrr "));
  EXPECT_TRUE(LogHas("CRespDispensaciones.IObject_FromXML:en el for  yy "));
  const std::string body = r.ToString(false);
  EXPECT_EQ(body,
            "<RespuestaPeticion " + kEsquema + "> <ResultResp >1</ResultResp>\r\n<Respuestas >"
            "<P70ItemRespuestaPeticionDispensacion>\r\n<CodResp>10</CodResp>\r\n<DescResp>Uno</DescResp>\r\n"
            "<CodDisp>C1</CodDisp>\r\n<TipResp>1</TipResp>\r\n</P70ItemRespuestaPeticionDispensacion>\r\n"
            "<P70ItemRespuestaPeticionDispensacion>\r\n<CodResp>20</CodResp>\r\n<DescResp>Dos</DescResp>\r\n"
            "<CodDisp>C2</CodDisp>\r\n<TipResp>2</TipResp>\r\n</P70ItemRespuestaPeticionDispensacion>\r\n"
            "<P70ItemRespuestaPeticionDispensacion>\r\n<CodResp>30</CodResp>\r\n<DescResp>Tres</DescResp>\r\n"
            "<CodDisp>C3</CodDisp>\r\n<TipResp>3</TipResp>\r\n</P70ItemRespuestaPeticionDispensacion>\r\n"
            "</Respuestas>\r\n</RespuestaPeticion>\r\n");
  const std::string env = r.ToString(true);
  EXPECT_EQ(env.rfind("<?xml version='1.0' encoding='UTF-8'?><SOAP-ENV:Envelope xmlns:SOAP-ENV=", 0), 0u);
  EXPECT_EQ(env.substr(env.size() - body.size() - 20), body + "</SOAP-ENV:Envelope>");

  const std::string path = folder.Path("Recibidos/MD_out.xml");
  ASSERT_TRUE(r.ToXMLFile(path));
  EXPECT_TRUE(LogHas("CRespDispensaciones.ToXML:Generando archivo " + path + " con la respuesta de la dispensación"));
  CRespDispensaciones back;
  ASSERT_TRUE(back.FromXMLFile(path));
  EXPECT_EQ(back.ToString(false), body);
  EXPECT_EQ(back.blnCodigoErrorDisp, r.blnCodigoErrorDisp);
}

TEST_F(RespDispensacionesTest, InternalResponseHoldsTheConfiguredRow) {
  CRespDispensaciones r;
  r.blnCodigoErrorDisp = true;
  r.SetInternalResponse(true);
  EXPECT_FALSE(r.blnCodigoErrorDisp);
  EXPECT_FALSE(r.DispensacionRealizada());
  ASSERT_EQ(r.ResultadoDispensacion().Count(), 1u);
  const CRespError& row = *r.ResultadoDispensacion().Item(1);
  EXPECT_EQ(std::tie(row.Codigo, row.Description, row.TipoRespuesta, row.CodigoDispensado), std::tuple("1", "9999", "9999", "9999"));
  EXPECT_NE(r.ToString(false).find("<ResultResp >1</ResultResp>"), std::string::npos);
  EXPECT_EQ(ErrorCount(), 0u);
}

TEST_F(RespDispensacionesTest, ForcedResponseStartsWithTheFailureRow) {
  CRespDispensaciones r;
  r.SetInternalResponse(false);
  EXPECT_EQ(LastErrorNumber(), 32013);
  EXPECT_EQ(LastError()->Source, "CRespDispensaciones.SetInternalResponse");
  ASSERT_EQ(r.ResultadoDispensacion().Count(), 2u);
  const CRespError& fail = *r.ResultadoDispensacion().Item(1);
  EXPECT_EQ(std::tie(fail.Codigo, fail.Description, fail.TipoRespuesta, fail.CodigoDispensado),
            std::tuple("99999", kFailureText, "1", "99999"));
  EXPECT_EQ(r.ResultadoDispensacion().Item(2)->Codigo, "1");
  EXPECT_EQ(r.ResultadoDispensacion().Item(2)->Description, "9999");

  const std::string path = folder.Path("Recibidos/forced.xml");
  ASSERT_TRUE(r.ToXMLFile(path));
  CRespDispensaciones back;
  ASSERT_TRUE(back.FromXMLFile(path));
  ASSERT_EQ(back.ResultadoDispensacion().Count(), 2u);
  EXPECT_EQ(back.ResultadoDispensacion().Item(1)->Description, kFailureText);
}

class RespDispensacionesNoIniTest : public MessagesTest {
 protected:
  RespDispensacionesNoIniTest() : MessagesTest("") {}
};

TEST_F(RespDispensacionesNoIniTest, WithoutIniExactlyOneFailureRow) {
  for (bool obtained : {true, false}) {
    CRespDispensaciones r;
    r.SetInternalResponse(obtained);
    EXPECT_EQ(LastErrorNumber(), 32001);
    ASSERT_EQ(r.ResultadoDispensacion().Count(), 1u);
    EXPECT_EQ(r.ResultadoDispensacion().Item(1)->Codigo, "99999");
  }
}

TEST_F(RespDispensacionesTest, BadFilesGive32009AndMarkupInRowsReadsBack) {
  folder.Write("Recibidos/ill.xml", "<RespuestaPeticion><ResultResp>1</ResultResp>");
  for (const char* name : {"missing.xml", "ill.xml"}) {
    CRespDispensaciones r;
    EXPECT_FALSE(r.FromXMLFile(folder.Path(std::string("Recibidos/") + name)));
    EXPECT_EQ(LastErrorNumber(), 32009);
    EXPECT_EQ(LastError()->Source, "CRespDispensaciones.FromXMLFile");
  }
  CRespDispensaciones r;
  CRespError e;
  e.Codigo = "1";
  r.addDispensationResult(e);
  e.Codigo = "2";
  e.Description = "a < b";
  r.addDispensationResult(e);
  EXPECT_EQ(r.ResultadoDispensacion().Item(1)->Codigo, "1");  // added rows are copies
  const std::string path = folder.Path("Recibidos/markup.xml");
  ASSERT_TRUE(r.ToXMLFile(path));
  CRespDispensaciones back;
  ASSERT_TRUE(back.FromXMLFile(path));
  EXPECT_EQ(back.ResultadoDispensacion().Item(2)->Description, "a < b");
}

}  // namespace
}  // namespace velmora::testing
