#ifndef TLG_TOOLS_PPSFS_OPENFILE_H
#define TLG_TOOLS_PPSFS_OPENFILE_H

#include <sys/types.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "tools/ppsd/Permissions.h"
#include "tools/ppsfs/Request.h"
#include "tools/ppsfs/ServerConnection.h"

namespace ppsfs {

/// One open file: an object that the server has opened over a connection of the file's own.
///
/// A read returns what one read returns on the target: with "delta" the next change, otherwise the whole text where it
/// has changed since the last read. Of a text that the reader's buffer can't hold, the next reads return the rest.
/// Where there is nothing: with O_NONBLOCK EAGAIN, with "wait" the read waits, otherwise it is the end of the file, as
/// far as it goes now. The text that was read last can be sought in, and a whole one be read again from its beginning.
class OpenFile : public std::enable_shared_from_this<OpenFile> {
public:
    using Opened = std::function<void(int error)>;

    /// @param loop outlives it
    explicit OpenFile(Loop& loop) : m_connection(std::make_shared<ServerConnection>(loop)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();

    /// Connects as the caller, opens, and then calls @p opened with 0 or an errno number.
    /// @param path  with options
    /// @param flags Linux's
    void Open(const ppsd::Identity& caller, const std::string& path, int flags, mode_t mode, const Opened& opened);

    /// @param offset where the reader is in the file
    void Read(const RequestPtr& request, std::size_t size, off_t offset, int flags);
    /// @param offset where the writer is in the file, which means nothing but that a reader is there afterwards
    void Write(const RequestPtr& request, std::string_view text, off_t offset, int flags);

    /// @param handle by which to report changes from now on; null: none. It is the file's then.
    void Poll(const RequestPtr& request, fuse_pollhandle* handle);

    /// Ends everything; reads that wait end with an error.
    void Close();

private:
    struct Reader {
        RequestPtr request;
        std::size_t size = 0;
        off_t offset = 0;
        bool isNonBlocking = false;
        bool hasSought = false;
    };

    void OnTextLate();
    void OnOpenReply(int error, std::string_view answer, bool reads);
    void OnNotice();
    void ServeReaders();
    bool Serve(Reader& reader);
    bool ServeNothing(Reader& reader);
    void Seek(off_t offset);
    void AskForText(bool isNonBlocking);
    void OnText(int error, std::string_view text);
    unsigned Events() const;
    void ReportEvents();

    std::shared_ptr<ServerConnection> m_connection;
    Opened m_onOpened; // null once it is called
    bool m_isDelta = false;
    bool m_waits = false;
    std::deque<Reader> m_readers; // not answered, in their order
    std::string m_text;           // that was read last
    std::size_t m_taken = 0;      // bytes of it that readers have
    off_t m_begin = 0;            // where it begins in the file
    bool m_isRewound = false;     // it is to be read again, unless there is a newer one
    bool m_isAsking = false;      // for a text
    bool m_isLate = false;        // the answer is
    Loop::Clock::time_point m_lateAt;
    bool m_mayHaveText = true; // false: the server has nothing to read, and will notify
    bool m_isReady = false;    // it has notified
    int m_lateWrites = 0;      // those that had no answer in time, nor since
    fuse_pollhandle* m_poll = nullptr;
};

} // namespace ppsfs

#endif
