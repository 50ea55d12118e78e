// The floor of a dispensation at any distance: a separate program, linked with libcurl, that
// makes one connection (TLS when the address is https) and one POST of the envelope, then ends.
//   velmora_bench_floor URL SOAPACTION CONTENT-TYPE BODY-FILE [CA-FILE | HASHED-CA-FOLDER]
// Trust is looked up as executor.exe looks it up: a folder alone (the bundle not parsed), or a
// file beside libcurl's own folder.
// Exit 0 when the service answered 200.
#include <curl/curl.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

size_t Discard(char*, size_t size, size_t count, void*) { return size * count; }

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  std::ifstream in(argv[4], std::ios::binary);
  const std::string body((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  CURL* curl = curl_easy_init();
  curl_slist* headers = nullptr;
  headers = curl_slist_append(headers, (std::string("Content-Type: ") + argv[3]).c_str());
  headers = curl_slist_append(headers, (std::string("SOAPAction: ") + argv[2]).c_str());
  headers = curl_slist_append(headers, "Expect:");
  curl_easy_setopt(curl, CURLOPT_URL, argv[1]);
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Discard);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_TCP_NODELAY, 1L);  // libcurl's default too; said so it stays
  if (argc > 5 && std::filesystem::is_directory(argv[5])) {
    curl_easy_setopt(curl, CURLOPT_CAPATH, argv[5]);
    curl_easy_setopt(curl, CURLOPT_CAINFO, nullptr);
  } else if (argc > 5) {
    curl_easy_setopt(curl, CURLOPT_CAINFO, argv[5]);
  }
  long status = 0;
  if (curl_easy_perform(curl) == CURLE_OK) curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  curl_slist_free_all(headers);
  curl_easy_cleanup(curl);
  return status == 200 ? 0 : 1;
}
