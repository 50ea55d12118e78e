#pragma once

namespace velmora::bench {

// The host side of the throughput benchmark, run in a process of its own:
// "velmora_bench --host-worker <worker> <count> <out file>". Sends `count` dispensations at
// once, one thread each, and writes one line per response. Returns the exit status.
int HostWorker(int argc, char** argv);

}  // namespace velmora::bench
