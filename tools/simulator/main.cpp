#include <signal.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "options.h"
#include "simulator.h"
#include "velmora/version.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string error;
  std::optional<velmora::sim::Options> options = velmora::sim::ParseOptions(args, error);
  if (!options) {
    std::fprintf(stderr, "velmora-sim: %s\nTry 'velmora-sim --help'.\n", error.c_str());
    return 2;
  }
  if (options->version) {
    std::puts("velmora-sim " VELMORA_VERSION_STRING);
    return 0;
  }
  if (options->help) {
    std::fputs(velmora::sim::HelpText().c_str(), stdout);
    return 0;
  }
  // SIGINT and SIGTERM are taken by a thread of their own, which stops the server cleanly.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  velmora::sim::Simulator simulator(*options);
  std::thread watcher([&] {
    int received = 0;
    sigwait(&stopSignals, &received);
    simulator.Stop();
  });
  int status = simulator.Run(error);
  if (status != 0 && !error.empty()) std::fprintf(stderr, "velmora-sim: %s\n", error.c_str());
  // Wake the watcher if the server ended on its own.
  pthread_kill(watcher.native_handle(), SIGTERM);
  watcher.join();
  return status;
}
