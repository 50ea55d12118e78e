#include "soap/http_transport.h"

#include <curl/curl.h>

#include <cctype>
#include <mutex>
#include <string_view>

#include "soap/soap_error.h"
#include "soap/tls_session.h"

namespace velmora::soap {

namespace {

// Beyond any message of this service; a larger answer is a misbehaving peer.
constexpr size_t kMaxReplyBytes = 16u * 1024u * 1024u;
constexpr long kConnectTimeoutMs = 10000;

void GlobalInit() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
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

}  // namespace

struct HttpTransport::Impl {
  CURL* curl = nullptr;
  // TLS sessions outlive curl_easy_reset here, so the post after a description fetch resumes.
  CURLSH* share = nullptr;
  char errorBuffer[CURL_ERROR_SIZE] = {};
  bool nothingSent = false;
  std::unique_ptr<TlsSessionKeeper> sessions;

  // One exchange, with the kept TLS session offered before and the new one kept after.
  HttpReply Exchange(CURL* handle, const std::string& url, long timeoutMs, const std::string& source);

  CURL* Handle(const std::string& source) {
    if (!curl) curl = curl_easy_init();
    if (!share && (share = curl_share_init()) != nullptr)
      curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    if (!curl) RaiseSoapError(SoapFailure::Transport, source, "no se pudo iniciar libcurl");
    return curl;
  }
};

HttpTransport::HttpTransport() : impl_(std::make_unique<Impl>()) { GlobalInit(); }

HttpTransport::~HttpTransport() {
  if (impl_->curl) curl_easy_cleanup(impl_->curl);
  if (impl_->share) curl_share_cleanup(impl_->share);
}

bool HttpTransport::NothingSent() const { return impl_->nothingSent; }

void HttpTransport::TlsSessionFile(const std::string& path) {
  impl_->sessions = path.empty() ? nullptr : std::make_unique<TlsSessionKeeper>(path);
}

namespace {

bool IsHttps(const std::string& url) {
  static constexpr std::string_view kScheme = "https://";
  if (url.size() < kScheme.size()) return false;
  for (size_t i = 0; i < kScheme.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(url[i])) != kScheme[i]) return false;
  return true;
}

void Apply(CURL* curl, CURLSH* share, const std::string& url, const ConnectionSettings& settings, long timeoutMs) {
  // Every exchange starts from libcurl's defaults (nothing left over from the previous one).
  curl_easy_reset(curl);
  if (share) curl_easy_setopt(curl, CURLOPT_SHARE, share);
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
  if (!settings.caFile.empty()) curl_easy_setopt(curl, CURLOPT_CAINFO, settings.caFile.c_str());
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
      curl_easy_setopt(curl, CURLOPT_PROXYUSERNAME, settings.proxyUser.c_str());
      curl_easy_setopt(curl, CURLOPT_PROXYPASSWORD, settings.proxyPassword.c_str());
    }
  } else {
    // An empty proxy, not an unset one: otherwise http_proxy and friends from the environment
    // would route the calls somewhere nobody configured.
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
  }
}

HttpReply Perform(CURL* curl, char* errorBuffer, bool& nothingSent, const std::string& url, long timeoutMs,
                  const std::string& source) {
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
  if (connectCode == 407 || (code == CURLE_OK && reply.status == 407))
    RaiseSoapError(SoapFailure::ProxyAuth, source, url);
  if (code != CURLE_OK) {
    std::string text = errorBuffer[0] ? errorBuffer : curl_easy_strerror(code);
    text = url + ": " + text + " (curl " + std::to_string(static_cast<int>(code)) + ")";
    // An https address is always supported, so only a redirect can lead to this.
    char* refused = nullptr;
    if (code == CURLE_UNSUPPORTED_PROTOCOL && IsHttps(url)) {
      curl_easy_getinfo(curl, CURLINFO_EFFECTIVE_URL, &refused);
      RaiseSoapError(SoapFailure::Downgrade, source, url + " redirige a " + (refused ? refused : "http"));
    }
    if (code == CURLE_OPERATION_TIMEDOUT)
      RaiseSoapError(SoapFailure::Timeout, source, std::to_string(timeoutMs) + " ms, " + text);
    RaiseSoapError(SoapFailure::Transport, source, text);
  }
  return reply;
}

}  // namespace

HttpReply HttpTransport::Impl::Exchange(CURL* handle, const std::string& url, long timeoutMs, const std::string& source) {
  if (!sessions) return Perform(handle, errorBuffer, nothingSent, url, timeoutMs, source);
  sessions->Offer(handle, url);
  struct KeepAfter {
    TlsSessionKeeper& keeper;
    ~KeepAfter() { keeper.Keep(); }
  } keep{*sessions};
  return Perform(handle, errorBuffer, nothingSent, url, timeoutMs, source);
}

HttpReply HttpTransport::Get(const std::string& url, const ConnectionSettings& settings, int32_t timeoutMs,
                             const std::string& source) {
  CURL* curl = impl_->Handle(source);
  Apply(curl, impl_->share, url, settings, timeoutMs);
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
  return impl_->Exchange(curl, url, timeoutMs, source);
}

HttpReply HttpTransport::PostSoap(const std::string& url, const std::string& soapAction, const std::string& envelope,
                                  const ConnectionSettings& settings, const std::string& source) {
  CURL* curl = impl_->Handle(source);
  Apply(curl, impl_->share, url, settings, settings.timeoutMs);
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

}  // namespace velmora::soap
