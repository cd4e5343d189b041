#include "framework/FilesControlBase.h"

#include "framework/Multiplexer.h"

namespace TLG::ZOCAR {

FilesControlBase::FilesControlBase() : m_multiplexer(std::make_unique<Multiplexer>()) {}

FilesControlBase::~FilesControlBase() = default;

bool FilesControlBase::Init() {
    return m_multiplexer->Init();
}

bool FilesControlBase::Close() {
    return m_multiplexer->Close();
}

bool FilesControlBase::Start() {
    return m_multiplexer->Start();
}

bool FilesControlBase::Stop() {
    return m_multiplexer->Stop();
}

bool FilesControlBase::AddFile(int key, FileBase* file) const {
    return m_multiplexer->Add(key, file);
}

bool FilesControlBase::RemoveFile(int key) const {
    return m_multiplexer->Remove(key);
}

} // namespace TLG::ZOCAR
