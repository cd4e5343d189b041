#include "framework/Multiplexer.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

/// Room for the largest packet; a longer one would be cut off.
constexpr std::size_t kBufferSize = 256U * 1024U;

/// The directory in which a peer serves its files: "/pps" of "/pps/object".
std::string DirectoryOf(const std::string& path) {
    return path.substr(0, path.find('/', 1));
}

} // namespace

Multiplexer::~Multiplexer() {
    Stop();
}

bool Multiplexer::Init() {
    m_wake.Reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!m_wake || !m_epoll.Open() || !m_epoll.Add(m_wake.Get(), EPOLLIN, kWakeId)) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "can't prepare the multiplexer: %s\n", std::strerror(errno));
        return false;
    }
    m_buffer.resize(kBufferSize);
    return true;
}

bool Multiplexer::Close() {
    const bool prepared = static_cast<bool>(m_wake);
    m_epoll.Close();
    m_wake.Reset();
    return prepared;
}

bool Multiplexer::Start() {
    {
        const MutexLock lock(m_mutex);
        if (!m_wake || m_isRunning) {
            return false;
        }
        for (auto& [key, entry] : m_entries) {
            if (!UpdateWatch(key, entry)) {
                return false;
            }
            entry.connection->Observe(this);
        }
        m_isRunning = true;
        m_isStopping = false;
    }
    if (!StartThreads()) {
        Join();
        return false;
    }
    return true;
}

bool Multiplexer::StartThreads() {
    try {
        m_dispatcher = std::thread(&Multiplexer::Dispatch, this);
        const MutexLock lock(m_mutex);
        for (auto& [directory, reopener] : m_reopeners) {
            reopener->Start();
        }
        return true;
    } catch (const std::system_error& error) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "can't start the multiplexer: %s\n", error.what());
        return false;
    }
}

bool Multiplexer::Stop() {
    {
        const MutexLock lock(m_mutex);
        if (!m_isRunning) {
            return false;
        }
    }
    Join();
    return true;
}

/// Ends the threads.
void Multiplexer::Join() {
    m_isStopping = true;
    Wake();
    if (m_dispatcher.joinable()) {
        m_dispatcher.join();
    }
    std::vector<Reopener*> reopeners;
    {
        const MutexLock lock(m_mutex);
        for (auto& [directory, reopener] : m_reopeners) {
            reopeners.push_back(reopener.get());
        }
    }
    for (Reopener* reopener : reopeners) {
        reopener->Stop(); // may wait for an opening, so it is called without the lock
    }
    const MutexLock lock(m_mutex);
    for (auto& [key, entry] : m_entries) {
        entry.connection->Observe(nullptr);
    }
    m_timerDue.reset();
    m_dispatcherId = std::thread::id();
    m_isRunning = false;
}

bool Multiplexer::Add(int key, FileBase* file) {
    return file != nullptr && file->Init() && AddEntry(key, file, false);
}

bool Multiplexer::AddOutput(int key, FileBase* file) {
    return file != nullptr && AddEntry(key, file, true);
}

bool Multiplexer::AddEntry(int key, FileBase* file, bool isOutput) {
    const MutexLock lock(m_mutex);
    const auto [added, isNew] = m_entries.try_emplace(key);
    if (!isNew) {
        return false;
    }
    Entry& entry = added->second;
    entry.file = file;
    entry.connection = file->m_connection;
    entry.input = isOutput ? nullptr : std::make_shared<Input>();
    entry.reopener = ReopenerOf(file->m_info.path);
    if (entry.reopener == nullptr || (m_isRunning && !UpdateWatch(key, entry))) {
        m_entries.erase(added);
        return false;
    }
    if (m_isRunning) {
        entry.connection->Observe(this);
    }
    entry.reopener->Add(entry.connection);
    return true;
}

/// The reopener of the file's peer. Null, with a line in the log, where the thread of a new one can't be started.
Reopener* Multiplexer::ReopenerOf(const std::string& path) {
    const auto [found, isNew] = m_reopeners.try_emplace(DirectoryOf(path));
    if (!isNew) {
        return found->second.get();
    }
    found->second = std::make_unique<Reopener>([this] {
        m_needsAttention = true;
        Wake();
    });
    try {
        if (m_isRunning) {
            found->second->Start();
        }
        return found->second.get();
    } catch (const std::system_error& error) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "can't open %s again when it is lost: %s\n", path.c_str(), error.what());
        m_reopeners.erase(found);
        return nullptr;
    }
}

bool Multiplexer::Remove(int key) {
    const MutexLock lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return false;
    }
    const Entry entry = found->second;
    m_entries.erase(found);
    if (entry.input) {
        entry.input->isHeld = true;
    }
    entry.connection->Observe(nullptr);
    entry.connection->WithDescriptor([this](int fd) { return m_epoll.Remove(fd); });
    entry.reopener->Remove(entry.connection);
    if (m_dispatcherId.load() != std::this_thread::get_id()) {
        while (m_delivering == entry.file) {
            m_released.wait(m_mutex);
        }
    }
    return true;
}

void Multiplexer::Hold(int key, Holding holding) {
    const MutexLock lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found != m_entries.end() && found->second.input) {
        Input& input = *found->second.input;
        // An input that still waits for its block goes on doing so when it is to be held.
        const bool awaitsBlock =
            holding == Holding::kHeldAfterBlock || (holding == Holding::kHeld && input.isHeldAfterBlock);
        input.isHeld = holding == Holding::kHeld && !awaitsBlock;
        input.isHeldAfterBlock = awaitsBlock;
        RequestAttention();
    }
}

void Multiplexer::SetReturnHandler(ReturnHandler handler) {
    const MutexLock lock(m_mutex);
    m_onReturn = std::move(handler);
}

void Multiplexer::SetTimer(std::chrono::milliseconds delay, std::function<void()> handler) {
    const MutexLock lock(m_mutex);
    m_timerDue = Clock::now() + delay;
    m_timerHandler = std::move(handler);
    RequestAttention();
}

void Multiplexer::OnRoomNeeded() {
    RequestAttention();
}

void Multiplexer::OnWriteLost() {
    m_wasWriteLost = true;
    RequestAttention();
}

/// Makes the dispatcher look at watches, connections and timer before it waits again.
void Multiplexer::RequestAttention() {
    m_needsAttention = true;
    if (m_dispatcherId.load() != std::this_thread::get_id()) {
        Wake();
    }
}

void Multiplexer::Wake() const {
    ::eventfd_write(m_wake.Get(), 1);
}

} // namespace TLG::ZOCAR
