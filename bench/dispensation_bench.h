#pragma once

#include "velmora/interface.h"

namespace velmora::bench {

// One dispensation on `iface`; the type of response it ended with (0 when it did not finish).
// `copy`, when given, receives the response.
int Dispense(CInterface& iface, CPeticionDispensacion& request, CRespuestaPeticion* copy = nullptr);

// The host side of the throughput benchmark, run in a process of its own:
// "velmora_bench --host-worker <worker> <count> <out file>". Sends `count` dispensations at
// once, one thread each, and writes one line per response. Returns the exit status.
int HostWorker(int argc, char** argv);

}  // namespace velmora::bench
