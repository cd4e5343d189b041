#include "tools/ppsfs/OpenFile.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>

#include "platform/host/PpsProtocol.h"
#include "tools/ppsd/Object.h"
#include "tools/ppsfs/Caller.h"

namespace ppsfs {

namespace {

/// How long a request waits for the server whose process does not want to wait.
constexpr std::chrono::milliseconds kShortPatience(300);

std::chrono::milliseconds PatienceOf(bool isNonBlocking) {
    return isNonBlocking ? kShortPatience : kPatience;
}

int TargetFlags(int flags) {
    namespace target = host::target_flags;
    return (flags & O_ACCMODE) | ((flags & O_CREAT) != 0 ? target::kCreate : 0) |
           ((flags & O_EXCL) != 0 ? target::kExclusive : 0) | ((flags & O_TRUNC) != 0 ? target::kTruncate : 0);
}

/// The request to open a path as a file: of its options, those that a file may have.
std::string OpenRequest(std::string_view path, const host::PpsOptions& options, int flags, mode_t mode) {
    std::string text(path);
    text.append("?file").append(options.delta ? ",delta" : "").append(options.notPersistent ? ",nopersist" : "");
    if (!options.attributes.empty()) {
        text.append(",f=").append(options.attributes);
    }
    return host::RenderOpen(TargetFlags(flags), mode, text);
}

} // namespace

OpenFile::~OpenFile() {
    Close();
}

void OpenFile::Open(const ppsd::Identity& caller, const std::string& path, int flags, mode_t mode,
                    const Opened& opened) {
    std::string_view bare = path;
    const host::PpsOptions options = host::SplitOptions(bare);
    m_isDelta = options.delta;
    m_waits = options.wait;
    m_onOpened = opened;
    const int error = ConnectAs(caller, *m_connection);
    if (error != 0) {
        OnOpenReply(error, {}, false);
        return;
    }
    m_connection->Ask(OpenRequest(bare, options, flags, mode),
                      [self = shared_from_this(), reads = (flags & O_ACCMODE) != O_WRONLY](
                          int result, std::string_view answer) { self->OnOpenReply(result, answer, reads); });
}

void OpenFile::OnOpenReply(int error, std::string_view answer, bool reads) {
    const int reason = error == 0 ? host::ParseReply(answer).error : error;
    if (!m_onOpened) {
        return; // the reply comes too late
    }
    m_connection->OnNotice([weak = weak_from_this()] {
        if (const std::shared_ptr<OpenFile> self = weak.lock()) {
            self->OnNotice();
        }
    });
    // The state is waited for, so that the first read finds it.
    if (reason != 0 || !reads) {
        std::exchange(m_onOpened, nullptr)(reason);
    }
}

/// The server has something to read, or the connection is lost.
void OpenFile::OnNotice() {
    m_isReady = true;
    m_mayHaveText = true;
    if (m_onOpened) {
        std::exchange(m_onOpened, nullptr)(m_connection->IsConnected() ? 0 : ECONNRESET);
    }
    ServeReaders();
    ReportEvents();
}

void OpenFile::Read(const RequestPtr& request, std::size_t size, off_t offset, int flags) {
    m_connection->TakeIn();
    m_readers.push_back({request, size, offset, (flags & O_NONBLOCK) != 0});
    ServeReaders();
}

void OpenFile::ServeReaders() {
    while (!m_readers.empty() && Serve(m_readers.front())) {
        m_readers.pop_front();
    }
}

/// Answers a reader; false where it has to wait.
bool OpenFile::Serve(Reader& reader) {
    if (!std::exchange(reader.hasSought, true)) {
        Seek(reader.offset);
    }
    if (reader.request->IsAnswered()) {
        return true; // by a signal
    }
    if (m_taken < m_text.size()) {
        const std::string_view part = std::string_view(m_text).substr(m_taken, reader.size);
        m_taken += part.size();
        reader.request->Send(part);
        return true;
    }
    if (!m_connection->IsConnected()) {
        reader.request->Fail(ECONNRESET);
        return true;
    }
    if (m_isAsking) {
        if (m_isLate) {
            reader.request->Fail(reader.isNonBlocking ? EAGAIN : ETIMEDOUT);
        }
        return reader.request->IsAnswered();
    }
    if (m_mayHaveText) {
        AskForText(reader.isNonBlocking);
        return false;
    }
    return ServeNothing(reader);
}

/// Answers a reader for whom there is nothing new; false where it has to wait.
bool OpenFile::ServeNothing(Reader& reader) {
    if (std::exchange(m_isRewound, false) && !m_text.empty()) {
        m_taken = 0;
        m_begin = reader.offset;
        return Serve(reader);
    }
    if (reader.isNonBlocking) {
        reader.request->Fail(EAGAIN);
    } else if (!m_waits) {
        reader.request->Send({});
    }
    return reader.request->IsAnswered();
}

/// Notes where a reader is that does not go on where the last one was. The last text can be sought in: a shell reads a
/// block of it and goes back to the end of the first line.
void OpenFile::Seek(off_t offset) {
    const auto size = static_cast<off_t>(m_text.size());
    const auto taken = static_cast<off_t>(m_taken);
    if (offset == m_begin + taken) {
        return;
    }
    if (!m_isDelta && offset == 0) {
        m_begin = -size; // the whole again, or a newer one
        m_taken = m_text.size();
        m_isRewound = true;
    } else if (offset >= m_begin && offset <= m_begin + size) {
        m_taken = static_cast<std::size_t>(offset - m_begin);
    } else if (m_isDelta) {
        m_begin = offset - taken; // there is no way back to former changes
    } else {
        m_begin = 0;
        m_taken = static_cast<std::size_t>(std::min(offset, size));
    }
}

void OpenFile::AskForText(bool isNonBlocking) {
    m_isAsking = true;
    m_isLate = false;
    m_lateAt = Loop::Clock::now() + kPatience;
    m_connection->Ask(
        std::string(1, host::kReadRequest),
        [self = shared_from_this()](int error, std::string_view text) { self->OnText(error, text); },
        PatienceOf(isNonBlocking), [self = shared_from_this()] { self->OnTextLate(); });
}

void OpenFile::OnText(int error, std::string_view text) {
    if (error == ETIMEDOUT) {
        OnTextLate();
    }
    m_isAsking = false;
    m_isReady = false;
    m_mayHaveText = error == 0 && text != host::kNothing;
    if (m_mayHaveText) {
        // A text begins where a reader is who goes on; for one who has sought, a whole text begins at 0.
        const auto here = m_begin + static_cast<off_t>(m_taken);
        const off_t offset = m_readers.empty() ? here : m_readers.front().offset;
        const bool beginsHere = m_isDelta || offset == here;
        m_text = text;
        m_begin = beginsHere ? offset : 0;
        m_taken = std::min(static_cast<std::size_t>(offset - m_begin), m_text.size());
        m_isRewound = false;
    }
    ServeReaders();
}

/// Readers who don't want to wait give up, and after a while the others too.
void OpenFile::OnTextLate() {
    m_isLate = Loop::Clock::now() >= m_lateAt;
    for (const Reader& reader : m_readers) {
        if (reader.isNonBlocking || m_isLate) {
            reader.request->Fail(reader.isNonBlocking ? EAGAIN : ETIMEDOUT);
        }
    }
    ServeReaders();
}

void OpenFile::Write(const RequestPtr& request, std::string_view text, off_t offset, int flags) {
    const auto taken = static_cast<off_t>(m_taken);
    if (offset == m_begin + taken || (flags & O_APPEND) != 0) {
        m_begin = offset + static_cast<off_t>(text.size()) - taken;
    }
    const bool isNonBlocking = (flags & O_NONBLOCK) != 0;
    const int tooLate = isNonBlocking ? EAGAIN : ETIMEDOUT;
    if (isNonBlocking && m_lateWrites > 0) {
        request->Fail(tooLate);
        return;
    }
    const auto isLate = std::make_shared<bool>(false);
    const auto answer = [self = shared_from_this(), request, size = text.size(), tooLate,
                         isLate](int error, std::string_view reply) {
        if (*isLate) {
            --self->m_lateWrites;
            self->ReportEvents();
        }
        const int reason = error == 0 ? host::ParseReply(reply).error : error == ETIMEDOUT ? tooLate : error;
        if (reason == 0) {
            request->Answer([size](fuse_req_t raw) { fuse_reply_write(raw, size); });
        }
        request->Fail(reason);
    };
    const auto late = [self = shared_from_this(), request, tooLate, isLate] {
        self->m_lateWrites += std::exchange(*isLate, true) ? 0 : 1;
        request->Fail(tooLate);
    };
    // Of a text that is too large a part is enough for the server to refuse it.
    m_connection->Ask(std::string(1, host::kWriteRequest).append(text.substr(0, ppsd::kMaxWrite + 1)), answer,
                      PatienceOf(isNonBlocking), late);
}

unsigned OpenFile::Events() const {
    if (!m_connection->IsConnected()) {
        return POLLERR | POLLHUP | POLLIN | POLLOUT;
    }
    return (m_isReady || m_taken < m_text.size() ? POLLIN : 0U) | (m_lateWrites == 0 ? POLLOUT : 0U);
}

void OpenFile::Poll(const RequestPtr& request, fuse_pollhandle* handle) {
    m_connection->TakeIn();
    if (handle != nullptr) {
        fuse_pollhandle_destroy(std::exchange(m_poll, handle));
    }
    request->Answer([events = Events()](fuse_req_t raw) { fuse_reply_poll(raw, events); });
}

/// Wakes those who poll.
void OpenFile::ReportEvents() {
    if (fuse_pollhandle* const handle = std::exchange(m_poll, nullptr)) {
        fuse_lowlevel_notify_poll(handle);
        fuse_pollhandle_destroy(handle);
    }
}

void OpenFile::Close() {
    m_connection->Close();
    for (const Reader& reader : m_readers) {
        reader.request->Fail(ENOTCONN);
    }
    m_readers.clear();
    fuse_pollhandle_destroy(std::exchange(m_poll, nullptr));
}

} // namespace ppsfs
