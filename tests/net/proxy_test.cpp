#include "net/proxy.h"

#include <gtest/gtest.h>

#include "net/http.h"

TEST(Proxy, BothSettingsAreNeededAndExcludedEndingsMatchExactBytes) {
  struct {
    const char* host;
    int port;
    std::vector<std::string> exclude;
    const char* target;
    bool use;
  } cases[] = {
      {"", 3128, {}, "example", false},
      {"cache", 0, {}, "example", false},
      {"cache", 3128, {}, "example", true},
      {"cache", 3128, {"zone", "intranet"}, "myintranet", false},  // an ending, not a domain rule
      {"cache", 3128, {"intranet"}, "net", true},  // an entry longer than the host
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.target);
    http._proxy_host = k.host;
    http._proxy_port_int = k.port;
    gProxyExclude = k.exclude;
    EXPECT_EQ(UseProxy(k.target, 8080), k.use);
  }
  http._proxy_host.clear();
  http._proxy_port_int = 0;
  gProxyExclude.clear();
}
