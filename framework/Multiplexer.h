#ifndef TLG_FRAMEWORK_MULTIPLEXER_H
#define TLG_FRAMEWORK_MULTIPLEXER_H

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

/// One thread on epoll that delivers the input of registered files, and that opens anew, with a growing
/// delay, those whose peer went away.
class Multiplexer {
public:
    Multiplexer() = default;
    Multiplexer(const Multiplexer&) = delete;
    Multiplexer& operator=(const Multiplexer&) = delete;
    ~Multiplexer();

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
        Clock::duration delay{};
        Clock::time_point retryAt;
    };

    /// A file that is in use by the thread, and what it was found with.
    struct Use {
        FileBase* file = nullptr;
        Descriptor descriptor;
    };

    void Run();
    int TimeoutMs();
    Use Begin(int key, bool lost);
    void End();
    void Deliver(int key, std::uint32_t events);
    void DeliverFrom(int key, std::uint32_t events, const Use& use);
    void LoseInput(int key, const Use& use, int error);
    void ReopenLost();
    void Reopen(int key, const Use& use);
    bool Watch(int key, Entry& entry);

    host::Epoll m_epoll;
    UniqueFd m_wake; // an eventfd: ends the thread
    std::thread m_thread;
    std::vector<unsigned char> m_buffer; // the thread's alone

    std::mutex m_mutex;                // never held while a file is called or its delivery lock is awaited
    std::condition_variable m_useEnds; // with m_mutex
    std::map<int, Entry> m_entries;    // guarded by m_mutex
    const FileBase* m_used = nullptr;  // the file that the thread uses; guarded by m_mutex
    std::thread::id m_threadId;        // of the running thread; guarded by m_mutex
};

} // namespace TLG::ZOCAR

#endif
