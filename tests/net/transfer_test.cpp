// One transfer against a loopback server that plays each case's response.
#include <gtest/gtest.h>

#include <memory>

#include "net/http.h"
#include "net_support.h"

using net_test::read_file;
using net_test::script_server;

namespace {

class Transfer : public testing::Test {
 protected:
  net_test::scratch tmp;
  std::string dest = tmp.file("out.bin");
  script_server srv;
  std::unique_ptr<down_class> d;

  std::string start(const char* path = "/f.zip", const char* body = nullptr) {
    d = std::make_unique<down_class>(
        "127.0.0.1", srv.port, path, body != nullptr,
        std::map<std::string, std::string>{
            {"Host", "example"}, {"User-agent", "Installer-LIN/RC-1"}, {"Connection", "close"}},
        body, 5, dest.c_str());
    return srv.request([&] { d->DoProcessing(); });
  }
  template <class P>
  bool step_until(P pred) {
    return net_test::poll_until([&] {
      d->DoProcessing();
      return pred();
    });
  }
  void step_a_while() {
    for (int i = 0; i < 20; ++i, usleep(1000)) d->DoProcessing();
  }
};

}  // namespace

TEST_F(Transfer, RequestBytesAreExactlyTheGivenOnesWithOnlyBlanksEscaped) {
  EXPECT_EQ(start("/two  blanks/%x?q=1#y", "a=1&b"),
            "POST /two%20%20blanks/%x?q=1#y HTTP/1.1\r\nConnection: close\r\nHost: example\r\n"
            "User-agent: Installer-LIN/RC-1\r\nContent-Length: 5\r\n\r\na=1&b");
}

TEST_F(Transfer, AResponseTrickledByteByByteCompletes) {
  net_test::write_file(dest, "an older and longer file");  // truncated, not appended to
  ASSERT_FALSE(start().empty());
  for (char c : std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX-Two: a: b\r\n\r\nhello")) {
    srv.send(std::string(1, c));
    d->DoProcessing();
  }
  ASSERT_TRUE(step_until([&] { return d->IsComplete(); }));
  EXPECT_EQ(d->status_text, "OK");
  EXPECT_EQ(d->headers.at("X-Two"), "a: b");  // split at the first ": "
  EXPECT_TRUE(d->IsDone());  // all bytes here, so this side has closed
  d.reset();
  EXPECT_EQ(read_file(dest), "hello");
}

TEST_F(Transfer, BytesBehindAnInterimResponseWaitForTheNextRead) {
  // Kept as it is: the final response waits for more data, and a clean
  // close reads like no data.
  start();
  srv.send("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\no");
  ASSERT_TRUE(step_until([&] { return d->status_code == 100; }));
  step_a_while();
  EXPECT_FALSE(d->header_done);
  EXPECT_EQ(std::string(d->in_buf.begin(), d->in_buf.end()),
            "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\no");
  srv.send("k");
  ASSERT_TRUE(step_until([&] { return d->IsComplete(); }));
  EXPECT_EQ(d->status_code, 200);
  d.reset();
  EXPECT_EQ(read_file(dest), "ok");
}

TEST_F(Transfer, OnlyTheFirstExactContentLengthEndsATransfer) {
  // The server closes after each response: whatever lacks a usable length
  // stays under way, header or body.
  enum { complete, closed, in_body, in_header };
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const struct {
    std::string response;
    int end;
    const char* file;  // what stays on disk; null: not looked at
  } cases[] = {
      {ok + "Content-Length: 0\r\n\r\n", complete, ""},
      {ok + "Content-Length: 3\r\nContent-Length: 10\r\n\r\nabc", complete, "abc"},
      {ok + "Content-Length: -5\r\n\r\nbody", closed, "body"},
      {ok + "Content-Length: -1\r\n\r\nbody", in_body, "body"},  // -1 is "unknown"
      {ok + "Content-Length: 10\r\n\r\n12345", in_body, "12345"},
      {ok + "content-length: 4\r\n\r\nbody", in_body, nullptr},
      {"HTTP/1.1 200 \r\nContent-Length: 4\r\n\r\nbody", in_header, ""},  // one short
      {"HTTP/1.1 2x0 OK\r\nContent-Length: 4\r\n\r\nbody", in_header, nullptr},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.response);
    unlink(dest.c_str());
    srv.hang_up();
    ASSERT_FALSE(start().empty());
    srv.send(k.response);
    srv.hang_up();
    ASSERT_TRUE(step_until([&] { return d->IsDone() || d->socket->ReceivedRelease(); }));
    step_a_while();
    EXPECT_EQ(d->header_done, k.end != in_header);
    EXPECT_EQ(d->IsComplete(), k.end == complete);
    EXPECT_EQ(d->IsDone(), k.end <= closed);
    EXPECT_FALSE(d->IsErr());
    d.reset();  // a partial file stays on disk
    if (k.file) {
      EXPECT_EQ(read_file(dest), k.file);
    }
  }
}
