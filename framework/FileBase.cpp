#include "framework/FileBase.h"

#include <cerrno>
#include <cstring>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

FileBase::FileBase(const fileTagInfo& info) : FileBase(info, Reading{}) {}

FileBase::FileBase(const fileTagInfo& info, Reading reading)
    : m_info(info), m_reading(reading), m_connection(std::make_shared<Connection>(info)) {}

FileBase::~FileBase() = default;

bool FileBase::Init() {
    return true;
}

bool FileBase::Open() {
    return OpenLogged("device");
}

void FileBase::OnDataChange(unsigned char* /*data*/, int /*length*/) {}

bool FileBase::OpenLogged(const char* what) {
    if (m_connection->Open()) {
        return true;
    }
    LOGBASE(LOG_LEV_ERROR, "Open", "can't open the %s %s: %s\n", what, m_info.path.c_str(), std::strerror(errno));
    return false;
}

void FileBase::Close() {
    // Closed first, so that a delivery under way comes to its end.
    m_connection->Close();
    const std::lock_guard<std::recursive_mutex> delivery(m_deliveryMutex);
}

} // namespace TLG::ZOCAR
