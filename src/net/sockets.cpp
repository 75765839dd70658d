#include "net/sockets.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

void make_non_blocking(int fd) {
  int on = 1;
  ioctl(fd, FIONBIO, &on);
}

// The errors that mean the connection is simply over, not that something is wrong.
bool is_connection_end(int err) {
  switch (err) {
    case ECONNABORTED:
    case ECONNREFUSED:
    case ECONNRESET:
    case EHOSTUNREACH:
    case ENETDOWN:
    case ENETRESET:
    case ENETUNREACH:
    case ETIMEDOUT:
      return true;
    default:
      return false;
  }
}

// select() with a zero time-out on one descriptor; the count it returns.
int poll_fd(int fd, bool read, bool write, bool except, bool* readable, bool* writable,
            bool* exceptional) {
  if (fd < 0 || fd >= FD_SETSIZE) {
    errno = EBADF;
    return -1;
  }
  fd_set rs, ws, es;
  FD_ZERO(&rs);
  FD_ZERO(&ws);
  FD_ZERO(&es);
  if (read) FD_SET(fd, &rs);
  if (write) FD_SET(fd, &ws);
  if (except) FD_SET(fd, &es);
  timeval zero = {0, 0};
  const int n = select(fd + 1, read ? &rs : nullptr, write ? &ws : nullptr,
                       except ? &es : nullptr, &zero);
  if (n > 0) {
    if (readable) *readable = read && FD_ISSET(fd, &rs);
    if (writable) *writable = write && FD_ISSET(fd, &ws);
    if (exceptional) *exceptional = except && FD_ISSET(fd, &es);
  }
  return n;
}

}  // namespace

void PCSBSocket::fail(int err) {
  mStatus = status_Error;
  mOSError = err;
}

PCSBSocket::PCSBSocket(unsigned short port, bool server) {
  mSocket = socket(AF_INET, SOCK_STREAM, 0);
  if (mSocket < 0) {
    fail(errno);
    fprintf(stderr, "LINUX: NET: I could not even create the socket! Uh-oh!\n");
    return;
  }
  int on = 1;
  if (setsockopt(mSocket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0)
    printf("-----------------------Could not set TCP_NODELAY on port %d-------------\n", port);

  sockaddr_in addr;
  memset(&addr, 0, sizeof addr);
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_ANY);
  addr.sin_port = htons(port);
  if (bind(mSocket, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
    fail(errno);
    fprintf(stderr, "LINUX: NET: I could not even bind the socket! Uh-oh!\n");
    return;
  }
  make_non_blocking(mSocket);
  if (server) {
    mListening = true;
    if (listen(mSocket, 128) != 0) {
      fail(errno);
      fprintf(stderr, "LINUX: NET: I could not start listening! Uh-oh!\n");
    }
  }
}

PCSBSocket::PCSBSocket(int fd) : mSocket(fd), mStatus(status_Connected) {
  make_non_blocking(mSocket);
}

PCSBSocket::~PCSBSocket() {
  if (mSocket < 0) return;
  shutdown(mSocket, SHUT_RDWR);
  close(mSocket);
}

int PCSBSocket::StartupNetworking(bool) { return 1; }

void PCSBSocket::ShutdownNetworking(bool) {}

int PCSBSocket::GetStatus() {
  if (mStatus == status_Unconnected) {
    if (!mListening) return mStatus;
    bool readable = false;
    const int n = poll_fd(mSocket, true, false, false, &readable, nullptr, nullptr);
    if (n == 0) return mStatus;
    if (n < 0) {
      fprintf(stderr, "LINUX: NET: Some sort of socket error! %d\n", n);
      fail(errno);
      return mStatus;
    }
    mStatus = readable ? status_Waiting : status_Disconnected;
    return mStatus;
  }
  if (mStatus == status_Waiting) {
    bool writable = false, exceptional = false;
    const int n = poll_fd(mSocket, false, true, true, nullptr, &writable, &exceptional);
    if (n == 0) return mStatus;
    if (n < 0) {
      fprintf(stderr, "LINUX: NET: Some sort of socket error while connecting! %d\n", n);
      fail(errno);
      return mStatus;
    }
    // The pending socket error isn't fetched: a refused connect may read as
    // connected here and shows itself at the first read or write.
    mStatus = (writable && !exceptional) ? status_Connected : status_Disconnected;
    return mStatus;
  }
  return mStatus;
}

void PCSBSocket::Connect(unsigned long address, unsigned short port) {
  mStatus = status_Waiting;
  sockaddr_in addr;
  memset(&addr, 0, sizeof addr);
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = static_cast<in_addr_t>(address);
  addr.sin_port = htons(port);
  if (connect(mSocket, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
    mStatus = status_Connected;
    return;
  }
  const int err = errno;
  if (err == EAGAIN || err == EINPROGRESS) return;
  fprintf(stderr, "LINUX: NET: Some sort of connect error! %d\n", err);
  fail(err);
}

long PCSBSocket::transfer_error(const char* what) {
  const int err = errno;
  if (err == EAGAIN || err == EWOULDBLOCK) return 0;
  if (is_connection_end(err)) {
    mStatus = status_Disconnected;
    return -1;
  }
  fprintf(stderr, "LINUX: NET: Some sort of error while %s! %d\n", what, err);
  fail(err);
  return -1;
}

long PCSBSocket::ReadData(void* buf, long len) {
  const ssize_t got = recv(mSocket, buf, static_cast<size_t>(len < 0 ? 0 : len), 0);
  if (got > 0) return got;
  if (got == 0) {
    // The two directions close apart: the peer being done sending ends
    // nothing until this side has released too.
    mReceivedRelease = true;
    if (!mSentRelease) return 0;
    mStatus = status_Disconnected;
    return -1;
  }
  return transfer_error("recving");
}

long PCSBSocket::WriteData(const void* buf, long len) {
  // MSG_NOSIGNAL: a peer that has gone away must come back as an error
  // value, not as a SIGPIPE that ends the process.
  const ssize_t sent = send(mSocket, buf, static_cast<size_t>(len < 0 ? 0 : len), MSG_NOSIGNAL);
  if (sent >= 0) return sent;
  return transfer_error("sending");
}

int PCSBSocket::Disconnect() {
  const int r = shutdown(mSocket, SHUT_RDWR);
  mStatus = status_Disconnected;
  return r;
}

int PCSBSocket::Release() {
  mSentRelease = true;
  if (shutdown(mSocket, SHUT_WR) != 0) {
    const int err = errno;
    fail(err);
    return err;
  }
  return 1;
}

void PCSBSocket::GetAddresses(ConnectionData* out) {
  if (!out) return;
  sockaddr_in peer, self;
  socklen_t peer_len = sizeof peer, self_len = sizeof self;
  memset(&peer, 0, sizeof peer);
  memset(&self, 0, sizeof self);
  getpeername(mSocket, reinterpret_cast<sockaddr*>(&peer), &peer_len);
  getsockname(mSocket, reinterpret_cast<sockaddr*>(&self), &self_len);
  out->local_address = ntohl(self.sin_addr.s_addr);
  out->local_port = ntohs(self.sin_port);
  out->remote_address = peer.sin_addr.s_addr;
  out->remote_port = ntohs(peer.sin_port);
}

unsigned long PCSBSocket::LookupAddress(const char* name) {
  if (!name) return 0;
  const in_addr_t dotted = inet_addr(name);
  if (dotted != INADDR_NONE) return dotted;
  const hostent* he = gethostbyname(name);
  if (!he || he->h_addrtype != AF_INET || !he->h_addr_list || !he->h_addr_list[0]) return 0;
  in_addr_t first;
  memcpy(&first, he->h_addr_list[0], sizeof first);
  return first;
}

PCSBSocket* PCSBSocket::Accept() {
  const int fd = accept(mSocket, nullptr, nullptr);
  mStatus = status_Unconnected;
  if (fd < 0) return nullptr;
  return new PCSBSocket(fd);
}
