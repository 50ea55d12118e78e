// Does nothing, after the loader has mapped libcurl and pugixml and everything they bring: the
// least any separate process that makes a SOAP call pays before its first byte on the wire.
#include <curl/curl.h>

#include <pugixml.hpp>

int main() {
  pugi::xml_document doc;
  return curl_version_info(CURLVERSION_NOW) != nullptr && !doc.first_child() ? 0 : 1;
}
