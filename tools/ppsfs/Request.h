#ifndef TLG_TOOLS_PPSFS_REQUEST_H
#define TLG_TOOLS_PPSFS_REQUEST_H

#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include "tools/ppsfs/Fuse.h"

namespace ppsfs {

/// A request of the kernel, which gets one answer: the first that is given. Where its process takes a signal, that is
/// EINTR, unless the request changes something: nobody would know whether it did. Where everybody forgets the request,
/// it is EIO.
class Request {
public:
    enum class Kind { Asks, Changes };

    Request(fuse_req_t request, Kind kind) {
        if (kind == Kind::Asks) {
            fuse_req_interrupt_func(request, &Request::OnInterrupt, this);
        }
        m_request = request;
        if (m_isInterrupted) {
            Fail(EINTR);
        }
    }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    ~Request() { Fail(EIO); }

    bool IsAnswered() const { return m_request == nullptr; }
    fuse_req_t Raw() const { return m_request; }

    /// Answers with an errno number; 0 is a success without more to say.
    void Fail(int error) {
        Answer([error](fuse_req_t request) { fuse_reply_err(request, error); });
    }
    void Succeed() { Fail(0); }
    void Send(std::string_view text) {
        Answer([text](fuse_req_t request) { fuse_reply_buf(request, text.data(), text.size()); });
    }

    /// Answers with @p reply(request), unless there was an answer.
    template <typename Reply>
    void Answer(Reply reply) {
        if (const fuse_req_t request = std::exchange(m_request, nullptr)) {
            reply(request);
        }
    }

private:
    static void OnInterrupt(fuse_req_t /*request*/, void* self) {
        auto& interrupted = *static_cast<Request*>(self);
        // A request that had its signal before it came must not be answered while its callback is set.
        interrupted.m_isInterrupted = interrupted.m_request == nullptr;
        interrupted.Fail(EINTR);
    }

    fuse_req_t m_request = nullptr; // null once it is answered
    bool m_isInterrupted = false;
};

using RequestPtr = std::shared_ptr<Request>;

} // namespace ppsfs

#endif
