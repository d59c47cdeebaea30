// Fuzz target: the console, driven in process by the input's lines after the mode line.
#include "fuzz/session_fuzz.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz_start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    session::run("console\n", data, size);
    return 0;
}
