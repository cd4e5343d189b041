#ifndef TLG_FRAMEWORK_REOPENER_H
#define TLG_FRAMEWORK_REOPENER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "framework/Connection.h"

namespace TLG::ZOCAR {

/// Opens the lost connections of one peer again, on a thread of its own, so that a peer that is slow to answer
/// holds up nothing but its own return.
///
/// It tries all that are lost in one pass, after a delay that doubles with each pass in which none could be opened,
/// and also where the peer ends new connections before it has answered on one.
class Reopener {
public:
    /// @param onReturn called on the reopener's thread after a pass in which at least one file was opened
    explicit Reopener(std::function<void()> onReturn);
    Reopener(const Reopener&) = delete;
    Reopener& operator=(const Reopener&) = delete;
    ~Reopener() { Stop(); }

    /// Throws std::system_error where there can be no thread.
    void Start();
    /// Ends the thread; waits for an opening under way, and makes no other.
    void Stop();

    void Add(std::shared_ptr<Connection> connection);
    void Remove(const std::shared_ptr<Connection>& connection);

    /// Notes that one of the connections is lost.
    void OnLost();
    /// Tries after the shortest delay: somebody has something for the peer.
    void Hurry();
    /// Notes that the peer has answered: the delay of the next loss starts from its shortest again.
    void OnAnswer();

private:
    using Clock = std::chrono::steady_clock;
    struct File {
        std::shared_ptr<Connection> connection;
        int toldError = 0; ///< the reason that was last said since the loss
    };

    void Run();
    bool IsAnyLost() const;
    void WaitForPass(std::unique_lock<std::mutex>& lock);
    std::shared_ptr<Connection> NextLost(std::size_t& place);
    bool Pass();
    void SayOnce(const Connection& connection, int error);

    std::function<void()> m_onReturn;
    std::thread m_thread;
    std::mutex m_mutex; // not held during an opening
    std::condition_variable m_changed;
    std::vector<File> m_files; // this and what follows: guarded by m_mutex
    Clock::duration m_delay;   // before the next pass
    bool m_isHurried = false;
    bool m_isStopping = false;
};

} // namespace TLG::ZOCAR

#endif
