#include "net/proxy.h"

#include <cstring>

#include "net/http.h"

std::vector<std::string> gProxyExclude;

bool UseProxy(const char* host, unsigned short) {
  if (http._proxy_port_int == 0 || http._proxy_host.empty()) return false;
  const size_t host_len = host ? strlen(host) : 0;
  for (const std::string& ending : gProxyExclude) {
    if (ending.size() > host_len) continue;
    if (memcmp(host + host_len - ending.size(), ending.data(), ending.size()) == 0) return false;
  }
  return true;
}

unsigned short ProxyPort(const char* host, unsigned short port) {
  return UseProxy(host, port) ? static_cast<unsigned short>(http._proxy_port_int) : port;
}

const char* ProxyHost(const char* host, unsigned short port) {
  return UseProxy(host, port) ? http._proxy_host.c_str() : host;
}
