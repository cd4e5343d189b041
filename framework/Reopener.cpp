#include "framework/Reopener.h"

#include <algorithm>
#include <cstring>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

namespace {

// With the longest delay, a peer that comes back just after a pass is still in use again within a second.
constexpr auto kFirstDelay = std::chrono::milliseconds(100);
constexpr auto kLongestDelay = std::chrono::milliseconds(800);

} // namespace

Reopener::Reopener(std::function<void()> onReturn) : m_onReturn(std::move(onReturn)), m_delay(kFirstDelay) {}

void Reopener::Start() {
    {
        const MutexLock lock(m_mutex);
        m_isStopping = false;
    }
    m_thread = std::thread(&Reopener::Run, this);
}

void Reopener::Stop() {
    {
        const MutexLock lock(m_mutex);
        m_isStopping = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Reopener::Add(std::shared_ptr<Connection> connection) {
    const MutexLock lock(m_mutex);
    m_files.push_back({std::move(connection), 0});
}

void Reopener::Remove(const std::shared_ptr<Connection>& connection) {
    const MutexLock lock(m_mutex);
    m_files.erase(
        std::remove_if(m_files.begin(), m_files.end(), [&](const File& file) { return file.connection == connection; }),
        m_files.end());
}

void Reopener::OnLost() {
    const MutexLock lock(m_mutex);
    m_changed.notify_all();
}

void Reopener::Hurry() {
    const MutexLock lock(m_mutex);
    m_isHurried = true;
    m_changed.notify_all();
}

void Reopener::OnAnswer() {
    const MutexLock lock(m_mutex);
    m_delay = kFirstDelay;
}

bool Reopener::IsAnyLost() const {
    return std::any_of(m_files.begin(), m_files.end(),
                       [](const File& file) { return file.connection->CurrentState() == Connection::State::kLost; });
}

void Reopener::Run() {
    while (WaitForPass()) {
        if (Pass()) {
            m_onReturn();
        }
    }
}

/// Waits until there is a lost file and it is time to try; false when the thread is to end.
bool Reopener::WaitForPass() {
    const MutexLock lock(m_mutex);
    while (!m_isStopping && !IsAnyLost()) {
        m_changed.wait(m_mutex);
    }
    WaitForDelay();
    m_isHurried = false;
    // The delay grows with each pass; an answer of the peer resets it.
    m_delay = std::min<Clock::duration>(2 * m_delay, kLongestDelay);
    return !m_isStopping;
}

void Reopener::WaitForDelay() {
    const auto start = Clock::now();
    for (;;) {
        const auto due = start + (m_isHurried ? Clock::duration(kFirstDelay) : m_delay);
        if (m_isStopping || Clock::now() >= due) {
            return;
        }
        m_changed.wait_until(m_mutex, due);
    }
}

/// The first lost file at or after @p place among the files, and moves @p place past it; null where there is none.
std::shared_ptr<Connection> Reopener::NextLost(std::size_t& place) {
    const MutexLock lock(m_mutex);
    while (place < m_files.size() && !m_isStopping) {
        const std::shared_ptr<Connection>& connection = m_files[place++].connection;
        if (connection->CurrentState() == Connection::State::kLost) {
            return connection;
        }
    }
    return nullptr;
}

/// Tries each lost file once; true when one was opened.
bool Reopener::Pass() {
    bool isAnyOpen = false;
    std::size_t place = 0;
    while (const std::shared_ptr<Connection> connection = NextLost(place)) {
        const int error = connection->Reopen();
        isAnyOpen |= connection->CurrentState() == Connection::State::kReturned;
        SayOnce(*connection, error);
    }
    return isAnyOpen;
}

/// Logs why a file can't be opened, unless the same reason was the last one logged since it was lost.
void Reopener::SayOnce(const Connection& connection, int error) {
    const MutexLock lock(m_mutex);
    for (File& file : m_files) {
        if (file.connection.get() != &connection || file.loggedError == error) {
            continue;
        }
        file.loggedError = error;
        if (error != 0) {
            LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "can't open %s yet: %s\n", connection.Path().c_str(),
                    std::strerror(error));
        }
    }
}

} // namespace TLG::ZOCAR
