// Whether a connection goes straight to its server or through the user's
// HTTP proxy (http._proxy_host and http._proxy_port_int).
#pragma once
#include <string>
#include <vector>

// Host name endings that bypass the proxy. Starts empty; nothing adds to it.
extern std::vector<std::string> gProxyExclude;

bool UseProxy(const char* host, unsigned short port);
unsigned short ProxyPort(const char* host, unsigned short port);
const char* ProxyHost(const char* host, unsigned short port);
