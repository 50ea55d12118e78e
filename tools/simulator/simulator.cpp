#include "simulator.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <charconv>
#include <filesystem>
#include <cstdio>
#include <fstream>
#include <thread>

#include <pugixml.hpp>

#include "answers.h"
#include "flavour.h"
#include "latency_relay.h"
#include "recorder.h"
#include "scenario.h"

namespace velmora::sim {

namespace {

constexpr const char* kEnvNs = "http://schemas.xmlsoap.org/soap/envelope/";

std::string_view Local(std::string_view name) {
  size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view PrefixOf(std::string_view name) {
  size_t colon = name.find(':');
  return colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
}

std::string NamespaceOf(pugi::xml_node e) {
  std::string_view prefix = PrefixOf(e.name());
  std::string attr = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
  for (pugi::xml_node n = e; n && n.type() == pugi::node_element; n = n.parent())
    if (pugi::xml_attribute a = n.attribute(attr.c_str())) return a.value();
  return {};
}

pugi::xml_node FirstElement(pugi::xml_node parent) {
  for (pugi::xml_node c = parent.first_child(); c; c = c.next_sibling())
    if (c.type() == pugi::node_element) return c;
  return {};
}

// What the simulator understood of a request, and what it found wrong with it.
struct Received {
  std::string operation, bodyNamespace, part, codigoDispensado, problem;
  std::vector<std::string> batchItems;
};

Received Understand(const std::string& text, const ServiceFlavour& f, const std::string& soapAction) {
  Received r;
  pugi::xml_document doc;
  if (!doc.load_buffer(text.data(), text.size())) {
    r.problem = "the request is not well-formed XML";
    return r;
  }
  pugi::xml_node env = doc.document_element();
  if (Local(env.name()) != "Envelope" || NamespaceOf(env) != kEnvNs) {
    r.problem = "the request is not a SOAP 1.1 envelope";
    return r;
  }
  pugi::xml_node body;
  for (pugi::xml_node c = env.first_child(); c; c = c.next_sibling())
    if (c.type() == pugi::node_element && Local(c.name()) == "Body" && NamespaceOf(c) == kEnvNs) body = c;
  pugi::xml_node call = FirstElement(body);
  if (!call) {
    r.problem = "the SOAP Body is empty";
    return r;
  }
  r.operation = std::string(Local(call.name()));
  r.bodyNamespace = NamespaceOf(call);
  pugi::xml_node accessor = FirstElement(call);
  r.part = accessor.name();
  // Every codigoDispensado in document order: the first one picks the scenario, and a batch's
  // items are reported back one row each.
  for (pugi::xpath_node n : accessor.select_nodes(".//*[local-name()='codigoDispensado']")) {
    if (r.codigoDispensado.empty() && r.batchItems.empty()) r.codigoDispensado = n.node().text().get();
    r.batchItems.emplace_back(n.node().text().get());
  }
  const bool batch = r.operation == kBatchOperation;
  std::string expectedAction = "\"" + (batch ? f.batchAction : f.singleAction) + "\"";
  if (r.operation != kSingleOperation && !batch)
    r.problem = "unknown operation '" + r.operation + "'";
  else if (r.bodyNamespace != f.bodyNamespace)
    r.problem = "operation element in namespace '" + r.bodyNamespace + "', expected '" + f.bodyNamespace + "'";
  else if (soapAction != expectedAction)
    r.problem = "SOAPAction " + soapAction + ", expected " + expectedAction;
  else if (!accessor || Local(r.part) != r.part || r.part != f.inputPart || !NamespaceOf(accessor).empty())
    r.problem = "the argument must be the unqualified accessor <" + f.inputPart + ">, got <" + r.part + ">";
  return r;
}

std::string NowText() {
  auto now = std::chrono::system_clock::now();
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
  return std::to_string(ms);
}

// Cuts the connection a request came on, before a byte of answer. httplib does not hand out the
// socket, so it is found by its two ends.
void CutConnection(const httplib::Request& req) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ec)) {
    const std::string name = entry.path().filename().string();
    int fd = -1;
    if (std::from_chars(name.data(), name.data() + name.size(), fd).ec != std::errc()) continue;
    sockaddr_in peer{}, local{};
    socklen_t peerLength = sizeof peer, localLength = sizeof local;
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) == 0 && peer.sin_family == AF_INET &&
        ntohs(peer.sin_port) == req.remote_port &&
        getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength) == 0 &&
        ntohs(local.sin_port) == req.local_port)
      shutdown(fd, SHUT_RDWR);
  }
}

// "yes" when the request came on a TLS connection that resumed an earlier session, "no" on a
// full handshake, "" on plain http.
std::string TlsResumed(const httplib::Request& req) {
  if (!req.ssl) return {};
  return SSL_session_reused(const_cast<SSL*>(req.ssl)) ? "yes" : "no";
}

}  // namespace

struct Simulator::Impl {
  Options options;
  const ServiceFlavour* flavour = nullptr;
  std::unique_ptr<httplib::Server> server;
  std::unique_ptr<ScenarioSelector> selector;
  std::unique_ptr<Recorder> recorder;
  std::unique_ptr<LatencyRelay> relay;
  std::string baseUrl;
  std::atomic<long> sequence{0};

  void Serve(const httplib::Request& req, httplib::Response& res) {
    std::string soapAction = req.get_header_value("SOAPAction");
    Received r = Understand(req.body, *flavour, soapAction);
    const bool batch = r.operation == kBatchOperation;
    Scenario scenario = ForOperation(selector->Select(r.codigoDispensado), batch);
    recorder->Record({{"seq", std::to_string(++sequence)},
                      {"time_ms", NowText()},
                      {"path", req.path},
                      {"soapAction", soapAction},
                      {"contentType", req.get_header_value("Content-Type")},
                      {"operation", r.operation},
                      {"namespace", r.bodyNamespace},
                      {"part", r.part},
                      {"codigoDispensado", r.codigoDispensado},
                      {"scenario", r.problem.empty() ? scenario.Name() : "client-fault"},
                      {"problem", r.problem},
                      {"via", req.get_header_value("Via")},
                      {"tlsResumed", TlsResumed(req)},
                      {"body", req.body}});
    if (scenario.kind == ScenarioKind::Hangup && r.problem.empty()) {
      CutConnection(req);
      return;
    }
    Answer answer = r.problem.empty()
                        ? BuildAnswer(scenario, *flavour, batch, options.successCode, r.batchItems)
                        : BuildFault("soapenv:Client", "Petición no válida: " + r.problem, {});
    if (scenario.kind == ScenarioKind::Slow && r.problem.empty())
      std::this_thread::sleep_for(std::chrono::seconds(scenario.seconds));
    res.status = answer.status;
    if (!answer.dropHalfway) {
      res.set_content(answer.body, answer.contentType.c_str());
      return;
    }
    // Headers and half the body go out, then the connection is cut.
    auto body = std::make_shared<std::string>(std::move(answer.body));
    res.set_content_provider(body->size(), answer.contentType.c_str(),
                             [body](size_t offset, size_t, httplib::DataSink& sink) {
                               if (offset > 0) return false;
                               sink.write(body->data(), body->size() / 2);
                               return false;
                             });
  }

  void Routes() {
    server->Get(kDescriptionPath, [this](const httplib::Request& req, httplib::Response& res) {
      if (!req.has_param("wsdl")) {
        res.set_content("velmora-sim: the WSDL is at " + baseUrl + kDescriptionPath + "?wsdl\n", "text/plain");
        return;
      }
      if (!options.descriptionRedirect.empty()) {
        res.set_redirect(options.descriptionRedirect);
        return;
      }
      const std::string endpoint = options.endpoint.empty() ? baseUrl + flavour->endpointPath : options.endpoint;
      res.set_content(BuildWsdl(*flavour, endpoint), "text/xml; charset=utf-8");
    });
    server->Post(flavour->endpointPath, [this](const httplib::Request& req, httplib::Response& res) { Serve(req, res); });
    server->Get("/control/scenario", [this](const httplib::Request&, httplib::Response& res) {
      res.set_content(selector->Default().Name() + "\n", "text/plain");
    });
    server->Post("/control/scenario", [this](const httplib::Request& req, httplib::Response& res) {
      std::string name = req.has_param("name") ? req.get_param_value("name") : req.body;
      std::optional<Scenario> s = ParseScenario(name);
      if (!s) {
        res.status = 400;
        res.set_content("unknown scenario '" + name + "'\n", "text/plain");
        return;
      }
      selector->SetDefault(*s);
      res.set_content(s->Name() + "\n", "text/plain");
    });
  }
};

Simulator::Simulator(const Options& options) : impl_(std::make_unique<Impl>()) {
  impl_->options = options;
  impl_->flavour = FindFlavour(options.flavour);
  impl_->selector = std::make_unique<ScenarioSelector>(*ParseScenario(options.scenario));
  impl_->recorder = std::make_unique<Recorder>(options.recordFile);
}

Simulator::~Simulator() = default;

int Simulator::Run(std::string& error) {
  Impl& d = *impl_;
  if (!d.options.scenarioFile.empty()) {
    error = d.selector->LoadFile(d.options.scenarioFile);
    if (!error.empty()) return 2;
  }
  const bool tls = !d.options.tlsCert.empty();
  if (tls)
    d.server = std::make_unique<httplib::SSLServer>(d.options.tlsCert.c_str(), d.options.tlsKey.c_str());
  else
    d.server = std::make_unique<httplib::Server>();
  if (!d.server->is_valid()) {
    error = "cannot load the TLS certificate or key";
    return 2;
  }
  // A service answers many tills at once; a slow answer must not hold up the others, so the
  // simulator keeps more workers than a handful of slow scenarios can occupy.
  d.server->new_task_queue = [] { return new httplib::ThreadPool(64); };
  // Before the bind: the listening socket carries it, and every accepted connection inherits it.
  // Without it an answer written in several pieces (TLS records, headers then body) waits for
  // the client's delayed acknowledgement, some 40 ms that no real service adds.
  d.server->set_tcp_nodelay(true);
  int port = d.options.port;
  if (d.options.rttMs > 0) {
    // The server on a private port; the address everybody is given is the relay's.
    const int serverPort = d.server->bind_to_any_port("127.0.0.1");
    d.relay = std::make_unique<LatencyRelay>(d.options.rttMs);
    port = serverPort > 0 ? d.relay->Listen(port) : -1;
    if (port > 0) d.relay->Start(serverPort);
  } else if (port == 0) {
    port = d.server->bind_to_any_port("127.0.0.1");
  } else if (!d.server->bind_to_port("127.0.0.1", port)) {
    port = -1;
  }
  if (port <= 0) {
    error = "cannot listen on 127.0.0.1:" + std::to_string(d.options.port);
    return 2;
  }
  d.baseUrl = std::string(tls ? "https" : "http") + "://127.0.0.1:" + std::to_string(port);
  d.Routes();
  std::printf("velmora-sim listening on %s%s?wsdl\n", d.baseUrl.c_str(), kDescriptionPath);
  std::fflush(stdout);
  if (!d.options.portFile.empty()) {
    // Written under another name and renamed, so a reader never sees a half-written number.
    std::string temp = d.options.portFile + ".tmp";
    {
      std::ofstream out(temp, std::ios::trunc);
      out << port << "\n";
    }
    std::rename(temp.c_str(), d.options.portFile.c_str());
  }
  return d.server->listen_after_bind() ? 0 : 1;
}

void Simulator::Stop() {
  if (impl_->server) impl_->server->stop();
  if (impl_->relay) impl_->relay->Stop();
}

}  // namespace velmora::sim
