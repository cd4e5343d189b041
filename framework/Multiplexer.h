// One thread delivers the input of all files, and nothing that the multiplexer does waits for a peer.
//
// In each turn that thread waits for events and delivers a bounded part of the input of each file. Then it takes over
// the connections that came back, calls the return handler for them, and runs the timer. So a file with much input
// (many packets or one long text) delays the others by one part only. And the return handler has run before any input
// that comes after the return is delivered.
//
//     what happens                         who notices            what follows
//     a file has input                     epoll                  FileBase::OnDataChange
//     its peer ended                       a read                 Connection::Lose; one line; Reopener::OnLost
//     it could be opened again             the peer's Reopener    eventfd; Connection::TakeOver; the return handler
//     a write found no room                Connection             epoll watches for room; Connection::Flush; where
//                                                                 something was not written: the return handler
//     somebody deletes or empties an       a read                 the return handler
//     object that is written to
//     input is held or resumed             the caller             the file leaves or joins the epoll set
//
// Locks are taken in this order: delivery (of a file, while it delivers), multiplexer (for a look-up or a change of
// what is watched), reopener and connection (no other lock is taken while one of these is held). No thread waits while
// it holds the multiplexer's lock. Remove() releases it while it waits for a delivery, and does not wait at all on the
// dispatcher itself. Stop() waits for the threads without it.
#ifndef TLG_FRAMEWORK_MULTIPLEXER_H
#define TLG_FRAMEWORK_MULTIPLEXER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "framework/FileBase.h"
#include "framework/Reopener.h"
#include "platform/posix/Epoll.h"
#include "platform/posix/Mutex.h"

namespace TLG::ZOCAR {

/// Delivers the input of registered files on one thread, and keeps their connections.
class Multiplexer : private ConnectionObserver {
public:
    using ReturnHandler = std::function<void(const std::vector<int>& keys)>;
    enum class Holding { kHeld, kHeldAfterBlock, kResumed };

    Multiplexer() = default;
    Multiplexer(const Multiplexer&) = delete;
    Multiplexer& operator=(const Multiplexer&) = delete;
    ~Multiplexer() override;

    // These do what the operations of FilesControlBase do that call them.
    bool Init();
    bool Close();
    bool Start() TLG_EXCLUDES(m_mutex);
    bool Stop() TLG_EXCLUDES(m_mutex);
    bool Add(int key, FileBase* file) TLG_EXCLUDES(m_mutex);
    bool AddOutput(int key, FileBase* file) TLG_EXCLUDES(m_mutex);
    bool Remove(int key) TLG_EXCLUDES(m_mutex);
    void Hold(int key, Holding holding) TLG_EXCLUDES(m_mutex);
    void SetReturnHandler(ReturnHandler handler) TLG_EXCLUDES(m_mutex);
    void SetTimer(std::chrono::milliseconds delay, std::function<void()> handler) TLG_EXCLUDES(m_mutex);

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::uint64_t kWakeId = ~std::uint64_t{0}; // in the epoll set; other ids are keys

    /// The dispatcher's state for the input of a file. Shared by the entry and a delivery that outlives it.
    struct Input {
        std::atomic<bool> isHeld{false};
        std::atomic<bool> isHeldAfterBlock{false}; // to be held once the next block has been delivered
        std::vector<unsigned char> rest; // lines that were read but not all delivered; used by the dispatcher alone
        std::size_t delivered = 0;       // how many bytes of them were delivered
        bool HasRest() const { return delivered < rest.size(); }
    };

    struct Entry {
        FileBase* file = nullptr;
        std::shared_ptr<Connection> connection;
        std::shared_ptr<Input> input; // null for an output
        Reopener* reopener = nullptr;
        std::uint32_t watched = 0; // the events that the epoll set has
        bool awaitsAnswer = false; // its connection came back, and nothing was read from it yet

        /// Whether reading from it is suspended.
        bool IsPaused() const { return input && (input->isHeld || input->HasRest()); }
    };

    bool AddEntry(int key, FileBase* file, bool isOutput) TLG_EXCLUDES(m_mutex);
    bool StartThreads() TLG_EXCLUDES(m_mutex);
    void Join() TLG_EXCLUDES(m_mutex);
    Reopener* ReopenerOf(const std::string& path) TLG_REQUIRES(m_mutex);

    void OnRoomNeeded() override;
    void OnWriteLost() override;
    void RequestAttention();
    void Wake() const;

    void Dispatch() TLG_EXCLUDES(m_mutex);
    int TimeoutMs() TLG_EXCLUDES(m_mutex);
    void OnEvent(std::uint64_t id, std::uint32_t events) TLG_EXCLUDES(m_mutex);
    template <typename Delivery>
    void WithClaimed(int key, Delivery deliver) TLG_EXCLUDES(m_mutex);
    std::optional<Entry> Claim(int key) TLG_EXCLUDES(m_mutex);
    void Release() TLG_EXCLUDES(m_mutex);
    void Turn() TLG_EXCLUDES(m_mutex);
    void Deliver(int key, std::uint32_t events) TLG_EXCLUDES(m_mutex);
    void Receive(int key, Entry& entry) TLG_EXCLUDES(m_mutex);
    void DeliverLines(const Entry& entry, unsigned char* text, std::size_t length) TLG_EXCLUDES(m_mutex);
    void DeliverRests() TLG_EXCLUDES(m_mutex);
    void DeliverRest(const Entry& entry) TLG_EXCLUDES(m_mutex);
    void LoseConnection(int key, const Entry& entry, int error) TLG_EXCLUDES(m_mutex);
    void NoteAnswer(int key, Entry& entry) TLG_EXCLUDES(m_mutex);
    void TakeOver() TLG_EXCLUDES(m_mutex);
    void TakeOver(int key, Entry& entry) TLG_REQUIRES(m_mutex);
    void UpdateWatches() TLG_EXCLUDES(m_mutex);
    bool UpdateWatch(int key, Entry& entry) const TLG_REQUIRES(m_mutex);
    void RunTimer() TLG_EXCLUDES(m_mutex);

    Epoll m_epoll;
    UniqueFd m_wake; // an eventfd
    std::thread m_dispatcher;
    std::atomic<std::thread::id> m_dispatcherId{};
    std::atomic<bool> m_isStopping{false};
    std::atomic<bool> m_needsAttention{false}; // watches, connections or the timer are to be looked at
    std::atomic<bool> m_wasWriteLost{false};
    std::vector<unsigned char> m_buffer; // this and the next two are used by the dispatcher alone
    std::set<int> m_lacking;             // files for which the return handler is to be called
    bool m_hasRests = false;

    Mutex m_mutex;                          // never held while a file delivers or opens
    std::condition_variable_any m_released; // with m_mutex
    std::map<int, Entry> m_entries TLG_GUARDED_BY(m_mutex);
    std::map<std::string, std::unique_ptr<Reopener>> m_reopeners TLG_GUARDED_BY(m_mutex); // by the peer's directory
    const FileBase* m_delivering TLG_GUARDED_BY(m_mutex) = nullptr;
    bool m_isRunning TLG_GUARDED_BY(m_mutex) = false;
    ReturnHandler m_onReturn TLG_GUARDED_BY(m_mutex);
    std::optional<Clock::time_point> m_timerDue TLG_GUARDED_BY(m_mutex);
    std::function<void()> m_timerHandler TLG_GUARDED_BY(m_mutex);
};

} // namespace TLG::ZOCAR

#endif
