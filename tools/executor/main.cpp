// executor.exe: the process the interface starts for each dispensation, with the arguments
// "IDPres=<id>" and, for a batch, "MD". Its program lives in libvelmora-executor.so, beside the
// executor it drives, so the process holds one copy of the library.
#include "velmora/tools.h"

int main(int argc, char** argv) { return velmora::tools::ExecutorMain(argc, argv); }
