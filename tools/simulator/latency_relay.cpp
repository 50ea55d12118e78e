#include "latency_relay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>

namespace velmora::sim {

namespace {

using Clock = std::chrono::steady_clock;

// Both ends of one relayed connection; closed when both directions are done with them.
struct Pair {
  int client = -1, server = -1;
  ~Pair() {
    close(client);
    close(server);
  }
};

sockaddr_in Loopback(int port) {
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<uint16_t>(port));
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return addr;
}

bool SendAll(int fd, const std::string& data) {
  for (size_t done = 0; done < data.size();) {
    ssize_t n = send(fd, data.data() + done, data.size() - done, MSG_NOSIGNAL);
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

// Moves bytes from `from` to `to`, each chunk released `delay` after it arrived but never before
// `notBefore`. An end of stream travels with the same delay, as an empty chunk.
void Pump(std::shared_ptr<Pair> pair, bool towardServer, Clock::duration delay, Clock::time_point notBefore,
          std::shared_ptr<std::atomic<bool>> stopped) {
  const int from = towardServer ? pair->client : pair->server;
  const int to = towardServer ? pair->server : pair->client;
  std::deque<std::pair<Clock::time_point, std::string>> pending;
  bool ended = false;
  while (!*stopped) {
    Clock::time_point now = Clock::now();
    while (!pending.empty() && pending.front().first <= now) {
      if (pending.front().second.empty()) {
        shutdown(to, SHUT_WR);
        shutdown(from, SHUT_RD);
        return;
      }
      if (!SendAll(to, pending.front().second)) {
        // The receiving side is gone: tell the sending side the same way.
        shutdown(from, SHUT_RDWR);
        return;
      }
      pending.pop_front();
    }
    int waitMs = 100;  // the stop flag is looked at this often
    if (!pending.empty()) {
      auto due = std::chrono::ceil<std::chrono::milliseconds>(pending.front().first - now).count();
      waitMs = static_cast<int>(std::clamp<long long>(due, 0, waitMs));
    }
    pollfd p{ended ? -1 : from, POLLIN, 0};
    if (poll(&p, 1, waitMs) <= 0 || p.revents == 0) continue;
    char buffer[16384];
    ssize_t n = read(from, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    Clock::time_point due = std::max(Clock::now(), notBefore) + delay;
    pending.emplace_back(due, n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string());
    ended = n <= 0;
  }
}

}  // namespace

LatencyRelay::~LatencyRelay() { Stop(); }

int LatencyRelay::Listen(int port) {
  listenFd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int yes = 1;
  setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in addr = Loopback(port);
  if (listenFd_ < 0 || bind(listenFd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      listen(listenFd_, 128) != 0)
    return -1;
  socklen_t length = sizeof addr;
  getsockname(listenFd_, reinterpret_cast<sockaddr*>(&addr), &length);
  return ntohs(addr.sin_port);
}

void LatencyRelay::Start(int targetPort) {
  acceptor_ = std::thread([this, targetPort] { AcceptLoop(targetPort); });
}

void LatencyRelay::Stop() {
  *stopped_ = true;
  if (acceptor_.joinable()) acceptor_.join();
  if (listenFd_ >= 0) close(listenFd_);
  listenFd_ = -1;
}

void LatencyRelay::AcceptLoop(int targetPort) {
  const auto rtt = std::chrono::milliseconds(rttMs_);
  while (!*stopped_) {
    pollfd p{listenFd_, POLLIN, 0};
    if (poll(&p, 1, 100) <= 0) continue;
    int client = accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    Clock::time_point opened = Clock::now();
    auto pair = std::make_shared<Pair>();
    pair->client = client;
    pair->server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in target = Loopback(targetPort);
    if (connect(pair->server, reinterpret_cast<sockaddr*>(&target), sizeof target) != 0) continue;
    int yes = 1;
    setsockopt(pair->client, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    setsockopt(pair->server, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    // The pumps own the connection through `pair`; they end with it, or at Stop().
    std::thread(Pump, pair, true, rtt / 2, opened + rtt, stopped_).detach();
    std::thread(Pump, pair, false, rtt / 2, opened, stopped_).detach();
  }
}

}  // namespace velmora::sim
