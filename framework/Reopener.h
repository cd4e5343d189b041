#ifndef TLG_FRAMEWORK_REOPENER_H
#define TLG_FRAMEWORK_REOPENER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "framework/Connection.h"
#include "platform/posix/Mutex.h"

namespace TLG::ZOCAR {

/// Opens the lost connections of one peer again, on a thread of its own, so that a peer that is slow to answer
/// delays nothing but its own return.
///
/// One pass tries all lost connections. The delay before each pass is twice the one before, up to a limit, until
/// OnAnswer() is called: that is, until the peer has answered on a new connection.
class Reopener {
public:
    /// @param onReturn called on the reopener's thread after a pass in which at least one file was opened
    explicit Reopener(std::function<void()> onReturn);
    Reopener(const Reopener&) = delete;
    Reopener& operator=(const Reopener&) = delete;
    ~Reopener() { Stop(); }

    /// Throws std::system_error where no thread can be started.
    void Start() TLG_EXCLUDES(m_mutex);
    /// Ends the thread. Waits for an opening under way, and starts no other.
    void Stop() TLG_EXCLUDES(m_mutex);

    void Add(std::shared_ptr<Connection> connection) TLG_EXCLUDES(m_mutex);
    void Remove(const std::shared_ptr<Connection>& connection) TLG_EXCLUDES(m_mutex);

    /// Notes that one of the connections is lost.
    void OnLost() TLG_EXCLUDES(m_mutex);
    /// Makes the next pass come after the shortest delay, since there is something to write.
    void Hurry() TLG_EXCLUDES(m_mutex);
    /// Notes that the peer has answered: the delay of the next loss starts from its shortest again.
    void OnAnswer() TLG_EXCLUDES(m_mutex);

private:
    using Clock = std::chrono::steady_clock;
    struct File {
        std::shared_ptr<Connection> connection;
        int loggedError = 0; ///< why it could not be opened, as last logged since the loss; 0: not logged
    };

    void Run();
    bool IsAnyLost() const TLG_REQUIRES(m_mutex);
    bool WaitForPass() TLG_EXCLUDES(m_mutex);
    void WaitForDelay() TLG_REQUIRES(m_mutex);
    std::shared_ptr<Connection> NextLost(std::size_t& place) TLG_EXCLUDES(m_mutex);
    bool Pass() TLG_EXCLUDES(m_mutex);
    void SayOnce(const Connection& connection, int error) TLG_EXCLUDES(m_mutex);

    std::function<void()> m_onReturn;
    std::thread m_thread;
    Mutex m_mutex; // not held during an opening
    std::condition_variable_any m_changed;
    std::vector<File> m_files TLG_GUARDED_BY(m_mutex);
    Clock::duration m_delay TLG_GUARDED_BY(m_mutex); // before the next pass
    bool m_isHurried TLG_GUARDED_BY(m_mutex) = false;
    bool m_isStopping TLG_GUARDED_BY(m_mutex) = false;
};

} // namespace TLG::ZOCAR

#endif
