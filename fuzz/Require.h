#ifndef TLG_FUZZ_REQUIRE_H
#define TLG_FUZZ_REQUIRE_H

#include <cstdlib>

/// Ends the program, which is a finding, where an invariant does not hold.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

#endif
