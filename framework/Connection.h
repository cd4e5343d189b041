// One file's connection to the peer that serves it, from its opening to its end.
//
//                 Open()                      Lose()                    Reopen()
//     closed ───────────────▶ open ───────────────────▶ lost ─────────────────────▶ reopening
//        ▲                     ▲                          ▲                           │     │
//        │ Close(),            │ TakeOver()               └──────── can't be opened ──┘     │
//        │ from any state      └──────────────────── returned ◀────────── is opened ────────┘
//
// Two threads do this. The thread that delivers input finds that the peer has ended (Lose). Between two deliveries
// it also starts to use the new connection (TakeOver). A thread of the Reopener opens the file (Reopen), since that may
// wait for a peer. The old descriptor is closed before the new one is opened. Until TakeOver() nothing can be read
// from the new one or written to it. So data built from the state before the return can't reach the peer after it.
//
// Reads and writes never block, so no thread waits until a peer reads. Where there is no room, a packet of Send() is
// kept until there is some. A message of Write() fails, and later, when there is room, Flush() returns true.
#ifndef TLG_FRAMEWORK_CONNECTION_H
#define TLG_FRAMEWORK_CONNECTION_H

#include <atomic>
#include <cerrno>
#include <cstddef>

#include "framework/Outbox.h"
#include "framework/fileTagInfo.h"
#include "platform/posix/Mutex.h"
#include "platform/posix/UniqueFd.h"

namespace TLG::ZOCAR {

/// Is notified of what a connection needs. Called with the connection's lock held, on the thread that writes: it must
/// neither wait nor call back.
class ConnectionObserver {
public:
    virtual ~ConnectionObserver() = default;
    /// Something waits for room. The observer calls Flush() when there is some.
    virtual void OnRoomNeeded() = 0;
    /// A write found that the connection is lost.
    virtual void OnWriteLost() = 0;
};

/// The result of one read.
struct ReadResult {
    enum Kind { kBlock, kNothing, kEnded };
    Kind kind = kNothing;
    std::size_t length = 0; ///< of a block; packets may be empty
    int error = 0;          ///< why the connection ended; 0: its peer closed it
};

/// Every operation may be called on any thread. The lock is held during a read or a write, which don't block,
/// and never during an opening.
class Connection {
public:
    enum class State { kClosed, kOpen, kLost, kReopening, kReturned };

    explicit Connection(const fileTagInfo& info) : m_info(info), m_outbox(info.path) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() = default;

    const std::string& Path() const { return m_info.path; }
    State CurrentState() const noexcept { return m_state; }

    /// Sets the observer that is notified from now on; null for none. Not owned.
    void Observe(ConnectionObserver* observer) TLG_EXCLUDES(m_mutex);
    bool IsObserved() const TLG_EXCLUDES(m_mutex);

    /// closed -> open. False with errno set when the file can't be opened. It may wait for the peer.
    bool Open() TLG_EXCLUDES(m_mutex);
    /// any state -> closed.
    void Close() TLG_EXCLUDES(m_mutex);
    /// open -> lost; what waits for room counts as lost.
    void Lose() TLG_EXCLUDES(m_mutex);
    /// lost -> reopening -> returned, or lost again. The result is 0 or an errno number. It is 0 also in other states,
    /// where there is nothing to reopen. It may wait for the peer.
    int Reopen() TLG_EXCLUDES(m_mutex);
    /// returned -> open; false in any other state.
    bool TakeOver() TLG_EXCLUDES(m_mutex);

    ReadResult Read(unsigned char* buffer, std::size_t size) TLG_EXCLUDES(m_mutex);

    /// Writes a whole message or nothing. False with errno set: EAGAIN where there is no room, ENOTCONN or EPIPE
    /// where the connection is lost, EBADF where the file is closed.
    bool Write(const void* data, std::size_t length) TLG_EXCLUDES(m_mutex);

    /// Writes a packet, or keeps it until there is room; false when it is lost.
    bool Send(const unsigned char* data, std::size_t length) TLG_EXCLUDES(m_mutex);

    /// Writes the kept packets, as far as there is room. True when a message of Write() found no room since the last
    /// call and there is some now.
    bool Flush() TLG_EXCLUDES(m_mutex);

    bool NeedsRoom() const TLG_EXCLUDES(m_mutex);
    /// Calls @p operation(descriptor) while the descriptor can't be closed, and returns its result; false with errno
    /// EBADF where the connection is not open.
    template <typename Operation>
    bool WithDescriptor(Operation operation) const TLG_EXCLUDES(m_mutex) {
        const MutexLock lock(m_mutex);
        errno = EBADF;
        return m_state == State::kOpen && operation(m_descriptor.Get());
    }

private:
    UniqueFd OpenDescriptor(int oflag) const;
    void FlushOutbox() TLG_REQUIRES(m_mutex);

    const fileTagInfo m_info; // a copy: an opening under way may outlive the file
    mutable Mutex m_mutex;
    std::atomic<State> m_state{State::kClosed}; // written with m_mutex held
    UniqueFd m_descriptor TLG_GUARDED_BY(m_mutex);
    Outbox m_outbox TLG_GUARDED_BY(m_mutex);
    bool m_isStarved TLG_GUARDED_BY(m_mutex) = false; // a message of Write() found no room
    ConnectionObserver* m_observer TLG_GUARDED_BY(m_mutex) = nullptr;
};

} // namespace TLG::ZOCAR

#endif
