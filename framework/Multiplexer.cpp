#include "framework/Multiplexer.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

/// Room for the largest packet; what is longer arrives cut.
constexpr std::size_t kBufferSize = 256U * 1024U;
constexpr std::uint64_t kWakeId = ~std::uint64_t{0};
constexpr auto kFirstDelay = std::chrono::milliseconds(100);
constexpr auto kLongestDelay = std::chrono::seconds(5);

/// Whether a read of no bytes is a packet without content and not the end of the input.
bool IsEmptyPacket(int fd, std::uint32_t events) {
    int type = 0;
    socklen_t size = sizeof type;
    return (events & (EPOLLHUP | EPOLLRDHUP)) == 0 && ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

} // namespace

Multiplexer::~Multiplexer() {
    Stop();
}

bool Multiplexer::Init() {
    m_wake.Reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!m_wake || !m_epoll.Open() || !m_epoll.Add(m_wake.Get(), EPOLLIN, kWakeId)) {
        LOGBASE(LOG_LEV_ERROR, "Init", "can't prepare the multiplexer: %s\n", std::strerror(errno));
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
    if (!m_wake || m_thread.joinable()) {
        return false;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (auto& [key, entry] : m_entries) {
            Watch(key, entry);
        }
    }
    try {
        m_thread = std::thread(&Multiplexer::Run, this);
    } catch (const std::system_error& error) {
        LOGBASE(LOG_LEV_ERROR, "Start", "can't start the multiplexer: %s\n", error.what());
        return false;
    }
    return true;
}

bool Multiplexer::Stop() {
    if (!m_thread.joinable()) {
        return false;
    }
    const std::uint64_t one = 1;
    if (::write(m_wake.Get(), &one, sizeof one) != sizeof one) {
        LOGBASE(LOG_LEV_ERROR, "Stop", "can't wake the multiplexer: %s\n", std::strerror(errno));
    }
    m_thread.join();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_threadId = {};
    }
    std::uint64_t taken = 0;
    return ::read(m_wake.Get(), &taken, sizeof taken) == sizeof taken;
}

bool Multiplexer::Add(int key, FileBase* file) {
    if (file == nullptr || !file->Init()) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto [entry, added] = m_entries.try_emplace(key);
    if (!added) {
        return false;
    }
    entry->second.file = file;
    return !m_thread.joinable() || Watch(key, entry->second);
}

bool Multiplexer::Remove(int key) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return false;
    }
    const FileBase* file = found->second.file;
    if (const Descriptor watched = found->second.watched.lock()) {
        m_epoll.Remove(watched->Get());
    }
    m_entries.erase(found);
    if (std::this_thread::get_id() != m_threadId) {
        m_useEnds.wait(lock, [this, file] { return m_used != file; });
    }
    return true;
}

/// Puts the file's present descriptor into the epoll set. Called with m_mutex held.
bool Multiplexer::Watch(int key, Entry& entry) {
    const Descriptor current = entry.file->Current();
    entry.watched = current;
    entry.lost = nullptr;
    return current && m_epoll.Add(current->Get(), EPOLLIN | EPOLLRDHUP, static_cast<std::uint64_t>(key));
}

void Multiplexer::Run() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_threadId = std::this_thread::get_id();
    }
    for (bool stop = false; !stop;) {
        m_epoll.Wait(TimeoutMs(), [&](std::uint64_t id, std::uint32_t events) {
            stop |= id == kWakeId;
            if (!stop) {
                Deliver(static_cast<int>(id), events);
            }
        });
        if (!stop) {
            ReopenLost();
        }
    }
}

/// Finds a file that is watched (or lost), and keeps it from being removed until End().
Multiplexer::Use Multiplexer::Begin(int key, bool lost) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return {};
    }
    const Entry& entry = found->second;
    Use use{entry.file, lost ? entry.lost : entry.watched.lock()};
    if (!use.descriptor) {
        return {};
    }
    m_used = use.file;
    return use;
}

void Multiplexer::End() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_used = nullptr;
    m_useEnds.notify_all();
}

int Multiplexer::TimeoutMs() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    auto next = Clock::time_point::max();
    for (const auto& [key, entry] : m_entries) {
        if (entry.lost) {
            next = std::min(next, entry.retryAt);
        }
    }
    if (next == Clock::time_point::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void Multiplexer::Deliver(int key, std::uint32_t events) {
    const Use use = Begin(key, false);
    if (use.file != nullptr) {
        DeliverFrom(key, events, use);
        End();
    }
}

/// Reads one block of the file and hands it over.
void Multiplexer::DeliverFrom(int key, std::uint32_t events, const Use& use) {
    const std::lock_guard<std::recursive_mutex> delivery(use.file->m_deliveryMutex);
    if (use.file->Current() != use.descriptor) {
        // Closed, or reopened by a write.
        m_epoll.Remove(use.descriptor->Get());
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_entries.find(key);
        if (found != m_entries.end()) {
            Watch(key, found->second);
        }
        return;
    }
    const ssize_t length = ::read(use.descriptor->Get(), m_buffer.data(), m_buffer.size());
    if (length > 0 || (length == 0 && IsEmptyPacket(use.descriptor->Get(), events))) {
        use.file->OnDataChange(m_buffer.data(), static_cast<int>(length));
    } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
        LoseInput(key, use, length == 0 ? 0 : errno);
    }
}

/// Takes a file whose peer went away out of the set and plans its reopening.
void Multiplexer::LoseInput(int key, const Use& use, int error) {
    LOGBASE(LOG_LEV_ERROR, "OnInputLost", "input %s lost (%s), it is reopened as soon as it is back\n",
            use.file->m_info.path.c_str(), error == 0 ? "closed by its peer" : std::strerror(error));
    m_epoll.Remove(use.descriptor->Get());
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found != m_entries.end()) {
        Entry& entry = found->second;
        entry.watched.reset();
        entry.lost = use.descriptor;
        entry.delay = kFirstDelay;
        entry.retryAt = Clock::now() + kFirstDelay;
    }
}

void Multiplexer::ReopenLost() {
    std::vector<int> due;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [key, entry] : m_entries) {
            if (entry.lost && entry.retryAt <= Clock::now()) {
                due.push_back(key);
            }
        }
    }
    for (const int key : due) {
        const Use use = Begin(key, true);
        if (use.file != nullptr) {
            Reopen(key, use);
            End();
        }
    }
}

void Multiplexer::Reopen(int key, const Use& use) {
    const bool isBack = use.file->Reopen(use.descriptor);
    const bool isClosed = use.file->Current() == nullptr;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return;
    }
    Entry& entry = found->second;
    if (isClosed) {
        entry.lost = nullptr;
    } else if (isBack && Watch(key, entry)) {
        LOGBASE(LOG_LEV_NOTICE, "OnInputBack", "input %s is back\n", use.file->m_info.path.c_str());
    } else {
        entry.lost = use.file->Current();
        entry.delay = std::min<Clock::duration>(2 * entry.delay, kLongestDelay);
        entry.retryAt = Clock::now() + entry.delay;
    }
}

} // namespace TLG::ZOCAR
