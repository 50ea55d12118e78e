#pragma once

#include <atomic>
#include <memory>
#include <thread>

namespace velmora::sim {

// A TCP relay on 127.0.0.1 that makes loopback look like a regional network: every byte, in
// each direction, is held for half the round-trip time before it is passed on, TLS handshakes
// included since the relay never looks inside. A new connection carries nothing for its first
// round trip, as a TCP handshake would cost. Order and half-closes are kept, so a connection cut
// by the server reaches the client as the same cut, only later.
class LatencyRelay {
 public:
  explicit LatencyRelay(int rttMs) : rttMs_(rttMs) {}
  ~LatencyRelay();

  // Listens on 127.0.0.1:`port` (0: any free port); returns the port, or -1.
  int Listen(int port);
  // Passes every connection on to 127.0.0.1:`targetPort`, from a thread of its own.
  void Start(int targetPort);
  void Stop();

 private:
  void AcceptLoop(int targetPort);

  int rttMs_;
  int listenFd_ = -1;
  std::shared_ptr<std::atomic<bool>> stopped_ = std::make_shared<std::atomic<bool>>(false);
  std::thread acceptor_;
};

}  // namespace velmora::sim
