#include "net/proxy.h"

#include <gtest/gtest.h>

#include "net/http.h"

namespace {

class Proxy : public testing::Test {
 protected:
  void SetUp() override { set("", 0); }
  void TearDown() override {
    set("", 0);
    gProxyExclude.clear();
  }
  void set(const std::string& host, int port) {
    http._proxy_host = host;
    http._proxy_port = port ? std::to_string(port) : "";
    http._proxy_port_int = port;
  }
};

}  // namespace

TEST_F(Proxy, BothAHostAndAPortAreNeeded) {
  set("", 3128);
  EXPECT_FALSE(UseProxy("example", 80));
  set("cache", 0);
  EXPECT_FALSE(UseProxy("example", 80));
  EXPECT_EQ(ProxyPort("example", 80), 80);
  EXPECT_STREQ(ProxyHost("example", 80), "example");

  set("cache", 3128);
  EXPECT_TRUE(UseProxy("example", 80));
  EXPECT_TRUE(UseProxy("example", 8080));  // the port plays no part
  EXPECT_EQ(ProxyPort("example", 80), 3128);
  EXPECT_STREQ(ProxyHost("example", 80), "cache");
}

TEST_F(Proxy, ExcludedEndingsMatchByExactBytesAtTheEndOfTheHost) {
  set("cache", 3128);
  gProxyExclude = {"intranet"};
  EXPECT_FALSE(UseProxy("cache.intranet", 80));
  EXPECT_FALSE(UseProxy("intranet", 80));
  EXPECT_FALSE(UseProxy("myintranet", 80));  // an ending, not a domain rule
  EXPECT_TRUE(UseProxy("intranet.zone", 80));
  EXPECT_TRUE(UseProxy("cache.INTRANET", 80));
  EXPECT_TRUE(UseProxy("net", 80));  // an entry longer than the host never matches
  EXPECT_EQ(ProxyPort("a.intranet", 80), 80);
  EXPECT_STREQ(ProxyHost("a.intranet", 80), "a.intranet");

  gProxyExclude = {"zone", "intranet"};
  EXPECT_FALSE(UseProxy("x.intranet", 80));  // any entry in the list will do
}
