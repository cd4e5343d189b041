#ifndef TLG_FRAMEWORK_FILESCONTROLBASE_H
#define TLG_FRAMEWORK_FILESCONTROLBASE_H

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "framework/IPPSOnChange.h"

namespace TLG::ZOCAR {

class FileBase;
class Multiplexer;

/// The file multiplexer, base of a controller: watches registered files and delivers their input, all
/// of it on one thread of its own. It keeps plain pointers to the files.
class FilesControlBase : public IPPSOnChange {
public:
    FilesControlBase();
    FilesControlBase(const FilesControlBase&) = delete;
    FilesControlBase& operator=(const FilesControlBase&) = delete;
    ~FilesControlBase() override;

    void OnAttributeChange(int key, pps_attrib_t* attrib) override = 0;
    void OnPpsStatusChange(int /*key*/, pps_status_t /*status*/, pps_attrib_t* /*attrib*/) override {}
    void OnAttributeDataChange(int /*key*/, const char* /*data*/) override {}

    /// Prepares the multiplexer; true on success.
    virtual bool Init();
    /// Releases it; true when it had been prepared.
    virtual bool Close();
    /// Starts watching; input may be delivered from now on. True on success.
    virtual bool Start();
    /// Stops watching; no input is delivered afterwards. True when it had been started. Not to be
    /// called from a delivery.
    virtual bool Stop();

    /// Registers an opened file. A file that cannot deliver input is refused. A file that is closed must be
    /// removed, and added again once it is open, to be heard. Where its peer goes away, the file is opened again
    /// as soon as the peer is back.
    bool AddFile(int key, FileBase* file) const;
    /// Has the connection of an opened file that is only written to kept in the same way; no input is delivered.
    bool AddOutput(int key, FileBase* file) const;
    /// Unregisters a file. Once it has returned, no input of the file is being delivered or will be,
    /// unless it was called from within the delivery itself.
    bool RemoveFile(int key) const;

    /// Lets the input of a registered file wait with its peer, whole and in order, and has it delivered again.
    void HoldInput(int key) const;
    /// The same, but the next block is delivered first: of a newly opened object, the state that it had then.
    void HoldInputAfterBlock(int key) const;
    void ResumeInput(int key) const;

    /// Who hears, between two deliveries and on their thread, of files that lack what was written to them: their
    /// connection came back, there is room again after a write that found none, or somebody deleted or emptied the
    /// object. To be set before Start().
    /// @param handler gets the keys of the files
    void SetReturnHandler(std::function<void(const std::vector<int>& keys)> handler) const;

    /// Calls @p handler once, on the thread of the deliveries, after @p delay; takes the place of an earlier call that
    /// has not come yet.
    void SetTimer(std::chrono::milliseconds delay, std::function<void()> handler) const;

private:
    std::unique_ptr<Multiplexer> m_multiplexer;
};

} // namespace TLG::ZOCAR

#endif
