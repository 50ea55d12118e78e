#include <gtest/gtest.h>

#include <string>

#include "xml/xml.h"
#include "support/test_support.h"

namespace velmora::testing {
namespace {

using xml::Document;

TEST(XmlLayer, NodeListIsTheElementChildrenOfTheDocumentElement) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<?xml version='1.0'?><!-- c --><r>  <a>1</a> text <!-- x --><m:b xmlns:m='urn:m'> 2 </m:b>\r\n<?pi?><c/></r>"));
  XmlNodeList list = doc.ChildNodes();
  ASSERT_EQ(list.length(), 3u);
  EXPECT_EQ(list.Item(0).nodeName(), "a");
  EXPECT_EQ(list.Item(1).nodeName(), "m:b");
  EXPECT_EQ(list.Item(1).LocalName(), "b");
  EXPECT_EQ(list.Item(1).Text(), " 2 ");
  EXPECT_EQ(list.Item(1).nodeTypedValue(), " 2 ");
  EXPECT_EQ(list.Item(2).Text(), "");
}

TEST(XmlLayer, TextGathersDescendantsReferencesAreDecodedAndBlanksAroundAreFine) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r><a>x<b>y<c>z</c></b><![CDATA[<w>]]></a><s>   </s></r>"));
  XmlNode a = doc.ChildNodes().Item(0);
  EXPECT_EQ(a.Text(), "xyz<w>");
  XmlNodeList kids = a.childNodes();
  ASSERT_EQ(kids.length(), 3u);
  EXPECT_EQ(kids.Item(0).nodeName(), "#text");
  EXPECT_EQ(kids.Item(0).nodeTypedValue(), "x");
  EXPECT_EQ(kids.Item(1).nodeName(), "b");
  EXPECT_EQ(kids.Item(2).nodeName(), "#cdata-section");
  // Whitespace-only text is dropped, as with preserveWhiteSpace off.
  EXPECT_EQ(doc.ChildNodes().Item(1).childNodes().length(), 0u);

  ASSERT_TRUE(doc.LoadXml("\xEF\xBB\xBF \r\n<?xml version='1.0'?>\n<r><a>&lt;&amp;&gt;&quot;&apos;&#65;&#x42;</a></r>\r\n<!-- e -->\n"));
  EXPECT_EQ(doc.ChildNodes().Item(0).Text(), "<&>\"'AB");
  // Latin-1 bytes in a document said to be UTF-8 are read as Windows-1252.
  ASSERT_TRUE(doc.LoadXml("<?xml version='1.0' encoding='UTF-8'?><r><a>Dispensaci\xF3n \x80</a></r>"));
  EXPECT_EQ(doc.ChildNodes().Item(0).Text(), "Dispensación €");
}

TEST(XmlLayer, IllFormedTextIsRejected) {
  for (const char* bad : {"", "   ", "<r>", "<r><a></r>", "<r>a & b</r>", "<r>&foo;</r>", "<r a='1' a='2'/>",
                          "<r>&#xZZ;</r>", "<a/><b/>", "text<a/>", "<a/>text", "\xEF\xBB\xBFx<a/>", "<r a='&x;'/>", "<r>a<b</r>"}) {
    Document doc;
    EXPECT_FALSE(doc.LoadXml(bad)) << bad;
    EXPECT_TRUE(doc.Empty()) << bad;
  }
}

TEST(XmlLayer, EntityDeclarationsAreNeverExpanded) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml(
      "<!DOCTYPE r [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'>]><r><x>&b;</x></r>"));
  EXPECT_FALSE(doc.LoadXml("<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><r><x>&e;</x></r>"));
  // A DOCTYPE without references is skipped unread.
  ASSERT_TRUE(doc.LoadXml("<!DOCTYPE r [<!ENTITY a 'zzz'>]><r><x>1</x></r>"));
  EXPECT_EQ(doc.ChildNodes().Item(0).Text(), "1");
}

TEST(XmlLayer, DeepNestingAndHugeInputAreRejected) {
  const auto nest = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text = "<a>" + text + "</a>";
    return text;
  };
  Document doc;
  EXPECT_FALSE(doc.LoadXml(nest(300)));
  EXPECT_TRUE(doc.LoadXml(nest(200)));
  EXPECT_FALSE(doc.LoadXml("<r>" + std::string(xml::kMaxDocumentBytes, 'x') + "</r>"));
}

TEST(XmlLayer, SaveWritesUtf8ThatLoadsBack) {
  RuntimeFolder folder;
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r><a> año &amp; &lt;x&gt; </a><b/></r>"));
  doc.Save(folder.Path("out.xml"), "test");
  Document back;
  ASSERT_TRUE(back.Load(folder.Path("out.xml")));
  EXPECT_EQ(back.ChildNodes().Item(0).Text(), " año & <x> ");
  EXPECT_FALSE(back.Load(folder.Path("missing.xml")));
  folder.Write("empty.xml", "");
  EXPECT_FALSE(back.Load(folder.Path("empty.xml")));
}

TEST(XmlLayer, ListsBuiltFromAnyDocumentOutliveTheirParser) {
  XmlNodeList list;
  {
    auto doc = std::make_shared<pugi::xml_document>();
    ASSERT_TRUE(doc->load_string("<Envelope><Body><return><NAvisos>1</NAvisos><x/></return></Body></Envelope>",
                                 xml::kParseOptions));
    pugi::xml_node ret = doc->document_element().child("Body").child("return");
    list = XmlNodeList::ElementChildren(doc, ret);
    XmlNodeList picked(doc, {ret.child("x")});
    EXPECT_EQ(picked.length(), 1u);
  }
  ASSERT_EQ(list.length(), 2u);
  EXPECT_EQ(list.Item(0).Text(), "1");
}

}  // namespace
}  // namespace velmora::testing
