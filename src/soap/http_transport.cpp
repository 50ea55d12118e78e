#include "soap/http_transport.h"

#include <curl/curl.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cctype>
#include <mutex>
#include <string_view>

#include "errors/catalogue.h"
#include "soap/soap_error.h"
#include "soap/trust_store.h"
#include "velmora/error.h"

namespace velmora::soap {

namespace {

// Beyond any message of this service; a larger answer is a misbehaving peer.
constexpr size_t kMaxReplyBytes = 16u * 1024u * 1024u;
constexpr long kConnectTimeoutMs = 10000;
// OpenSSL's level 2 (112-bit security: RSA and DH of 2048 bits, no SHA-1 signatures), the
// default of current distributions; a system configuration that lowers it is not followed.
constexpr int kMinSecurityLevel = 2;

void GlobalInit() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

// The context hook below hands libcurl's SSL_CTX to OpenSSL: only right when that is its backend.
bool OnOpenSsl() {
  static const bool openSsl = [] {
    const curl_version_info_data* info = curl_version_info(CURLVERSION_NOW);
    return info && info->ssl_version && std::string_view(info->ssl_version).substr(0, 7) == "OpenSSL";
  }();
  return openSsl;
}

int ContextIndex() {
  static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
  return index;
}

size_t Collect(char* data, size_t size, size_t count, void* user) {
  auto* body = static_cast<std::string*>(user);
  size_t n = size * count;
  if (body->size() + n > kMaxReplyBytes) return 0;  // curl ends the transfer with a write error
  body->append(data, n);
  return n;
}

struct HeaderList {
  curl_slist* list = nullptr;
  ~HeaderList() { curl_slist_free_all(list); }
  void Add(const std::string& header) { list = curl_slist_append(list, header.c_str()); }
};

std::string SubjectLine(X509* cert) {
  BIO* bio = BIO_new(BIO_s_mem());
  X509_NAME_print_ex(bio, X509_get_subject_name(cert), 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  std::string line(data, static_cast<size_t>(size > 0 ? size : 0));
  BIO_free(bio);
  return line;
}

}  // namespace

struct HttpTransport::Impl {
  CURL* easy = nullptr;  // the handle every exchange but a probe goes through
  // TLS sessions outlive curl_easy_reset here, so the post after a description fetch resumes.
  CURLSH* share = nullptr;
  char errorBuffer[CURL_ERROR_SIZE] = {};
  bool nothingSent = false;
  bool proxyRefused = false;  // the last exchange ended in the proxy's 407
  std::unique_ptr<ClientCertificate> certificate;
  ClientCertificateFiles certificateFiles;  // what `certificate` was loaded from
  TlsFacts facts;

  CURL* Handle(const std::string& source) {
    if (!easy) easy = curl_easy_init();
    if (!share && (share = curl_share_init()) != nullptr)
      curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    if (!easy) RaiseSoapError(SoapFailure::Transport, source, errors::Text("soap.curl_init"));
    return easy;
  }

  void Apply(CURL* handle, bool shared, const std::string& url, const ConnectionSettings& settings, long timeoutMs,
             const std::string& source);
  // The configured client certificate, loaded once and again only when the settings change.
  void UseCertificate(const ClientCertificateFiles& files, const std::string& source);
  // One exchange; a proxy that refused the credentials offered first is asked again with any
  // scheme it proposes.
  HttpReply Exchange(CURL* handle, const std::string& url, long timeoutMs, const std::string& source);

  static CURLcode OnContext(CURL*, void* sslContext, void* self);
  static void OnHandshake(const SSL* ssl, int where, int);
};

HttpTransport::HttpTransport() : impl_(std::make_unique<Impl>()) { GlobalInit(); }

HttpTransport::~HttpTransport() {
  if (impl_->easy) curl_easy_cleanup(impl_->easy);
  if (impl_->share) curl_share_cleanup(impl_->share);
}

bool HttpTransport::NothingSent() const { return impl_->nothingSent; }


void HttpTransport::Impl::UseCertificate(const ClientCertificateFiles& files, const std::string& source) {
  if (files.certFile.empty()) {
    certificate.reset();
    certificateFiles = {};
  } else if (!certificate || !(files == certificateFiles)) {
    certificate.reset();
    certificateFiles = {};
    if (!OnOpenSsl()) RaiseSoapError(SoapFailure::ClientCertificate, source, curl_version_info(CURLVERSION_NOW)->ssl_version);
    certificate = ClientCertificate::Load(files, source);
    certificateFiles = files;
  }
}

// Runs after libcurl has set its context up, so what is set here has the last word over the
// system's OpenSSL configuration (MinProtocol, CipherString's @SECLEVEL).
CURLcode HttpTransport::Impl::OnContext(CURL*, void* sslContext, void* self) {
  auto* impl = static_cast<Impl*>(self);
  auto* context = static_cast<SSL_CTX*>(sslContext);
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_max_proto_version(context, 0);  // the highest both know: 1.3 where the server has it
  if (SSL_CTX_get_security_level(context) < kMinSecurityLevel) SSL_CTX_set_security_level(context, kMinSecurityLevel);
  if (impl->certificate && !impl->certificate->Install(context)) return CURLE_SSL_CERTPROBLEM;
  SSL_CTX_set_ex_data(context, ContextIndex(), impl);
  SSL_CTX_set_info_callback(context, OnHandshake);
  return CURLE_OK;
}

void HttpTransport::Impl::OnHandshake(const SSL* ssl, int where, int) {
  if (!(where & SSL_CB_HANDSHAKE_DONE)) return;
  auto* impl = static_cast<Impl*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(ssl), ContextIndex()));
  if (!impl) return;
  impl->facts.protocol = SSL_get_version(ssl);
  if (X509* peer = SSL_get0_peer_certificate(ssl)) {
    impl->facts.serverSubject = SubjectLine(peer);
    impl->facts.serverNotAfter = AsnTimeToEpoch(X509_get0_notAfter(peer));
  }
}

namespace {

bool IsHttps(const std::string& url) {
  static constexpr std::string_view kScheme = "https://";
  if (url.size() < kScheme.size()) return false;
  for (size_t i = 0; i < kScheme.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(url[i])) != kScheme[i]) return false;
  return true;
}

}  // namespace

void HttpTransport::Impl::Apply(CURL* curl, bool shared, const std::string& url, const ConnectionSettings& settings,
                                long timeoutMs, const std::string& source) {
  UseCertificate(settings.clientCertificate, source);
  facts = {};
  if (certificate) facts.clientNotAfter = certificate->NotAfter();
  // Every exchange starts from libcurl's defaults (nothing left over from the previous one).
  curl_easy_reset(curl);
  if (shared && share) curl_easy_setopt(curl, CURLOPT_SHARE, share);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  // A service reached over https is never followed to plain http, where the description could
  // be altered on the way and name an endpoint that takes the password in clear.
  curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, IsHttps(url) ? "https" : "http,https");
  curl_easy_setopt(curl, CURLOPT_TCP_NODELAY, 1L);
  // Every exchange on a connection of its own, closed when it is done. A dispensation posted on
  // a reused connection that the service has meanwhile closed is sent again by libcurl, and the
  // service could register it twice; and a description fetch left open would hold one of the
  // service's workers idle while the post waits for another.
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
  ApplyTrust(curl, settings.caFile);
  curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  if (OnOpenSsl()) {
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, OnContext);
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, this);
  }
  // A time-out of zero would mean "wait for ever" to libcurl; nobody configures that on purpose.
  if (timeoutMs <= 0) timeoutMs = 30000;
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, timeoutMs);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs < kConnectTimeoutMs ? timeoutMs : kConnectTimeoutMs);
  if (settings.useProxy && !settings.proxyServer.empty()) {
    curl_easy_setopt(curl, CURLOPT_PROXY, settings.proxyServer.c_str());
    curl_easy_setopt(curl, CURLOPT_PROXYPORT, static_cast<long>(settings.proxyPort));
    curl_easy_setopt(curl, CURLOPT_PROXYTYPE, static_cast<long>(CURLPROXY_HTTP));
    curl_easy_setopt(curl, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
    if (!settings.proxyUser.empty()) {
      // Basic offered with the first request, as a browser given a user does: a proxy that
      // closes its connection after a 407 would never see credentials sent in answer to it.
      // One that wants another scheme is asked again (Exchange).
      curl_easy_setopt(curl, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_BASIC));
      curl_easy_setopt(curl, CURLOPT_PROXYUSERNAME, settings.proxyUser.c_str());
      curl_easy_setopt(curl, CURLOPT_PROXYPASSWORD, settings.proxyPassword.c_str());
    }
  } else {
    // An empty proxy, not an unset one: otherwise http_proxy and friends from the environment
    // would route the calls somewhere nobody configured.
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
  }
}

namespace {

HttpReply Perform(CURL* curl, char* errorBuffer, bool& nothingSent, bool& proxyRefused, const std::string& url,
                  long timeoutMs, const std::string& source) {
  HttpReply reply;
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorBuffer);
  errorBuffer[0] = '\0';
  CURLcode code = curl_easy_perform(curl);
  long requestBytes = 0;
  curl_easy_getinfo(curl, CURLINFO_REQUEST_SIZE, &requestBytes);
  nothingSent = code != CURLE_OK && requestBytes == 0;
  long connectCode = 0;
  curl_easy_getinfo(curl, CURLINFO_HTTP_CONNECTCODE, &connectCode);
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
  proxyRefused = connectCode == 407 || (code == CURLE_OK && reply.status == 407);
  if (proxyRefused) RaiseSoapError(SoapFailure::ProxyAuth, source, url);
  if (code != CURLE_OK) {
    std::string text = errorBuffer[0] ? errorBuffer : curl_easy_strerror(code);
    text = errors::Text("soap.curl_failed", {url, text, std::to_string(static_cast<int>(code))});
    // An https address is always supported, so only a redirect can lead to this.
    char* refused = nullptr;
    if (code == CURLE_UNSUPPORTED_PROTOCOL && IsHttps(url)) {
      curl_easy_getinfo(curl, CURLINFO_EFFECTIVE_URL, &refused);
      RaiseSoapError(SoapFailure::Downgrade, source, errors::Text("soap.redirect_downgrade", {url, refused ? refused : "http"}));
    }
    if (code == CURLE_OPERATION_TIMEDOUT)
      RaiseSoapError(SoapFailure::Timeout, source, errors::Text("soap.timed_out", {std::to_string(timeoutMs), text}));
    RaiseSoapError(SoapFailure::Transport, source, text);
  }
  return reply;
}

}  // namespace

HttpReply HttpTransport::Impl::Exchange(CURL* handle, const std::string& url, long timeoutMs, const std::string& source) {
  try {
    return Perform(handle, errorBuffer, nothingSent, proxyRefused, url, timeoutMs, source);
  } catch (const Error&) {
    long offered = 0;
    // Nothing went past a proxy that answered 407, so asking again cannot repeat a dispensation.
    if (!proxyRefused || curl_easy_getinfo(handle, CURLINFO_PROXYAUTH_AVAIL, &offered) != CURLE_OK ||
        !(offered & ~static_cast<long>(CURLAUTH_BASIC)))
      throw;
    curl_easy_setopt(handle, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_ANY));
    return Perform(handle, errorBuffer, nothingSent, proxyRefused, url, timeoutMs, source);
  }
}

HttpReply HttpTransport::Get(const std::string& url, const ConnectionSettings& settings, int32_t timeoutMs,
                             const std::string& source) {
  CURL* curl = impl_->Handle(source);
  impl_->Apply(curl, true, url, settings, timeoutMs, source);
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
  return impl_->Exchange(curl, url, timeoutMs, source);
}

HttpReply HttpTransport::PostSoap(const std::string& url, const std::string& soapAction, const std::string& envelope,
                                  const ConnectionSettings& settings, const std::string& source) {
  CURL* curl = impl_->Handle(source);
  impl_->Apply(curl, true, url, settings, settings.timeoutMs, source);
  HeaderList headers;  // declared before the guard below, so freed after the handle forgets it
  headers.Add("Content-Type: text/xml; charset=\"UTF-8\"");
  headers.Add("SOAPAction: \"" + soapAction + "\"");
  // Without this curl waits up to a second for "100 Continue" before sending a larger body.
  headers.Add("Expect:");
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.list);
  curl_easy_setopt(curl, CURLOPT_POST, 1L);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, envelope.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(envelope.size()));
  curl_easy_setopt(curl, CURLOPT_USERAGENT, "velmora-soap/1.0");
  // The handle outlives this call's header list and body, so it must not keep pointers to them.
  struct Forget {
    CURL* curl;
    ~Forget() {
      curl_easy_setopt(curl, CURLOPT_HTTPHEADER, nullptr);
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, nullptr);
    }
  } forget{curl};
  return impl_->Exchange(curl, url, settings.timeoutMs, source);
}


// A handle of its own, outside the shared session cache, so the handshake is a full one. A
// request is made and its answer read, whatever its status: with TLS 1.3 a server that refuses
// the client's certificate says so only after the client has finished its side of the handshake.
TlsFacts HttpTransport::Probe(const std::string& url, const ConnectionSettings& settings, const std::string& source) {
  struct Handle {
    CURL* curl = curl_easy_init();
    ~Handle() { curl_easy_cleanup(curl); }
  } probe;
  if (!probe.curl) RaiseSoapError(SoapFailure::Transport, source, errors::Text("soap.curl_init"));
  impl_->Apply(probe.curl, false, url, settings, settings.timeoutMs, source);
  impl_->Exchange(probe.curl, url, settings.timeoutMs, source);
  return impl_->facts;
}

}  // namespace velmora::soap
