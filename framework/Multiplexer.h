#ifndef TLG_FRAMEWORK_MULTIPLEXER_H
#define TLG_FRAMEWORK_MULTIPLEXER_H

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "framework/FileBase.h"
#include "platform/host/Epoll.h"

namespace TLG::ZOCAR {

/// Delivers the input of registered files, on one thread on epoll. A second thread opens anew, with a growing
/// delay, the files whose peer went away, so that a peer that is slow to answer holds no other input up.
class Multiplexer {
public:
    Multiplexer() = default;
    Multiplexer(const Multiplexer&) = delete;
    Multiplexer& operator=(const Multiplexer&) = delete;
    ~Multiplexer();

    // As the operations of the same names of FilesControlBase say.
    bool Init();
    bool Close();
    bool Start();
    bool Stop();
    bool Add(int key, FileBase* file);
    bool Remove(int key);

private:
    using Clock = std::chrono::steady_clock;
    using Descriptor = FileBase::Descriptor;

    /// A registered file: watched, or waiting to be reopened while `lost` is set.
    struct Entry {
        FileBase* file = nullptr;
        std::weak_ptr<const UniqueFd> watched; // weak, so that closing the file closes the descriptor
        Descriptor lost;
        Clock::time_point watchedSince;
        Clock::duration delay{}; // before the last try
        Clock::time_point retryAt;
    };

    /// A file that one of the threads uses, and what it was found with.
    struct Use {
        FileBase* file = nullptr;
        Descriptor descriptor;
    };
    enum Thread { kDispatcher, kReopener, kThreadCount };

    void Dispatch();
    void Reopen();
    Use Begin(int key, Thread user);
    void End(Thread user);
    bool IsUsedElsewhere(const FileBase* file) const;
    void Deliver(int key, std::uint32_t events);
    void DeliverFrom(int key, std::uint32_t events, const Use& use);
    void LoseInput(int key, const Use& use, int error);
    void ReopenOne(int key, const Use& use);
    void WatchReopened();
    bool Watch(int key, Entry& entry);
    void Retry(Entry& entry, Clock::duration lastDelay);
    void LogUnwatched(const FileBase& file) const;
    void Join();

    host::Epoll m_epoll;
    UniqueFd m_wake; // an eventfd: ends the dispatcher
    std::array<std::thread, kThreadCount> m_threads;
    std::vector<unsigned char> m_buffer; // the dispatcher's alone

    mutable std::mutex m_mutex;          // never held while a file delivers, opens or is waited for
    std::condition_variable m_useEnds;   // with m_mutex
    std::condition_variable m_inputLost; // with m_mutex: wakes the reopener
    std::map<int, Entry> m_entries;      // this and what follows: guarded by m_mutex
    std::array<const FileBase*, kThreadCount> m_used{};
    std::array<std::thread::id, kThreadCount> m_ids{};
    bool m_isRunning = false;
    bool m_isStopping = false;
};

} // namespace TLG::ZOCAR

#endif
