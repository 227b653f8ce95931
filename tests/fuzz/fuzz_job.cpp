// Fuzz target: a job file read and checked by the host; a bad one may only
// be refused with its one-line message.
#include "fuzz_root.h"
#include "job_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!fuzzroot::write("job.json", data, size))
        return 0;
    try {
        host::loadJob(fuzzroot::root() + "/job.json");
    } catch (const host::JobError&) {
    }
    return 0;
}
