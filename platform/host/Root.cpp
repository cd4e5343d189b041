#include "platform/host/Root.h"

#include <cstdlib>

namespace host {

std::string Root() {
    const char* value = std::getenv("TLG_ROOT");
    std::string root = value == nullptr ? "" : value;
    while (!root.empty() && root.back() == '/') {
        root.pop_back();
    }
    return root;
}

std::string BelowRoot(std::string_view path) {
    return Root().append(path);
}

} // namespace host
