// Reading WSDL documents and reply envelopes, good and bad, without a network.
#include "soap/soap_envelope.h"

#include <gtest/gtest.h>

#include <string>

#include "soap/service_description.h"
#include "soap/soap_error.h"
#include "velmora/error.h"

namespace velmora::testing {
namespace {

using soap::OperationDescription;

std::string Envelope(const std::string& body) {
  return "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/' xmlns:enc='http://schemas.xmlsoap.org/soap/encoding/' "
         "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><e:Body>" + body + "</e:Body></e:Envelope>";
}

OperationDescription Operation() {
  return {.name = "SolicitudDispensacion", .soapAction = {}, .style = "rpc", .use = {},
          .encodingStyle = "http://schemas.xmlsoap.org/soap/encoding/", .bodyNamespace = "urn:x",
          .inputParts = {"arg0"}, .outputParts = {"return"}, .outputNamespace = {}};
}

// The description of the client error that `read` raises.
template <class Read>
std::string Failure(const Read& read) {
  try {
    read();
  } catch (const Error& e) {
    EXPECT_EQ(e.Number, soap::kSoapClientError);
    return e.Description;
  }
  return "no error";
}

TEST(ReplyEnvelope, RejectsWhatIsNotAnAnswer) {
  std::string nested;
  for (int i = 0; i < 400; ++i) nested = "<d>" + nested + "</d>";
  // Each level refers twice to the next: 2^40 copies if followed blindly.
  std::string refs = "<r><return href='#l0'/></r><m id='l40'>x</m>";
  for (int i = 0; i < 40; ++i)
    refs += "<m id='l" + std::to_string(i) + "'><a href='#l" + std::to_string(i + 1) + "'/><b href='#l" +
            std::to_string(i + 1) + "'/></m>";
  struct Case {
    std::string text, expected;
  } cases[] = {
      {"", "Respuesta SOAP mal formada"},
      {"<a><b></a>", "Respuesta SOAP mal formada"},
      {"<Envelope><Body/></Envelope>", "no es un sobre SOAP 1.1"},  // no namespace
      {Envelope(""), "Body vacío"},
      {Envelope("<r><return href='#nowhere'/></r>"), "referencia sin destino: #nowhere"},
      {Envelope("<r><return href='http://x/y'/></r>"), "referencia externa no admitida"},
      {Envelope("<r><return href='#a'/></r><m id='a'><x href='#b'/></m><m id='b'><y href='#a'/></m>"),
       "referencia circular: #a"},
      {Envelope("<e:Fault><faultcode>e:Client</faultcode><faultstring>mal</faultstring></e:Fault>"),
       "SOAP Fault: e:Client - mal"},
      {Envelope("<r><return>" + nested + "</return></r>"), "anidamiento excesivo"},
      {Envelope(refs), "demasiados valores referenciados"},
  };
  for (const auto& c : cases)
    EXPECT_NE(Failure([&] { soap::ReadResponseEnvelope(c.text, Operation(), "T.t"); }).find(c.expected), std::string::npos)
        << c.expected;
}

TEST(ReplyEnvelope, ArraysOfZeroAndOneItemAndReferencesAtEveryDepth) {
  std::string text = Envelope(
      "<ns:R xmlns:ns='urn:x'><return href='#r'/></ns:R>"
      "<multiRef id='r' xsi:type='T'><NAvisos>1</NAvisos><vacio href='#a0'/><uno href='#a1'/>"
      "<texto>&lt;b&gt; &amp; ñ</texto></multiRef>"
      "<multiRef id='a0' xsi:type='enc:Array' enc:arrayType='xsd:string[0]'/>"
      "<multiRef id='a1' xsi:type='enc:Array' enc:arrayType='xsd:string[1]'><item href='#s'/></multiRef>"
      "<multiRef id='s'>ÁÉ</multiRef>");
  const std::optional<XmlNodeList> list = soap::ReadResponseEnvelope(text, Operation(), "T.t");
  ASSERT_TRUE(list);
  ASSERT_EQ(list->length(), 4u);
  EXPECT_EQ(list->Item(1).nodeName(), "vacio");
  EXPECT_EQ(list->Item(1).childNodes().length(), 0u);
  // The array keeps its type attributes, taken from the referenced value, with their prefixes.
  EXPECT_STREQ(list->Item(2).Raw().attribute("enc:arrayType").value(), "xsd:string[1]");
  EXPECT_FALSE(list->Item(2).Raw().attribute("id"));
  ASSERT_EQ(list->Item(2).childNodes().length(), 1u);
  EXPECT_EQ(list->Item(2).childNodes().Item(0).Text(), "ÁÉ");
  EXPECT_EQ(list->Item(3).Text(), "<b> & ñ");
}

TEST(ReplyEnvelope, ReturnPartMatchedByNameElseFirstAndNilIsNoValue) {
  OperationDescription op = Operation();
  std::string text = Envelope("<R><other><a/></other><return><b/></return></R>");
  EXPECT_EQ(soap::ReadResponseEnvelope(text, op, "T.t")->Item(0).nodeName(), "b");
  op.outputParts = {"resultado"};
  EXPECT_EQ(soap::ReadResponseEnvelope(text, op, "T.t")->Item(0).nodeName(), "a");
  EXPECT_FALSE(soap::ReadResponseEnvelope(Envelope("<R><return xsi:nil='true'/></R>"), op, "T.t"));
  EXPECT_FALSE(soap::ReadResponseEnvelope(Envelope("<R/>"), op, "T.t"));
}

TEST(RequestEnvelope, OperationInBodyNamespaceAndUnqualifiedAccessor) {
  xml::Document doc;
  ASSERT_TRUE(doc.LoadXml("<P xmlns='urn:default' xmlns:q='urn:q'><a>1</a><q:b>x &amp; y</q:b></P>"));
  std::string text = soap::BuildRequestEnvelope(Operation(), doc.ChildNodes().Nodes());
  EXPECT_NE(text.find("<SOAP-ENV:Body SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\">"
                      "<SOAPSDK4:SolicitudDispensacion xmlns:SOAPSDK4=\"urn:x\"><arg0 xmlns:q=\"urn:q\">"
                      "<a xmlns=\"urn:default\">1</a><q:b xmlns=\"urn:default\">x &amp; y</q:b></arg0>"),
            std::string::npos)
      << text;
}

const char* kWsdlHead =
    "<definitions xmlns='http://schemas.xmlsoap.org/wsdl/' xmlns:s='http://schemas.xmlsoap.org/wsdl/soap/' "
    "xmlns:t='urn:t' targetNamespace='urn:t'>";

TEST(ServiceDescription, ReadsEverythingFromTheDocument) {
  std::string wsdl = std::string(kWsdlHead) +
                     "<message name='In'><part name='b'/><part name='a'/></message><message name='Out'><part name='r'/></message>"
                     "<portType name='PT'><operation name='Op' parameterOrder='a b'><input message='t:In'/>"
                     "<output message='t:Out'/></operation></portType>"
                     "<binding name='B' type='t:PT'><s:binding style='rpc'/><operation name='Op'>"
                     "<s:operation soapAction='act'/><input><s:body use='encoded' namespace='urn:body' "
                     "encodingStyle='enc'/></input><output><s:body use='encoded' namespace='urn:body'/></output>"
                     "</operation></binding>"
                     "<service name='S'><port name='P12' binding='t:B'/><port name='P' binding='t:B'>"
                     "<s:address location='http://h/p'/></port></service></definitions>";
  soap::ServiceDescription d = soap::ParseServiceDescription(wsdl, "T.t");
  EXPECT_EQ(d.endpoint, "http://h/p");
  EXPECT_EQ(d.portName, "P");
  const OperationDescription& op = d.operations.at("Op");
  EXPECT_EQ(op.soapAction, "act");
  EXPECT_EQ(op.bodyNamespace, "urn:body");
  EXPECT_EQ(op.style, "rpc");
  EXPECT_EQ(op.encodingStyle, "enc");
  EXPECT_EQ(op.inputParts, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(op.outputParts, (std::vector<std::string>{"r"}));
}

TEST(ServiceDescription, BadDocumentsAreRefusedWithAReason) {
  struct Case {
    std::string text, expected;
  } cases[] = {
      {"", "no es XML bien formado"},
      {"<definitions><", "no es XML bien formado"},
      {"<definitions/>", "falta el elemento wsdl:definitions"},
      {std::string(kWsdlHead) + "</definitions>", "ningún servicio tiene un puerto SOAP 1.1"},
      {std::string(kWsdlHead) + "<service><port binding='t:B'><s:address location=''/></port></service></definitions>",
       "soap:address sin location"},
      {std::string(kWsdlHead) + "<service><port binding='t:B'><s:address location='x'/></port></service></definitions>",
       "no se encuentra el binding"},
      {std::string(kWsdlHead) + "<binding name='B' type='t:PT'><s:binding/><operation name='Op'/></binding>"
           "<portType name='PT'/><service><port binding='t:B'><s:address location='x'/></port></service></definitions>",
       "la operación 'Op' no está en el portType"},
  };
  for (const auto& c : cases)
    EXPECT_NE(Failure([&] { soap::ParseServiceDescription(c.text, "T.t"); }).find(c.expected), std::string::npos) << c.text;
}

}  // namespace
}  // namespace velmora::testing
