// A real nginx, reached as a proxy: the direct route would need port 80.
#include <gtest/gtest.h>

#include "net/http.h"
#include "net_support.h"

using net_test::read_file;

TEST(Nginx, FourFilesFetchedAtOnceAreByteIdenticalToTheirSources) {
  net_test::scratch tmp;
  net_test::nginx_server server(tmp.file("nginx"));
  ASSERT_TRUE(server.running()) << server.error;
  net_test::proxy_to_loopback proxy(server.port);

  // The four file slots share one read buffer; each must still get its own
  // bytes. One is many reads' worth with an odd tail, under a folder with a blank.
  std::system(("mkdir -p '" + server.www() + "/Big One'").c_str());
  const std::string names[4] = {"/Big One/body.zip", "/f1", "/f2", "/f3"};
  for (int i = 0; i < 4; ++i)
    net_test::write_file(server.www() + names[i],
                         net_test::pattern_bytes(i ? 700000 * i : 5 * 1024 * 1024 + 7, i));
  int result[4] = {0, 0, 0, 0};
  size_t most = 0;
  EXPECT_TRUE(net_test::poll_until([&] {
    bool all = true;
    for (int i = 0; i < 4; ++i) {
      if (result[i] == 0) result[i] = http.net_check(i + 2, "zephyra.example", names[i], tmp.file(std::to_string(i)));
      if (result[i] == 0) most = std::max(most, http.down_objects[i + 2]->in_buf.capacity());
      all = all && result[i] != 0;
    }
    return all;
  }, 20000));
  EXPECT_LE(most, 65536u * 2);  // written at each read: memory stays within one read
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(result[i], 1) << i;
    EXPECT_TRUE(read_file(tmp.file(std::to_string(i))) == read_file(server.www() + names[i])) << i;
    net_test::drop_slot(i + 2);  // in case it never ended
  }
  EXPECT_EQ(tmp.log(), "");
}
