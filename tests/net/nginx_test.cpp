// Real files from a real nginx, reached through the proxy settings (the
// direct route would need port 80).
#include <gtest/gtest.h>

#include "net/http.h"
#include "net_support.h"

using net_test::pattern_bytes;
using net_test::read_file;

TEST(Nginx, FilesFetchedAloneAndFourAtOnceAreByteIdenticalToTheirSources) {
  net_test::scratch tmp;
  net_test::nginx_server server(tmp.file("nginx"));
  ASSERT_TRUE(server.running()) << server.error;
  net_test::proxy_to_loopback proxy(server.port);

  // Several reads' worth and an odd tail, under a folder with a blank.
  std::system(("mkdir -p '" + server.www() + "/Big One'").c_str());
  net_test::write_file(server.www() + "/Big One/body.zip", pattern_bytes(5 * 1024 * 1024 + 7, 7));
  size_t most = 0;
  int r = 0;
  net_test::poll_until([&] {
    r = http.net_check(2, "zephyra.example", "/Big One/body.zip", tmp.file("body.zip"));
    if (r == 0) most = std::max(most, http.down_objects[2]->in_buf.capacity());
    return r != 0;
  }, 10000);
  EXPECT_EQ(r, 1);
  EXPECT_LE(most, 65536u * 2);  // written at each read: memory stays within one read
  EXPECT_TRUE(read_file(tmp.file("body.zip")) == read_file(server.www() + "/Big One/body.zip"));

  // The four file slots share one read buffer; each must still get its own bytes.
  for (int i = 0; i < 4; ++i)
    net_test::write_file(server.www() + "/f" + std::to_string(i),
                         pattern_bytes(700000 + 100000 * i, 20 + i));
  int result[4] = {0, 0, 0, 0};
  EXPECT_TRUE(net_test::poll_until([&] {
    bool all = true;
    for (int i = 0; i < 4; ++i) {
      const std::string name = "/f" + std::to_string(i);
      if (result[i] == 0) result[i] = http.net_check(i + 2, "zephyra.example", name, tmp.file(name));
      all = all && result[i] != 0;
    }
    return all;
  }, 20000));
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(result[i], 1) << i;
    const std::string name = "/f" + std::to_string(i);
    EXPECT_TRUE(read_file(tmp.file(name)) == read_file(server.www() + name)) << i;
    net_test::drop_slot(i + 2);  // in case it never ended
  }
  EXPECT_EQ(tmp.log(), "");
}
