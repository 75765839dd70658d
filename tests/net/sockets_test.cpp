#include "net/sockets.h"

#include <arpa/inet.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <memory>

#include "net_support.h"

using net_test::poll_until;

namespace {

const unsigned long kLoopback = htonl(INADDR_LOOPBACK);

unsigned short local_port(PCSBSocket& s) {
  PCSBSocket::ConnectionData cd{};
  s.GetAddresses(&cd);
  return cd.local_port;
}

// A listener, a client connected to it, and the accepted end.
struct socket_pair {
  PCSBSocket listener{0, true};
  PCSBSocket client{0, false};
  std::unique_ptr<PCSBSocket> server;
  socket_pair() {
    client.Connect(kLoopback, local_port(listener));
    poll_until([&] { return listener.GetStatus() == PCSBSocket::status_Waiting; });
    server.reset(listener.Accept());
    poll_until([&] { return client.GetStatus() == PCSBSocket::status_Connected; });
  }
};

}  // namespace

TEST(SocketLookup, DottedNamesNeedNoNameServiceAndUnknownNamesGiveZero) {
  EXPECT_EQ(PCSBSocket::LookupAddress("127.0.0.1"), kLoopback);
  EXPECT_EQ(PCSBSocket::LookupAddress("10.1.2.3"), inet_addr("10.1.2.3"));
  EXPECT_EQ(PCSBSocket::LookupAddress("localhost"), kLoopback);  // from /etc/hosts
  EXPECT_EQ(PCSBSocket::LookupAddress("no-such-host.invalid"), 0u);
  EXPECT_EQ(PCSBSocket::LookupAddress(""), 0u);
}

TEST(SocketStatus, ListenerAndClientMoveThroughTheirStatesByPollingAlone) {
  PCSBSocket listener(0, true);
  ASSERT_EQ(listener.GetStatus(), PCSBSocket::status_Unconnected);
  const unsigned short port = local_port(listener);
  ASSERT_NE(port, 0);

  PCSBSocket client(0, false);
  EXPECT_EQ(client.GetStatus(), PCSBSocket::status_Unconnected);
  client.Connect(kLoopback, port);
  // Waiting or already there; either way it gets to connected with no read.
  EXPECT_TRUE(poll_until([&] { return client.GetStatus() == PCSBSocket::status_Connected; }));
  EXPECT_TRUE(poll_until([&] { return listener.GetStatus() == PCSBSocket::status_Waiting; }));

  std::unique_ptr<PCSBSocket> accepted(listener.Accept());
  ASSERT_TRUE(accepted);
  EXPECT_EQ(listener.GetStatus(), PCSBSocket::status_Unconnected);
  EXPECT_EQ(accepted->GetStatus(), PCSBSocket::status_Connected);
  EXPECT_EQ(accepted->GetOSError(), 0);

  // Nothing waiting: Accept gives null and the listener stays put.
  EXPECT_EQ(listener.Accept(), nullptr);
  EXPECT_EQ(listener.GetStatus(), PCSBSocket::status_Unconnected);
}

TEST(SocketStatus, AddressesKeepTheirMixedByteOrders) {
  socket_pair p;
  PCSBSocket::ConnectionData cd{};
  p.client.GetAddresses(&cd);
  // Local in host order, remote in network order: on purpose.
  EXPECT_EQ(cd.local_address, static_cast<unsigned long>(INADDR_LOOPBACK));
  EXPECT_EQ(cd.remote_address, kLoopback);
  EXPECT_EQ(cd.remote_port, local_port(p.listener));
  PCSBSocket::ConnectionData back{};
  p.server->GetAddresses(&back);
  EXPECT_EQ(back.remote_port, cd.local_port);
}

TEST(SocketData, BytesFlowBothWaysAndAnEmptyQueueReadsAsZero) {
  socket_pair p;
  char buf[64];
  EXPECT_EQ(p.client.ReadData(buf, sizeof buf), 0);  // nothing yet, not an error
  EXPECT_EQ(p.client.WriteData("ping", 4), 4);
  long got = 0;
  poll_until([&] { return (got = p.server->ReadData(buf, sizeof buf)) != 0; });
  ASSERT_EQ(got, 4);
  EXPECT_EQ(std::string(buf, 4), "ping");
  EXPECT_EQ(p.client.GetStatus(), PCSBSocket::status_Connected);
}

TEST(SocketData, APeerClosingItsSideEndsNothingUntilThisSideReleases) {
  socket_pair p;
  p.server.reset();  // the peer closes
  char buf[16];
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(p.client.ReadData(buf, sizeof buf), 0);
    EXPECT_EQ(p.client.GetStatus(), PCSBSocket::status_Connected);
  }
  EXPECT_TRUE(p.client.ReceivedRelease());

  EXPECT_EQ(p.client.Release(), 1);
  EXPECT_EQ(p.client.ReadData(buf, sizeof buf), -1);
  EXPECT_EQ(p.client.GetStatus(), PCSBSocket::status_Disconnected);
  EXPECT_EQ(p.client.GetOSError(), 0);
}

TEST(SocketData, DisconnectAndResetEndTheConnectionWithoutAnError) {
  {
    socket_pair p;
    EXPECT_EQ(p.client.Disconnect(), 0);
    EXPECT_EQ(p.client.GetStatus(), PCSBSocket::status_Disconnected);
    EXPECT_EQ(p.client.GetStatus(), PCSBSocket::status_Disconnected);
  }
  {
    // A peer closing with a zero linger sends a reset.
    const int lfd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = kLoopback;
    bind(lfd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    listen(lfd, 1);
    socklen_t len = sizeof a;
    getsockname(lfd, reinterpret_cast<sockaddr*>(&a), &len);
    PCSBSocket client(0, false);
    client.Connect(kLoopback, ntohs(a.sin_port));
    const int fd = accept(lfd, nullptr, nullptr);
    close(lfd);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(poll_until([&] { return client.GetStatus() == PCSBSocket::status_Connected; }));
    linger l{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &l, sizeof l);
    close(fd);
    char buf[16];
    long r = 0;
    poll_until([&] { return (r = client.ReadData(buf, sizeof buf)) != 0; });
    EXPECT_EQ(r, -1);
    EXPECT_EQ(client.GetStatus(), PCSBSocket::status_Disconnected);
    EXPECT_EQ(client.GetOSError(), 0);
    EXPECT_EQ(client.WriteData("x", 1), -1);  // no SIGPIPE either
  }
}

TEST(SocketFaults, ARefusedConnectShowsAtTheFirstReadOrWriteAsDisconnected) {
  const unsigned short port = net_test::free_port();
  PCSBSocket client(0, false);
  client.Connect(kLoopback, port);
  ASSERT_TRUE(poll_until([&] { return client.GetStatus() != PCSBSocket::status_Waiting; }));
  if (client.GetStatus() == PCSBSocket::status_Connected) {
    EXPECT_EQ(client.WriteData("x", 1), -1);
  }
  EXPECT_EQ(client.GetStatus(), PCSBSocket::status_Disconnected);
  EXPECT_EQ(client.GetOSError(), 0);
}

TEST(SocketFaults, APortInUseLeavesTheSocketInErrorWithItsErrno) {
  PCSBSocket first(0, true);
  const unsigned short port = local_port(first);
  testing::internal::CaptureStderr();
  PCSBSocket second(port, true);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(second.GetStatus(), PCSBSocket::status_Error);
  EXPECT_EQ(second.GetOSError(), EADDRINUSE);
  EXPECT_EQ(said, "LINUX: NET: I could not even bind the socket! Uh-oh!\n");
  // Nothing else happens on a broken socket, and nothing throws.
  char buf[4];
  EXPECT_EQ(second.ReadData(buf, sizeof buf), -1);
  EXPECT_EQ(second.Accept(), nullptr);
}
