#include "framework/PPSFileBase.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

bool PPSFileBase::Init() {
    return m_callback != nullptr;
}

bool PPSFileBase::Open() {
    return OpenLogged("PPS server's object");
}

bool PPSFileBase::ReportsObjectGone(const unsigned char* data, std::size_t length) {
    std::string_view text(reinterpret_cast<const char*>(data), length);
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        // An attribute's deletion begins with a hyphen too, and has no "@".
        const std::string_view mark = line.substr(0, 1);
        if ((mark == "-" || mark == "#") && (line.substr(1, 1) == "@" || line.substr(1, 4) == "[n]@")) {
            return true;
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return false;
}

/// Stops within the text when the file is closed meanwhile.
void PPSFileBase::OnDataChange(unsigned char* data, int length) {
    if (data == nullptr || length <= 0) {
        return;
    }
    // The parser writes into the text and needs a zero after it.
    m_text.assign(data, data + length);
    m_text.push_back('\0');
    char* rest = m_text.data();
    pps_attrib_t attribute{};
    while (Link().CurrentState() != Connection::State::kClosed) {
        const char* line = rest;
        const pps_status_t status = ppsparse(&rest, nullptr, nullptr, &attribute, 0);
        if (status == PPS_END) {
            return;
        }
        if (status == PPS_ATTRIBUTE) {
            m_callback->OnAttributeChange(GetKey(), &attribute);
        } else if (status == PPS_ERROR) {
            LOGBASE(LOG_LEV_ERROR, "OnDataChange", "malformed line from the PPS object %d: %s\n", GetKey(), line);
        } else {
            OnPPSStatusChange(status, &attribute);
        }
    }
}

void PPSFileBase::OnPPSStatusChange(pps_status_t status, pps_attrib_t* attrib) {
    m_callback->OnPpsStatusChange(GetKey(), status, attrib);
}

bool PPSFileBase::WritePPS(const char* data, int length) const {
    if (data == nullptr || length <= 0) {
        return false;
    }
    const auto size = static_cast<std::size_t>(length);
    if (Link().Write(data, size)) {
        return true;
    }
    if ((errno != EPIPE && errno != ECONNRESET && errno != ENOTCONN) || Link().IsObserved()) {
        return false;
    }
    // There is no multiplexer that would open the object again.
    Link().Lose();
    Link().Reopen();
    return Link().TakeOver() && Link().Write(data, size);
}

bool PPSFileBase::SetPPSIntAttr(const char* object, const char* attribute, int value) const {
    const std::string text = std::string(object) + "\n" + attribute + ":n:" + std::to_string(value) + "\n";
    return WritePPS(text.c_str(), static_cast<int>(text.size()));
}

bool PPSFileBase::SetPPSStringAttr(const char* object, const char* attribute, const char* value) const {
    if (std::strchr(value, '\n') != nullptr) {
        return false;
    }
    const std::string text = std::string(object) + "\n" + attribute + "::" + value + "\n";
    return WritePPS(text.c_str(), static_cast<int>(text.size()));
}

} // namespace TLG::ZOCAR
