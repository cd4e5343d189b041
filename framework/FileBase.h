#ifndef TLG_FRAMEWORK_FILEBASE_H
#define TLG_FRAMEWORK_FILEBASE_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "framework/fileTagInfo.h"
#include "platform/posix/Mutex.h"
#include "platform/posix/UniqueFd.h"

namespace TLG::ZOCAR {

class Multiplexer;

/// Base of every file of the process. Its owner is the controller; a multiplexer that watches it keeps a
/// plain pointer. Opening, closing and writing may happen on any thread; input is delivered on the
/// multiplexer's thread alone.
class FileBase {
public:
    /// @param info must outlive the file
    explicit FileBase(const fileTagInfo& info) : m_info(info) {}
    FileBase(const FileBase&) = delete;
    FileBase& operator=(const FileBase&) = delete;
    virtual ~FileBase() = default;

    /// Whether the file can deliver input; called when it is registered with a multiplexer.
    virtual bool Init();

    /// Opens the path with the flags and the mode of the file's description. False, with one line in
    /// the log that names the path and the reason, on failure.
    virtual bool Open();

    /// Takes one block of input.
    virtual void OnDataChange(unsigned char* data, int length);

    /// Closes the file, which may be registered with a running multiplexer. Once it has returned, no
    /// input of the file is being delivered or will be. It may be called from within OnDataChange.
    void Close();

    int GetKey() const { return m_info.key; }

protected:
    /// Opens as Open() does; @p what names the kind of file in the log line.
    bool OpenLogged(const char* what);

    /// Writes one message whole; waits a second at most for room, and not at all as long as the last
    /// wait was in vain. False on failure, with errno set.
    bool Write(const void* data, int length) const;

    /// Writes like Write(), and once more after reopening a file whose peer went away.
    bool WriteReopening(const void* data, int length) const;

    bool IsOpen() const { return Current() != nullptr; }

private:
    friend class Multiplexer;
    using Descriptor = std::shared_ptr<const UniqueFd>;

    /// The open descriptor, kept open as long as the result lives; null when the file is closed.
    Descriptor Current() const;
    void Replace(Descriptor descriptor) const;
    bool WriteTo(const Descriptor& descriptor, const void* data, int length) const;
    bool ReopenSoon(const Descriptor& lost) const;

    /// Opens anew after the peer of @p lost went away. True when the file is open again, be it by
    /// another thread; false on failure and when the file was closed meanwhile.
    bool Reopen(const Descriptor& lost) const;

    const fileTagInfo& m_info;

    mutable Mutex m_descriptorMutex;
    mutable Descriptor m_descriptor; // guarded by m_descriptorMutex
    // The one before a reopening: it stays open so that a multiplexer which watches it is told of its
    // end and turns to the new one. Guarded by m_descriptorMutex.
    mutable Descriptor m_previous;
    mutable std::atomic<bool> m_isCongested{false};        // the last wait for room was in vain
    mutable std::atomic<std::int64_t> m_noReopenBefore{0}; // writes don't reopen before; a steady clock's count
    mutable Mutex m_reopenMutex; // held by the one thread that reopens; taken before m_descriptorMutex

    // Held while input is delivered, and taken by Close() to wait for that; recursive, since a delivery
    // may close its own file. Taken before all other locks.
    std::recursive_mutex m_deliveryMutex;
};

} // namespace TLG::ZOCAR

#endif
