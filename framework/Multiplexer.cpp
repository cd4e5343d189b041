#include "framework/Multiplexer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

/// Room for the largest packet; what is longer arrives cut.
constexpr std::size_t kBufferSize = 256U * 1024U;
constexpr std::uint64_t kWakeId = ~std::uint64_t{0};
constexpr auto kFirstDelay = std::chrono::milliseconds(100);
constexpr auto kLongestDelay = std::chrono::seconds(5);

/// Whether the peer of a socket has ended the connection.
bool HasHungUp(int fd) {
    pollfd state{fd, POLLRDHUP, 0};
    return ::poll(&state, 1, 0) > 0 && state.revents != 0;
}

bool IsSocket(int fd) {
    int type = 0;
    socklen_t size = sizeof type;
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
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
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_wake || m_isRunning) {
            return false;
        }
        for (auto& [key, entry] : m_entries) {
            if (!Watch(key, entry)) {
                LogUnwatched(*entry.file);
                return false;
            }
        }
        m_isRunning = true;
        m_isStopping = false;
    }
    try {
        m_threads[kDispatcher] = std::thread(&Multiplexer::Dispatch, this);
        m_threads[kReopener] = std::thread(&Multiplexer::Reopen, this);
    } catch (const std::system_error& error) {
        LOGBASE(LOG_LEV_ERROR, "Start", "can't start the multiplexer: %s\n", error.what());
        Join();
        return false;
    }
    return true;
}

bool Multiplexer::Stop() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_isRunning) {
            return false;
        }
    }
    Join();
    return true;
}

/// Ends the threads.
void Multiplexer::Join() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopping = true;
        m_inputLost.notify_all();
    }
    ::eventfd_write(m_wake.Get(), 1);
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
    eventfd_t taken = 0;
    ::eventfd_read(m_wake.Get(), &taken);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isRunning = false;
    m_ids = {};
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
    if (m_isRunning && !Watch(key, entry->second)) {
        LogUnwatched(*file);
        m_entries.erase(entry);
        return false;
    }
    return true;
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
    m_useEnds.wait(lock, [this, file] { return !IsUsedElsewhere(file); });
    return true;
}

/// Whether a thread other than the calling one uses the file. Called with m_mutex held.
bool Multiplexer::IsUsedElsewhere(const FileBase* file) const {
    for (std::size_t thread = 0; thread < kThreadCount; ++thread) {
        if (m_used[thread] == file && m_ids[thread] != std::this_thread::get_id()) {
            return true;
        }
    }
    return false;
}

/// Puts the file's present descriptor into the epoll set. Called with m_mutex held.
bool Multiplexer::Watch(int key, Entry& entry) {
    const Descriptor current = entry.file->Current();
    entry.watched = current;
    entry.lost = nullptr;
    entry.watchedSince = Clock::now();
    constexpr std::uint32_t kEvents = EPOLLIN | EPOLLRDHUP;
    const auto id = static_cast<std::uint64_t>(key);
    return current && (m_epoll.Add(current->Get(), kEvents, id) ||
                       (errno == EEXIST && m_epoll.Modify(current->Get(), kEvents, id)));
}

/// Plans the next try to open a lost file, after a delay longer than the last one. Called with m_mutex held.
void Multiplexer::Retry(Entry& entry, Clock::duration lastDelay) {
    entry.delay = std::clamp<Clock::duration>(2 * lastDelay, kFirstDelay, kLongestDelay);
    entry.retryAt = Clock::now() + entry.delay;
    m_inputLost.notify_all();
}

void Multiplexer::LogUnwatched(const FileBase& file) const {
    LOGBASE(LOG_LEV_ERROR, "Watch", "can't watch %s: %s\n", file.m_info.path.c_str(), std::strerror(errno));
}

/// Finds a file that is watched (for the dispatcher) or lost (for the reopener), and keeps it from being removed
/// until End().
Multiplexer::Use Multiplexer::Begin(int key, Thread user) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return {};
    }
    const Entry& entry = found->second;
    Use use{entry.file, user == kReopener ? entry.lost : entry.watched.lock()};
    if (!use.descriptor) {
        return {};
    }
    m_used[user] = use.file;
    return use;
}

void Multiplexer::End(Thread user) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_used[user] = nullptr;
    m_useEnds.notify_all();
}

void Multiplexer::Dispatch() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ids[kDispatcher] = std::this_thread::get_id();
    }
    for (bool stop = false; !stop;) {
        m_epoll.Wait(-1, [&](std::uint64_t id, std::uint32_t events) {
            stop |= id == kWakeId;
            if (!stop) {
                Deliver(static_cast<int>(id), events);
            }
        });
        WatchReopened();
    }
}

/// Turns to the descriptors of files that writes reopened, whose earlier ones are gone already.
void Multiplexer::WatchReopened() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& [key, entry] : m_entries) {
        if (!entry.lost && entry.watched.expired() && entry.file->IsOpen()) {
            Watch(key, entry);
        }
    }
}

void Multiplexer::Deliver(int key, std::uint32_t events) {
    const Use use = Begin(key, kDispatcher);
    if (use.file != nullptr) {
        DeliverFrom(key, events, use);
        End(kDispatcher);
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
    const int fd = use.descriptor->Get();
    const ssize_t length = ::read(fd, m_buffer.data(), m_buffer.size());
    if (length < 0 && (errno == EAGAIN || errno == EINTR || errno == ECONNRESET)) {
        // A peer that ended without reading everything: what it wrote before is still to be had, then the end.
        return;
    }
    if (length == 0 && (events & (EPOLLHUP | EPOLLRDHUP)) == 0 && IsSocket(fd)) {
        // A packet without content; or, where the end has come at this very moment, nothing that counts: a last
        // packet may still be there, and the next event tells.
        if (!HasHungUp(fd)) {
            use.file->OnDataChange(m_buffer.data(), 0);
        }
        return;
    }
    if (length > 0) {
        use.file->OnDataChange(m_buffer.data(), static_cast<int>(length));
    } else {
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
        const bool wasStable = Clock::now() - entry.watchedSince > kLongestDelay;
        Retry(entry, wasStable ? Clock::duration() : entry.delay);
    }
}

void Multiplexer::Reopen() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_ids[kReopener] = std::this_thread::get_id();
    while (!m_isStopping) {
        const auto isEarlier = [](const auto& a, const auto& b) {
            // Those that are not lost come last.
            return a.second.lost && (!b.second.lost || a.second.retryAt < b.second.retryAt);
        };
        const auto next = std::min_element(m_entries.begin(), m_entries.end(), isEarlier);
        if (next == m_entries.end() || !next->second.lost) {
            m_inputLost.wait(lock);
        } else if (next->second.retryAt > Clock::now()) {
            m_inputLost.wait_until(lock, Clock::time_point(next->second.retryAt));
        } else {
            const int key = next->first;
            lock.unlock();
            const Use use = Begin(key, kReopener);
            if (use.file != nullptr) {
                ReopenOne(key, use);
                End(kReopener);
            }
            lock.lock();
        }
    }
}

void Multiplexer::ReopenOne(int key, const Use& use) {
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
        Retry(entry, entry.delay);
    }
}

} // namespace TLG::ZOCAR
