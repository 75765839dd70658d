// One non-blocking TCP socket whose whole state can be polled. Faults are
// kept as a status and an OS error number; nothing here waits or throws.
#pragma once

class PCSBSocket {
 public:
  enum {
    status_Unconnected = 1,  // created; a listener with nobody waiting stays here
    status_Waiting = 2,      // connect under way; a listener has a client waiting
    status_Connected = 3,
    status_Disconnected = 4,
    status_Error = 5
  };

  // Local address in host byte order, remote address in network byte order
  // (kept that way on purpose); both ports in host byte order.
  struct ConnectionData {
    unsigned long local_address;
    unsigned short local_port;
    unsigned long remote_address;
    unsigned short remote_port;
  };

  PCSBSocket(unsigned short port, bool server);
  explicit PCSBSocket(int fd);  // an accepted connection
  virtual ~PCSBSocket();
  PCSBSocket(const PCSBSocket&) = delete;
  PCSBSocket& operator=(const PCSBSocket&) = delete;

  static int StartupNetworking(bool first);
  static void ShutdownNetworking(bool last);

  int GetStatus();
  int GetOSError() const { return mOSError; }
  bool ReceivedRelease() const { return mReceivedRelease; }

  void Connect(unsigned long address, unsigned short port);  // address in network order
  long ReadData(void* buf, long len);
  long WriteData(const void* buf, long len);
  int Disconnect();
  int Release();
  void GetAddresses(ConnectionData* out);
  // Network byte order; 0 when the name can't be found.
  static unsigned long LookupAddress(const char* name);
  PCSBSocket* Accept();

 private:
  int mSocket = -1;
  int mStatus = status_Unconnected;
  int mOSError = 0;
  bool mReceivedRelease = false;
  bool mSentRelease = false;
  bool mListening = false;

  void fail(int err);
  long transfer_error(const char* what);
};
