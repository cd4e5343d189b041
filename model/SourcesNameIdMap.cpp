#include "model/SourcesNameIdMap.h"

#include <algorithm>

namespace TLG::ZOCAR {

namespace {

/// The names, each at the place of its id.
constexpr const char* kNames[] = {"none", "disc",    "sd",         "usb",  "rusb",  "radio",   "hdradio",  "dab",
                                  "sxm",  "tv",      "aux1",       "aux2", "bttel", "btaudio", "ipod",     "camera",
                                  "navi", "pandora", "iheadradio", "tpms", "cdc",   "dar",     "linker",   "tsp",
                                  "ptt",  "asr",     "mpu",        "svc",  "media", "phone",   "rightone", "siri"};
static_assert(std::size(kNames) == 32);

} // namespace

void SourcesNameIdMap::Init() {
    m_names.clear();
    unsigned char id = 0;
    for (const char* name : kNames) {
        m_names[id++] = name;
    }
}

bool SourcesNameIdMap::GetSrcIdByName(const std::string& name, unsigned char& id) const {
    const auto found =
        std::find_if(m_names.begin(), m_names.end(), [&name](const auto& entry) { return entry.second == name; });
    if (found == m_names.end()) {
        return false;
    }
    id = found->first;
    return true;
}

bool SourcesNameIdMap::GetSrcNameById(unsigned char id, std::string& name) const {
    const auto found = m_names.find(id);
    if (found == m_names.end()) {
        return false;
    }
    name = found->second;
    return true;
}

} // namespace TLG::ZOCAR
