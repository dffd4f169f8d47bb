// SPDX-License-Identifier: MIT
// What happens once, before the first input of any fuzzer.
#include "platform/machine/instruments.h"

// Nobody reads the trace of the simulated calls here, and after millions of inputs it would fill the memory.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qxsim::Instruments::The().KeepTrace(false);
    return 0;
}
