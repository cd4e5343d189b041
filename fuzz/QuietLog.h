// For fuzz targets of the service's own code, which would log at every input.
#ifndef TLG_FUZZ_QUIETLOG_H
#define TLG_FUZZ_QUIETLOG_H

#include <cstdlib>

/// Called once by whoever runs the target.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return ::setenv("TLG_SLOG_LEVEL", "0", 1);
}

#endif
