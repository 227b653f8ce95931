// A stand-in for the universal driver's side of the plug-in: its own driver
// functions, recording each call and answering a chosen value. Its helper
// interface is the host's own (host::DriverUni).
#pragma once

#include "frame/hooks.h"
#include "job/job.h"
#include "braille/textout.h"
#include "driver_uni.h"

#include <vector>

namespace fake {

// What the fake driver functions saw and what they answer.
struct Calls {
    std::vector<int> rows;  // hook rows, in call order
    BOOL boolResult = TRUE;
    ULONG ulongResult = 0;
};
Calls& calls();

// The driver's function list: every hooked DDI index, optionally without one.
std::vector<DRVFN> functionList(ULONG omitIndex = 0);


}  // namespace fake
