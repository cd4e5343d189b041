// Writes into an object: a write is applied whole or not at all, and what an object publishes is well-formed itself.
#include <cstdint>
#include <string>

#include <sys/pps.h>

#include "fuzz/Require.h"
#include "tools/ppsd/Object.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    ppsd::Object object("object");
    object.Apply("kept:n:1");
    const std::string before = object.State();
    const ppsd::ApplyResult result = object.Apply(text);
    if (!result.error.empty()) {
        Require(object.State() == before);
        return 0;
    }
    ppsd::Object copy("object");
    Require(copy.Apply(object.State()).error.empty() && copy.State() == object.State());
    std::string state = object.State();
    char* rest = state.data();
    pps_attrib_t record{};
    for (pps_status_t status = PPS_OBJECT; status != PPS_END;) {
        status = ppsparse(&rest, nullptr, nullptr, &record, 0);
        Require(status != PPS_ERROR);
    }
    return 0;
}
