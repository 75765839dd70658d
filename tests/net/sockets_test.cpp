// The socket on its own; a peer's close, a reset and a refusal are met
// through the transfers. The installer only ever binds port 0.
#include "net/sockets.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <memory>

#include "net_support.h"

namespace {

const unsigned long kLoopback = htonl(INADDR_LOOPBACK);

unsigned short local_port(PCSBSocket& s) {
  PCSBSocket::ConnectionData cd{};
  s.GetAddresses(&cd);
  return cd.local_port;
}

TEST(Sockets, StatesMoveByPollingAloneAndAddressesKeepTheirMixedByteOrders) {
  EXPECT_EQ(PCSBSocket::LookupAddress("localhost"), kLoopback);
  EXPECT_EQ(PCSBSocket::LookupAddress("10.1.2.3"), inet_addr("10.1.2.3"));
  PCSBSocket listener(0, true), client(0, false);
  client.Connect(kLoopback, local_port(listener));
  EXPECT_TRUE(net_test::poll_until([&] { return client.GetStatus() == PCSBSocket::status_Connected; }));
  EXPECT_TRUE(net_test::poll_until([&] { return listener.GetStatus() == PCSBSocket::status_Waiting; }));
  std::unique_ptr<PCSBSocket> peer(listener.Accept());
  ASSERT_TRUE(peer);
  EXPECT_EQ(listener.GetStatus(), PCSBSocket::status_Unconnected);

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

}  // namespace
