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

bool FilesControlBase::AddOutput(int key, FileBase* file) const {
    return m_multiplexer->AddOutput(key, file);
}

bool FilesControlBase::RemoveFile(int key) const {
    return m_multiplexer->Remove(key);
}

void FilesControlBase::HoldInput(int key) const {
    m_multiplexer->Hold(key, Multiplexer::Holding::kHeld);
}

void FilesControlBase::HoldInputAfterBlock(int key) const {
    m_multiplexer->Hold(key, Multiplexer::Holding::kHeldAfterBlock);
}

void FilesControlBase::ResumeInput(int key) const {
    m_multiplexer->Hold(key, Multiplexer::Holding::kResumed);
}

void FilesControlBase::SetReturnHandler(std::function<void(const std::vector<int>& keys)> handler) const {
    m_multiplexer->SetReturnHandler(std::move(handler));
}

void FilesControlBase::SetTimer(std::chrono::milliseconds delay, std::function<void()> handler) const {
    m_multiplexer->SetTimer(delay, std::move(handler));
}

} // namespace TLG::ZOCAR
