// The SOAP client's own rules over a fake transport: no server, every exchange scripted.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "soap/soap_client.h"
#include "soap/soap_error.h"
#include "support/test_support.h"
#include "velmora/error.h"
#include "xml/xml.h"

namespace velmora::testing {
namespace {

using soap::ConnectionSettings;
using soap::HttpReply;
using soap::TlsFacts;

const std::string kWsdlUrl = "http://service.invalid/dispensacion?wsdl";

std::string Corpus(const std::string& name) { return ReadFile(std::string(VELMORA_SOURCE_DIR) + "/fuzz/corpus/" + name); }

// The standard description with its endpoint moved to `endpoint`.
std::string DescriptionAt(const std::string& endpoint) {
  std::string text = Corpus("wsdl/standard.wsdl");
  const std::string before = "location=\"", after = "\"";
  const size_t at = text.find(before) + before.size();
  return text.replace(at, text.find(after, at) - at, endpoint);
}

// Answers GETs with the descriptions given, in turn, and POSTs as scripted; records both.
struct Script {
  std::vector<std::string> descriptions;
  bool failFirstPost = false, nothingSentOnFailure = false;
  std::vector<std::string> gets, posts;
};

class FakeTransport final : public soap::Transport {
 public:
  explicit FakeTransport(Script& script) : s_(script) {}
  HttpReply Get(const std::string& url, const ConnectionSettings&, int32_t, const std::string&) override {
    s_.gets.push_back(url);
    return {200, s_.descriptions.at(std::min(s_.gets.size(), s_.descriptions.size()) - 1)};
  }
  HttpReply PostSoap(const std::string& url, const std::string&, const std::string&, const ConnectionSettings&,
                     const std::string& source) override {
    s_.posts.push_back(url);
    nothingSent_ = false;
    if (s_.failFirstPost && s_.posts.size() == 1) {
      nothingSent_ = s_.nothingSentOnFailure;
      soap::RaiseSoapError(soap::SoapFailure::Transport, source, "sin respuesta");
    }
    return {200, Corpus("soap_response/accepted.xml")};
  }
  bool NothingSent() const override { return nothingSent_; }
  TlsFacts Probe(const std::string&, const ConnectionSettings&, const std::string&) override { return {}; }

 private:
  Script& s_;
  bool nothingSent_ = false;
};

bool Call(Script& script, const std::string& cacheFile) {
  soap::SoapClient client(std::make_unique<FakeTransport>(script));
  client.DescriptionCacheFile(cacheFile);
  client.mssoapinit(kWsdlUrl);
  xml::Document doc;
  EXPECT_TRUE(doc.LoadXml("<PeticionDispensacion><idPrescripcion>RX1</idPrescripcion></PeticionDispensacion>"));
  try {
    return client.Call("SolicitudDispensacion", doc.ChildNodes()).has_value();
  } catch (const Error&) {
    return false;
  }
}

// A kept description that the service has since changed: the request goes again to the new
// endpoint only when no byte of it left and the service now describes itself otherwise; a
// repeated dispensation could otherwise be registered twice.
TEST(SoapClientRules, AKeptDescriptionIsRetriedOnlyWhenNothingWasSentAndTheServiceMoved) {
  const struct {
    const char* name;
    // kept: the first call finds the description kept from an earlier client; nothingSent: the
    // failed post had sent nothing; moved: the description fetched again names another endpoint.
    bool kept, nothingSent, moved;
    std::vector<std::string> posts;
    bool answered;
  } cases[] = {
      {"moved, nothing sent", true, true, true, {"http://old.invalid/d", "http://new.invalid/d"}, true},
      {"moved, bytes sent", true, false, true, {"http://old.invalid/d"}, false},
      {"not moved", true, true, false, {"http://old.invalid/d"}, false},
      {"fetched, not kept", false, true, true, {"http://old.invalid/d"}, false},
  };
  for (const auto& c : cases) {
    const std::string folder = MakeTempFolder("fake-transport");
    const std::string cache = folder + "/velmora.wsdl.cache";
    Script warm{{DescriptionAt("http://old.invalid/d")}, false, false, {}, {}};
    if (c.kept) {
      ASSERT_TRUE(Call(warm, cache)) << c.name;
    }
    Script script{{}, true, c.nothingSent, {}, {}};
    // A kept description is read from the file: the first GET is the one after the failure.
    if (!c.kept) script.descriptions.push_back(DescriptionAt("http://old.invalid/d"));
    script.descriptions.push_back(DescriptionAt(c.moved ? "http://new.invalid/d" : "http://old.invalid/d"));
    EXPECT_EQ(Call(script, cache), c.answered) << c.name;
    EXPECT_EQ(script.posts, c.posts) << c.name;
    std::filesystem::remove_all(folder);
  }
}

}  // namespace
}  // namespace velmora::testing
