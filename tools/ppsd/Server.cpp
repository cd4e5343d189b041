#include "tools/ppsd/Server.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "platform/host/Root.h"
#include "tools/ppsd/Report.h"
#include "tools/ppsd/SavedFile.h"

namespace ppsd {

namespace {

constexpr std::string_view kSavedObjects = "/var/pps/objects";
constexpr std::uint64_t kListenerId = ~std::uint64_t{0};
constexpr std::uint64_t kStopId = kListenerId - 1;

/// When one client has caused this much work, as Broker::Work() measures it, or was read so often, the other clients
/// have their turn. The work is looked at before each read, which may bring a few packets.
constexpr std::uint64_t kTurnWork = 64U * 1024U;
constexpr int kTurnReads = 16;
constexpr int kNewcomersPerTurn = 64;
/// At the end the server handles what clients wrote before, in at most this number of turns.
constexpr int kLastTurns = 2000;
constexpr int kAcceptRetryMs = 1000;

/// Raises the limit of descriptors as far as the server can use them, and returns it.
std::size_t DescriptorLimit() {
    constexpr rlim_t kUseful = 4096;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return kUseful;
    }
    if (limit.rlim_cur < kUseful && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = std::min(limit.rlim_max, kUseful);
        ::setrlimit(RLIMIT_NOFILE, &limit);
        ::getrlimit(RLIMIT_NOFILE, &limit);
    }
    return static_cast<std::size_t>(std::min(limit.rlim_cur, kUseful));
}

} // namespace

Server::Server(const ServerOptions& options)
    : m_options(options), m_broker(LimitsWith(DescriptorLimit()), ::geteuid(), options.umask, Report) {}

bool Server::Start(std::string& error) {
    const std::string socket = host::BelowRoot(host::kPpsSocket);
    if (!m_listener.Open(socket) || !m_listener.ShareWithAll() || !m_epoll.Open() ||
        !m_epoll.Add(m_listener.Fd(), EPOLLIN, kListenerId)) {
        error = "cannot listen at " + socket + ": " +
                (errno == EADDRINUSE ? "another server runs there" : std::strerror(errno));
        return false;
    }
    // The memory that the server itself needs is allocated now, before clients can use it up.
    // Room for a byte more than the largest write, so that a larger one is known, and for the mark of a file's write.
    m_inbox.Allocate(kMaxWrite + 2);
    m_saveBuffer.reserve(kSaveScratch);
    ReserveDescriptors();
    return Load(error);
}

bool Server::Load(std::string& error) {
    constexpr mode_t kEverybody = 0666;
    const std::string saved = host::BelowRoot(kSavedObjects);
    ObjectLoader loader(m_broker.Tree(), {::geteuid(), ::getegid(), kEverybody},
                        [&](std::string_view complaint) { Report(saved, complaint); });
    const std::string reason = LoadFromFile(saved, loader);
    error = reason.empty() ? "" : "cannot read " + saved + ": " + reason;
    return reason.empty();
}

bool Server::Run(int stopFd) {
    using Clock = std::chrono::steady_clock;
    if (!m_epoll.Add(stopFd, EPOLLIN, kStopId)) {
        Report("cannot wait for signals", std::strerror(errno));
        return false;
    }
    auto nextSave = Clock::now() + m_options.saveInterval;
    while (!Turn(TimeoutMs(nextSave - Clock::now())).stop) {
        if (m_options.saveInterval.count() > 0 && Clock::now() >= nextSave) {
            Save();
            nextSave = Clock::now() + m_options.saveInterval;
        }
    }
    // What clients wrote before the stop is still applied.
    m_epoll.Remove(stopFd);
    m_epoll.Remove(m_listener.Fd());
    for (int i = 0; i < kLastTurns && Turn(0).served; ++i) {
    }
    // Saving may take long, and no client is to wait for it.
    m_listener.EndListening();
    while (!m_connections.empty()) {
        Drop(m_connections.begin()->first);
    }
    return Save();
}

int Server::TimeoutMs(std::chrono::steady_clock::duration untilSave) const {
    if (m_options.saveInterval.count() == 0) {
        return m_accepting ? -1 : kAcceptRetryMs;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(untilSave).count();
    const auto wait = std::max<decltype(left)>(left, 0);
    return static_cast<int>(m_accepting ? wait : std::min<decltype(wait)>(wait, kAcceptRetryMs));
}

/// Waits for events and handles them.
Server::TurnResult Server::Turn(int timeoutMs) {
    // Clients come before newcomers. So a reader that connects after a writer has ended sees what that one wrote.
    TurnResult result;
    bool newcomers = !m_accepting;
    m_epoll.Wait(timeoutMs, [&](std::uint64_t id, std::uint32_t events) {
        newcomers |= id == kListenerId;
        result.stop |= id == kStopId;
        if (id != kListenerId && id != kStopId) {
            result.served = true;
            Handle(id, events);
        }
    });
    if (newcomers && !result.stop) {
        AcceptNewcomers();
    }
    return result;
}

void Server::AcceptNewcomers() {
    for (int i = 0; i < kNewcomersPerTurn; ++i) {
        UniqueFd socket = m_listener.Accept();
        if (!socket) {
            NoteRoom(errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM, errno);
            return;
        }
        try {
            Accept(std::move(socket));
        } catch (const std::bad_alloc&) {
            Report("accept", "a newcomer is sent away: no memory");
        }
    }
}

/// Where there is no room for newcomers, they wait, and the server tries again from time to time.
void Server::NoteRoom(bool isFull, int reason) {
    if (isFull == m_accepting) {
        m_accepting = !isFull;
        m_epoll.Modify(m_listener.Fd(), m_accepting ? std::uint32_t{EPOLLIN} : 0U, kListenerId);
        Report("accept", m_accepting ? "there is room again" : std::strerror(reason));
    }
}

void Server::Accept(UniqueFd socket) {
    std::optional<Identity> who = PeerOf(socket.Get());
    if (!who) {
        Report("accept", std::strerror(errno));
        return;
    }
    auto connection = std::make_unique<Connection>(std::move(socket), std::move(*who), m_epoll);
    if (!m_broker.Admit(connection->Client())) {
        connection->Send(host::Render({ENOSPC, "the user has too many connections"}));
        return;
    }
    // An admitted client must be in the map, since only Drop() removes it.
    Connection& admitted = *connection;
    try {
        m_connections[admitted.Id()] = std::move(connection);
    } catch (const std::bad_alloc&) {
        m_broker.Remove(admitted.Client());
        throw;
    }
    if (!m_epoll.Add(admitted.Fd(), EPOLLIN, admitted.Id())) {
        Report("accept", std::strerror(errno));
        Drop(admitted.Id());
    }
}

void Server::Handle(std::uint64_t id, std::uint32_t events) {
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) {
        return;
    }
    Connection& connection = *found->second;
    if ((events & EPOLLOUT) != 0) {
        m_broker.Flush(connection.Client());
    }
    try {
        if (Receive(connection, (events & (EPOLLHUP | EPOLLERR)) != 0)) {
            return;
        }
    } catch (const std::bad_alloc&) {
        Report("a client is dropped", std::strerror(ENOMEM));
    }
    Drop(id);
}

/// Handles what a client wrote, up to the end of its turn. False when the connection is to end.
bool Server::Receive(Connection& connection, bool hungUp) {
    const std::uint64_t end = m_broker.Work() + kTurnWork;
    for (int reads = 0; reads < kTurnReads && m_broker.Work() < end; ++reads) {
        if (m_inbox.Receive(connection.Fd())) {
            if (!HandleInbox(connection, hungUp)) {
                return false;
            }
            if (!m_inbox.IsFull()) {
                return true;
            }
        } else if (errno == ECONNRESET) {
            // The client ended without reading everything. What it wrote before can still be read.
            hungUp = true;
        } else {
            return errno == EAGAIN || errno == EINTR;
        }
    }
    return true;
}

/// Handles the packets in the inbox. False when the connection is to end.
bool Server::HandleInbox(Connection& connection, bool& hungUp) {
    for (const std::string_view packet : m_inbox) {
        if (!packet.empty()) {
            if (!m_broker.Receive(connection.Client(), packet)) {
                return false;
            }
        } else if (hungUp) {
            return false;
        } else {
            // Either the end or an empty packet, for which nothing is to be done. When a last packet and the end come
            // at the same moment, the kernel may report the end first. Then the packet is there, and is read next.
            hungUp = connection.HasHungUp();
        }
    }
    return true;
}

void Server::Drop(std::uint64_t id) {
    const auto found = m_connections.find(id);
    m_broker.Remove(found->second->Client());
    m_connections.erase(found);
}

/// Opens spare descriptors, so that clients can't use up the last ones. They are closed while the objects are saved.
void Server::ReserveDescriptors() {
    for (UniqueFd& spare : m_spares) {
        spare.Reset(::fcntl(m_listener.Fd(), F_DUPFD_CLOEXEC, 0));
    }
}

bool Server::Save() {
    for (UniqueFd& spare : m_spares) {
        spare.Reset();
    }
    bool isSaved = false;
    try {
        const std::string path = host::BelowRoot(kSavedObjects);
        const std::string reason = SaveToFile(path, m_broker.Tree(), m_saveBuffer);
        isSaved = reason.empty();
        if (!isSaved) {
            Report(path, "cannot save the objects: " + reason);
        }
    } catch (const std::bad_alloc&) {
        Report(kSavedObjects, "cannot save the objects: no memory");
    }
    ReserveDescriptors();
    return isSaved;
}

} // namespace ppsd
