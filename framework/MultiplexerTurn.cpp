// A turn of the dispatching thread.
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "framework/LogBase.h"
#include "framework/Multiplexer.h"

namespace TLG::ZOCAR {

namespace {

// The part of a file's input that is delivered before the others have their turn.
constexpr int kBlocksPerTurn = 32;
constexpr int kLinesPerTurn = 32;

constexpr std::chrono::milliseconds kPauseWithoutMemory(10);

/// The length of the first lines of a text.
std::size_t LengthOfLines(const unsigned char* text, std::size_t length, int lines) {
    const unsigned char* const end = text + length;
    const unsigned char* at = text;
    for (int line = 0; line < lines && at != end; ++line) {
        const unsigned char* const feed = std::find(at, end, '\n');
        at = feed == end ? end : feed + 1;
    }
    return static_cast<std::size_t>(at - text);
}

} // namespace

void Multiplexer::Dispatch() {
    m_dispatcherId = std::this_thread::get_id();
    while (!m_isStopping) {
        try {
            Turn();
        } catch (const std::bad_alloc&) {
            LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "no memory, what was to be done is tried again\n");
            m_needsAttention = true;
            std::this_thread::sleep_for(kPauseWithoutMemory);
        }
    }
}

void Multiplexer::Turn() {
    m_epoll.Wait(TimeoutMs(), [this](std::uint64_t id, std::uint32_t events) { OnEvent(id, events); });
    if (m_hasRests) {
        DeliverRests();
    }
    if (m_needsAttention.exchange(false)) {
        TakeOver();
        UpdateWatches();
    }
    RunTimer();
}

/// How long to wait for events in milliseconds, -1 for ever: not at all while lines wait for their turn.
int Multiplexer::TimeoutMs() {
    if (m_hasRests || m_needsAttention) {
        return 0;
    }
    const MutexLock lock(m_mutex);
    if (!m_timerDue) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*m_timerDue - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void Multiplexer::OnEvent(std::uint64_t id, std::uint32_t events) {
    if (id == kWakeId) {
        eventfd_t taken = 0;
        ::eventfd_read(m_wake.Get(), &taken);
    } else if (!m_isStopping) {
        Deliver(static_cast<int>(id), events);
    }
}

/// Finds a file and keeps it from being removed until Release().
std::optional<Multiplexer::Entry> Multiplexer::Claim(int key) {
    const MutexLock lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found == m_entries.end()) {
        return std::nullopt;
    }
    m_delivering = found->second.file;
    return found->second;
}

void Multiplexer::Release() {
    const MutexLock lock(m_mutex);
    m_delivering = nullptr;
    m_released.notify_all();
}

/// Calls @p deliver(entry) with the delivery lock of the file held. The file can't be removed meanwhile. Where memory
/// runs out, the input being delivered is lost, and nothing else.
template <typename Delivery>
void Multiplexer::WithClaimed(int key, Delivery deliver) {
    std::optional<Entry> entry = Claim(key);
    if (!entry) {
        return;
    }
    try {
        const std::lock_guard<std::recursive_mutex> delivery(entry->file->m_deliveryMutex);
        deliver(*entry);
    } catch (const std::bad_alloc&) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "no memory for the input of file %d, it is lost\n", key);
    }
    Release();
}

void Multiplexer::Deliver(int key, std::uint32_t events) {
    WithClaimed(key, [&](Entry& entry) {
        if ((events & EPOLLOUT) != 0) {
            const bool isNew = m_lacking.insert(key).second; // first, as it may lack memory
            if (!entry.connection->Flush() && isNew) {
                m_lacking.erase(key);
            }
            m_needsAttention = true;
        }
        Receive(key, entry);
    });
}

/// Reads and delivers blocks, at most a turn's part. The blocks of an output are not delivered.
void Multiplexer::Receive(int key, Entry& entry) {
    // A block of text may hold many lines, so one block is enough for a turn.
    const int blocks = entry.file->m_reading.isInLines ? 1 : kBlocksPerTurn;
    for (int block = 0; block < blocks && !entry.IsPaused(); ++block) {
        const ReadResult read = entry.connection->Read(m_buffer.data(), m_buffer.size());
        if (read.kind == ReadResult::kNothing) {
            return;
        }
        if (read.kind == ReadResult::kEnded) {
            LoseConnection(key, entry, read.error);
            return;
        }
        NoteAnswer(key, entry);
        const FileBase::Reading& reading = entry.file->m_reading;
        if (reading.reportsObjectGone != nullptr && reading.reportsObjectGone(m_buffer.data(), read.length)) {
            m_lacking.insert(key);
            m_needsAttention = true;
        }
        if (entry.input && reading.isInLines) {
            DeliverLines(entry, m_buffer.data(), read.length);
        } else if (entry.input) {
            entry.file->OnDataChange(m_buffer.data(), static_cast<int>(read.length));
        }
        if (entry.input && entry.input->isHeldAfterBlock.exchange(false)) {
            entry.input->isHeld = true;
            m_needsAttention = true;
        }
    }
}

/// Delivers the first lines of a text that was just read, and keeps the others for the next turns. A block after which
/// the input is held is delivered whole.
void Multiplexer::DeliverLines(const Entry& entry, unsigned char* text, std::size_t length) {
    const std::size_t part = entry.input->isHeldAfterBlock ? length : LengthOfLines(text, length, kLinesPerTurn);
    if (part < length) {
        entry.input->rest.assign(text + part, text + length);
        entry.input->delivered = 0;
        m_hasRests = true;
        m_needsAttention = true;
    }
    entry.file->OnDataChange(text, static_cast<int>(part));
}

/// Delivers the next lines of each file that has some left.
void Multiplexer::DeliverRests() {
    std::vector<int> keys;
    {
        const MutexLock lock(m_mutex);
        for (const auto& [key, entry] : m_entries) {
            if (entry.input && entry.input->HasRest() && !entry.input->isHeld) {
                keys.push_back(key);
            }
        }
    }
    m_hasRests = !keys.empty();
    for (const int key : keys) {
        WithClaimed(key, [this](Entry& entry) { DeliverRest(entry); });
    }
}

void Multiplexer::DeliverRest(const Entry& entry) {
    Input& input = *entry.input;
    unsigned char* const text = input.rest.data() + input.delivered;
    const std::size_t part = LengthOfLines(text, input.rest.size() - input.delivered, kLinesPerTurn);
    input.delivered += part;
    if (!input.HasRest()) {
        m_needsAttention = true;
    }
    if (!m_isStopping) {
        entry.file->OnDataChange(text, static_cast<int>(part));
    }
}

void Multiplexer::LoseConnection(int key, const Entry& entry, int error) {
    const char* path = entry.file->m_info.path.c_str();
    const char* reason = error == 0 ? "closed by its peer" : std::strerror(error);
    if (entry.input) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "input %s lost (%s), it is reopened as soon as it is back\n", path,
                reason);
    } else {
        LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "output %s lost (%s)\n", path, reason);
    }
    entry.connection->Lose();
    {
        const MutexLock lock(m_mutex);
        const auto found = m_entries.find(key);
        if (found != m_entries.end()) {
            found->second.watched = 0;
        }
    }
    entry.reopener->OnLost();
}

/// A file from which something was read since it came back shows that its peer works: the reopener is notified.
void Multiplexer::NoteAnswer(int key, Entry& entry) {
    if (!entry.awaitsAnswer) {
        return;
    }
    entry.awaitsAnswer = false;
    entry.reopener->OnAnswer();
    const MutexLock lock(m_mutex);
    const auto found = m_entries.find(key);
    if (found != m_entries.end()) {
        found->second.awaitsAnswer = false;
    }
}

/// Takes over the connections that came back. After a write to a lost connection its next opening comes soon. Files
/// with which the return handler could not be called, for lack of memory, stay noted for the next turn.
void Multiplexer::TakeOver() {
    const bool wasWriteLost = m_wasWriteLost.exchange(false);
    ReturnHandler onReturn;
    {
        const MutexLock lock(m_mutex);
        onReturn = m_onReturn;
        for (auto& [key, entry] : m_entries) {
            const Connection::State state = entry.connection->CurrentState();
            if (state == Connection::State::kReturned) {
                TakeOver(key, entry);
            } else if (wasWriteLost && !entry.input && state == Connection::State::kLost) {
                entry.reopener->Hurry();
            }
        }
    }
    if (!m_lacking.empty() && onReturn) {
        onReturn(std::vector<int>(m_lacking.begin(), m_lacking.end()));
    }
    m_lacking.clear();
}

/// Takes one connection over, unless what was opened can't be watched.
void Multiplexer::TakeOver(int key, Entry& entry) {
    m_lacking.insert(key);
    entry.watched = 0;
    entry.awaitsAnswer = true;
    if (entry.connection->TakeOver() && UpdateWatch(key, entry)) {
        LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "%s %s is back\n", entry.input ? "input" : "output",
                entry.file->m_info.path.c_str());
        return;
    }
    m_lacking.erase(key);
    entry.connection->Lose();
    entry.reopener->OnLost();
}

void Multiplexer::UpdateWatches() {
    const MutexLock lock(m_mutex);
    for (auto& [key, entry] : m_entries) {
        UpdateWatch(key, entry);
        m_hasRests = m_hasRests || (entry.input && !entry.input->isHeld && entry.input->HasRest());
    }
}

/// Makes the epoll set watch a file for the events that are wanted now. False where an open file can't be watched,
/// with a line in the log.
bool Multiplexer::UpdateWatch(int key, Entry& entry) const {
    const std::uint32_t wanted =
        entry.IsPaused() ? 0U : EPOLLIN | EPOLLRDHUP | (entry.connection->NeedsRoom() ? EPOLLOUT : 0U);
    const auto id = static_cast<std::uint64_t>(key);
    if (wanted == entry.watched) {
        return true;
    }
    const bool isWatched = entry.connection->WithDescriptor([&](int fd) {
        if (wanted == 0) {
            return m_epoll.Remove(fd);
        }
        return entry.watched == 0 ? m_epoll.Add(fd, wanted, id) : m_epoll.Modify(fd, wanted, id);
    });
    if (isWatched) {
        entry.watched = wanted;
        return true;
    }
    if (m_isRunning && entry.connection->CurrentState() != Connection::State::kOpen) {
        return true; // it is watched once its connection is taken over
    }
    LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "can't watch %s: %s\n", entry.file->m_info.path.c_str(), std::strerror(errno));
    return false;
}

void Multiplexer::RunTimer() {
    std::function<void()> handler;
    Clock::time_point due;
    {
        const MutexLock lock(m_mutex);
        if (!m_timerDue || *m_timerDue > Clock::now()) {
            return;
        }
        due = *m_timerDue;
        handler = m_timerHandler;
    }
    handler();
    // Reset after the call, so that a handler that lacked memory is called again. The handler may have set the timer
    // itself; then that time stays.
    const MutexLock lock(m_mutex);
    if (m_timerDue == due) {
        m_timerDue.reset();
    }
}

} // namespace TLG::ZOCAR
