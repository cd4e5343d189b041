#ifndef TLG_TESTS_SUPPORT_PPSOBJECTCLIENT_H
#define TLG_TESTS_SUPPORT_PPSOBJECTCLIENT_H

#include <poll.h>

#include <string>

#include "platform/host/PpsConnection.h"
#include "tests/support/Patience.h"

/// A test's own view of a PPS object.
class PpsObjectClient {
public:
    static constexpr int kReadOnly = host::target_flags::kReadOnly;
    static constexpr int kCreate = host::target_flags::kReadWrite | host::target_flags::kCreate;

    explicit PpsObjectClient(const std::string& path, int oflag = kCreate)
        : m_fd(host::OpenPpsObject(path, oflag, m_reply)) {}

    int Error() const { return m_reply.error; }
    int Fd() const { return m_fd.Get(); }
    explicit operator bool() const { return static_cast<bool>(m_fd); }

    bool Write(const std::string& text) const {
        return ::write(m_fd.Get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

    /// The next packet; empty when none comes in @p timeoutMs, and where the object is not open.
    std::string Read(int timeoutMs = kTestTimeoutMs) const {
        pollfd state{m_fd.Get(), POLLIN, 0};
        std::string packet;
        if (m_fd && ::poll(&state, 1, timeoutMs) > 0) {
            host::ReceivePacket(m_fd.Get(), packet);
        }
        return packet;
    }

    /// Reads until a packet holds @p part, and returns everything read.
    std::string ReadUntil(const std::string& part) const {
        std::string text;
        for (std::string packet = Read(); !packet.empty(); packet = Read()) {
            text += packet;
            if (text.find(part) != std::string::npos) {
                break;
            }
        }
        return text;
    }

    /// Reads until a packet holds @p part; where none does, the failure shows what was read.
    testing::AssertionResult Hears(const std::string& part) const {
        const std::string text = ReadUntil(part);
        return text.find(part) != std::string::npos ? testing::AssertionSuccess()
                                                    : testing::AssertionFailure()
                                                          << "waited in vain for '" << part << "' and read\n"
                                                          << text;
    }

private:
    host::PpsReply m_reply;
    UniqueFd m_fd;
};

/// The whole text of an object as it is now.
inline std::string StateOf(const std::string& path) {
    return PpsObjectClient(path, PpsObjectClient::kReadOnly).Read();
}

/// Deletes an object; 0, or why it can't be.
inline int DeleteObject(const std::string& path) {
    host::PpsReply reply;
    host::RequestOfPpsServer("delete " + path, reply);
    return reply.error;
}

/// Writes lines into an object and waits until the server has applied them.
inline bool WriteObject(const std::string& path, const std::string& text) {
    const PpsObjectClient object(path + (path.find('?') == std::string::npos ? "?ack" : ",ack"));
    return object.Write(text) && object.Read() == "ok";
}

#endif
