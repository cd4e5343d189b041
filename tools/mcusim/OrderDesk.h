#ifndef TLG_TOOLS_MCUSIM_ORDERDESK_H
#define TLG_TOOLS_MCUSIM_ORDERDESK_H

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/host/UnixSocket.h"
#include "platform/posix/Epoll.h"
#include "tools/mcusim/Console.h"
#include "tools/mcusim/Orders.h"

namespace mcusim {

/// Where orders are taken, below the root.
constexpr std::string_view kOrderSocket = "/run/mcusim";

/// Takes orders: from a script, from standard input, and from those who connect to the socket. Each of them gives one
/// order at a time; one that waits delays its own next orders, and nobody else's. On the thread of the epoll loop.
class OrderDesk {
public:
    using Clock = std::chrono::steady_clock;
    /// The numbers of its descriptors in the epoll set begin here.
    static constexpr std::uint64_t kFirstId = std::uint64_t{1} << 62;

    /// @param descriptorIsFree called when one is; newcomers may wait for it
    OrderDesk(const Epoll& epoll, std::function<OrderResult(std::string_view)> obey,
              std::function<void()> descriptorIsFree)
        : m_epoll(epoll), m_obey(std::move(obey)), m_descriptorIsFree(std::move(descriptorIsFree)) {}

    /// Listens at the socket, once the epoll set is open. False, with the reason in @p error, on failure.
    bool Listen(std::string& error);
    /// Takes the orders of a file. False, with the reason in @p error, where it can't be read.
    bool TakeScript(const std::string& path, std::string& error);
    /// Takes lines from this descriptor as well; from a terminal, with a prompt.
    void TakeInput(int fd);

    /// Handles an event of one of its descriptors.
    void Handle(std::uint64_t id, std::uint32_t events);
    /// Obeys what need not wait any longer.
    void GoOn();
    /// When GoOn is to be called at the latest.
    std::optional<Clock::time_point> Due() const;
    /// Called when a descriptor is free: accepts newcomers that had to wait.
    void ListenAgain() const { m_epoll.Modify(m_listener.Fd(), EPOLLIN, kListenerId); }

    /// Prints a line, above the prompt where there is one.
    void Print(const std::string& line) const;

    /// Whether the user has ended the prompt.
    bool IsEnded() const { return m_isEnded; }
    /// Whether an order of the script was wrong: the rest of it is not carried out.
    bool HasScriptFailed() const { return m_hasScriptFailed; }

private:
    static constexpr std::uint64_t kListenerId = kFirstId;
    static constexpr std::uint64_t kInputId = kFirstId + 1;

    /// Lines that are obeyed in their order.
    struct Lines {
        bool isScript = false;
        std::string name; ///< of the script
        std::deque<std::string> lines;
        std::optional<Wait> wait = std::nullopt;
        int number = 0; ///< of the last line
    };
    struct Connection {
        UniqueFd fd;
        std::optional<Wait> wait;
        std::string answer; ///< after the wait
    };

    void AcceptAll();
    void ReadOrder(std::uint64_t id);
    void Read();
    void TakeLines();
    void ObeyLines(Lines& lines);
    void ObeyLine(Lines& lines);

    const Epoll& m_epoll;
    std::function<OrderResult(std::string_view)> m_obey;
    std::function<void()> m_descriptorIsFree;
    host::Listener m_listener;
    std::map<std::uint64_t, Connection> m_connections; // by number
    std::uint64_t m_nextConnection = kFirstId + 2;
    Lines m_script;
    Lines m_input;
    int m_inputFd = -1;
    std::string m_unfinished;     // the last line of the input, up to now
    bool m_isLineTooLong = false; // its rest is passed over
    std::unique_ptr<Console> m_console;
    bool m_isEnded = false;
    bool m_hasScriptFailed = false;
};

} // namespace mcusim

#endif
