// The socket on its own; a peer's close, a reset and a
// refusal are covered through the transfers that meet them.
#include "net/sockets.h"

#include <arpa/inet.h>
#include <errno.h>
#include <gtest/gtest.h>

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

bool reaches(PCSBSocket& s, int status) {
  return poll_until([&] { return s.GetStatus() == status; });
}

}  // namespace

TEST(Sockets, NamesGoThroughTheResolverAndDottedOnesAreReadAsTheyStand) {
  EXPECT_EQ(PCSBSocket::LookupAddress("localhost"), kLoopback);
  EXPECT_EQ(PCSBSocket::LookupAddress("10.1.2.3"), inet_addr("10.1.2.3"));
}

TEST(Sockets, StatesMoveByPollingAloneAndAddressesKeepTheirMixedByteOrders) {
  PCSBSocket listener(0, true);
  PCSBSocket client(0, false);
  client.Connect(kLoopback, local_port(listener));
  EXPECT_TRUE(reaches(client, PCSBSocket::status_Connected));  // no read needed
  EXPECT_TRUE(reaches(listener, PCSBSocket::status_Waiting));
  std::unique_ptr<PCSBSocket> peer(listener.Accept());
  ASSERT_TRUE(peer);
  EXPECT_EQ(listener.GetStatus(), PCSBSocket::status_Unconnected);
  EXPECT_EQ(listener.Accept(), nullptr);  // nobody else waiting

  // Local address in host order, remote in network order: on purpose.
  PCSBSocket::ConnectionData cd{};
  client.GetAddresses(&cd);
  EXPECT_EQ(cd.local_address, static_cast<unsigned long>(INADDR_LOOPBACK));
  EXPECT_EQ(cd.remote_address, kLoopback);
  EXPECT_EQ(cd.remote_port, local_port(listener));

  char buf[16];
  EXPECT_EQ(client.ReadData(buf, sizeof buf), 0);  // an empty queue is no error
  EXPECT_EQ(client.GetStatus(), PCSBSocket::status_Connected);
}

TEST(Sockets, APortInUseLeavesTheSocketInErrorWithItsErrno) {
  PCSBSocket first(0, true);
  testing::internal::CaptureStderr();
  PCSBSocket second(local_port(first), true);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "LINUX: NET: I could not even bind the socket! Uh-oh!\n");
  EXPECT_EQ(second.GetStatus(), PCSBSocket::status_Error);
  EXPECT_EQ(second.GetOSError(), EADDRINUSE);
  char buf[4];
  EXPECT_EQ(second.ReadData(buf, sizeof buf), -1);
  EXPECT_EQ(second.Accept(), nullptr);
}
