// Name lookup; connecting, reading and the ends of a connection are met
// through the transfers.
#include "net/sockets.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

TEST(Sockets, NamesGoThroughTheResolverAndDottedOnesAreReadAsTheyStand) {
  EXPECT_EQ(PCSBSocket::LookupAddress("localhost"), htonl(INADDR_LOOPBACK));
  EXPECT_EQ(PCSBSocket::LookupAddress("10.1.2.3"), inet_addr("10.1.2.3"));
  EXPECT_EQ(PCSBSocket::LookupAddress("no-such-host.invalid"), 0u);
}
