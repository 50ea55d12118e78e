#include "soap/tls_session.h"

#include <openssl/ssl.h>

#include <optional>
#include <string_view>

#include "os/files.h"
#include "velmora/error.h"

namespace velmora::soap {

namespace {

// First line of the file, then "host:port", then the session as DER.
constexpr std::string_view kMagic = "velmora-tls-session 1\n";

bool OnOpenSsl() {
  static const bool openSsl = [] {
    const curl_version_info_data* info = curl_version_info(CURLVERSION_NOW);
    return info && info->ssl_version && std::string_view(info->ssl_version).substr(0, 7) == "OpenSSL";
  }();
  return openSsl;
}

// "https://host:port/path" -> "host:port"; empty for anything else.
std::string ServerOf(const std::string& url) {
  constexpr std::string_view kScheme = "https://";
  if (url.size() <= kScheme.size() || std::string_view(url).substr(0, kScheme.size()) != kScheme) return {};
  return url.substr(kScheme.size(), url.find_first_of("/?#", kScheme.size()) - kScheme.size());
}

int ContextIndex() {
  static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
  return index;
}

// libcurl makes the SSL object only after its context hook has run; the session can still be
// set when the handshake starts, before the ClientHello is written. A session libcurl found in
// its own cache is left alone.
void OnHandshake(const SSL* ssl, int where, int) {
  if (!(where & SSL_CB_HANDSHAKE_START)) return;
  SSL* s = const_cast<SSL*>(ssl);
  auto* session = static_cast<SSL_SESSION*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(s), ContextIndex()));
  if (session && !SSL_get_session(s)) SSL_set_session(s, session);
}

}  // namespace

TlsSessionKeeper::~TlsSessionKeeper() { Release(); }

void TlsSessionKeeper::Release() {
  SSL_SESSION_free(static_cast<SSL_SESSION*>(offered_));
  SSL_SESSION_free(static_cast<SSL_SESSION*>(captured_));
  offered_ = captured_ = nullptr;
}

void TlsSessionKeeper::Offer(CURL* curl, const std::string& url) {
  Release();
  curl_ = curl;
  server_ = path_.empty() || !OnOpenSsl() ? std::string() : ServerOf(url);
  if (server_.empty()) return;
  std::optional<std::string> data = os::ReadWholeFile(path_);
  const std::string header = std::string(kMagic) + server_ + "\n";
  if (data && data->compare(0, header.size(), header) == 0) {
    const auto* der = reinterpret_cast<const unsigned char*>(data->data() + header.size());
    SSL_SESSION* session = d2i_SSL_SESSION(nullptr, &der, static_cast<long>(data->size() - header.size()));
    if (session && SSL_SESSION_is_resumable(session))
      offered_ = session;
    else
      SSL_SESSION_free(session);
  }
  curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, OnContext);
  curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, this);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, OnProgress);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
}

CURLcode TlsSessionKeeper::OnContext(CURL*, void* sslContext, void* self) {
  auto* keeper = static_cast<TlsSessionKeeper*>(self);
  auto* context = static_cast<SSL_CTX*>(sslContext);
  SSL_CTX_set_ex_data(context, ContextIndex(), keeper->offered_);
  SSL_CTX_set_info_callback(context, OnHandshake);
  return CURLE_OK;
}

// Once the answer has begun to arrive, the server's session tickets (sent right after the
// handshake) have been read, so the connection's session is the one to keep.
int TlsSessionKeeper::OnProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t) {
  auto* keeper = static_cast<TlsSessionKeeper*>(self);
  if (received <= 0 || keeper->captured_) return 0;
  curl_tlssessioninfo* info = nullptr;
  if (curl_easy_getinfo(keeper->curl_, CURLINFO_TLS_SSL_PTR, &info) != CURLE_OK || !info ||
      info->backend != CURLSSLBACKEND_OPENSSL || !info->internals)
    return 0;
  SSL_SESSION* session = SSL_get1_session(static_cast<SSL*>(info->internals));
  if (session && SSL_SESSION_is_resumable(session))
    keeper->captured_ = session;
  else
    SSL_SESSION_free(session);
  return 0;
}

void TlsSessionKeeper::Keep() {
  auto* session = static_cast<SSL_SESSION*>(captured_);
  if (!session || server_.empty()) return;
  const int length = i2d_SSL_SESSION(session, nullptr);
  if (length <= 0) return;
  std::string data = std::string(kMagic) + server_ + "\n";
  const size_t at = data.size();
  data.resize(at + static_cast<size_t>(length));
  auto* out = reinterpret_cast<unsigned char*>(data.data() + at);
  if (i2d_SSL_SESSION(session, &out) != length) return;
  try {
    os::WriteFileAtomic(path_, data, "SoapClient.TlsSession");
  } catch (const Error&) {
    // Only a resumption missed: the next handshake is a full one.
  }
}

}  // namespace velmora::soap
