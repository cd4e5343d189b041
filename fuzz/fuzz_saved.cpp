// The file of saved objects: whatever loads is saved as text that loads without a complaint and is saved the same.
#include <algorithm>
#include <cstdint>
#include <string>

#include "fuzz/Require.h"
#include "tools/ppsd/SavedObjects.h"

namespace {

constexpr ppsd::Permissions kOwn{100, 100, 0666};

/// Loads the text and saves what became of it.
std::string Reload(std::string_view text, unsigned& complaints) {
    ppsd::Quota quota(ppsd::LimitsWith(4096), kOwn.owner);
    ppsd::ObjectTree tree(quota);
    ppsd::ObjectLoader loader(tree, kOwn, [&](std::string_view complaint) {
        Require(std::all_of(complaint.begin(), complaint.end(), [](char c) { return c >= ' ' && c <= '~'; }));
        ++complaints;
    });
    while (!text.empty()) {
        loader.LoadLine(pps::NextLine(text));
    }
    loader.Finish();
    std::string saved;
    std::string scratch;
    Require(ppsd::SaveObjects(tree, scratch, [&](std::string_view part) { return !saved.append(part).empty(); }));
    return saved;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    unsigned complaints = 0;
    const std::string saved = Reload({reinterpret_cast<const char*>(data), size}, complaints);
    complaints = 0;
    Require(Reload(saved, complaints) == saved && complaints == 0);
    return 0;
}
