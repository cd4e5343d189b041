#ifndef TLG_FRAMEWORK_FILEBASE_H
#define TLG_FRAMEWORK_FILEBASE_H

#include <memory>
#include <mutex>

#include "framework/Connection.h"
#include "framework/Export.h"
#include "framework/fileTagInfo.h"

namespace TLG::ZOCAR {

/// Base of every file of the process. Its owner is the controller; a multiplexer that watches it keeps a
/// plain pointer. Opening, closing and writing may happen on any thread; input is delivered on the
/// multiplexer's thread alone.
class TLG_API FileBase {
public:
    /// @param info must outlive the file
    explicit FileBase(const fileTagInfo& info);
    FileBase(const FileBase&) = delete;
    FileBase& operator=(const FileBase&) = delete;
    virtual ~FileBase();

    /// Whether the file can deliver input; called when it is registered with a multiplexer.
    virtual bool Init();

    /// Opens the path with the flags and the mode of the file's description. False, with one line in
    /// the log that names the path and the reason, on failure.
    virtual bool Open();

    /// Handles one block of input.
    virtual void OnDataChange(unsigned char* data, int length);

    /// Closes the file, which may be registered with a running multiplexer. Once it has returned, no
    /// input of the file is being delivered or will be. It may be called from within OnDataChange.
    void Close();

    int GetKey() const { return m_info.key; }

protected:
    /// What a multiplexer must know of the blocks that it reads.
    struct Reading {
        /// Whether a block may be delivered in parts that end where a line ends, with the input of other files
        /// between them.
        bool isInLines = false;
        /// Whether a block reports that what was written to the file is gone; null where no block can.
        bool (*reportsObjectGone)(const unsigned char* data, std::size_t length) = nullptr;
    };

    FileBase(const fileTagInfo& info, Reading reading);

    /// Opens as Open() does; @p what names the kind of file in the log line.
    bool OpenLogged(const char* what);

    Connection& Link() const { return *m_connection; }

private:
    friend class Multiplexer;

    const fileTagInfo& m_info;
    const Reading m_reading;
    const std::shared_ptr<Connection> m_connection; // shared with the thread that opens it again

    // Held while input is delivered. Close() takes it to wait for that. It is recursive, since a delivery may
    // close its own file; clang's analysis can't check such a lock. Taken before all other locks.
    std::recursive_mutex m_deliveryMutex;
};

} // namespace TLG::ZOCAR

#endif
