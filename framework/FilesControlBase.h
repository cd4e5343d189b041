#ifndef TLG_FRAMEWORK_FILESCONTROLBASE_H
#define TLG_FRAMEWORK_FILESCONTROLBASE_H

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "framework/Export.h"
#include "framework/IPPSOnChange.h"

namespace TLG::ZOCAR {

class FileBase;
class Multiplexer;

/// The file multiplexer, base of a controller: watches registered files and delivers their input, all
/// of it on one thread of its own. It keeps plain pointers to the files.
class TLG_API FilesControlBase : public IPPSOnChange {
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

    /// Registers an opened file. A file that cannot deliver input is refused. A file that was closed delivers
    /// input again only after it has been removed, opened and added again. If its peer goes away, the file is opened
    /// again as soon as the peer is back.
    bool AddFile(int key, FileBase* file) const;
    /// Registers an opened file that is only written to. It is opened again in the same way; no input is delivered.
    bool AddOutput(int key, FileBase* file) const;
    /// Unregisters a file. Once it has returned, no input of the file is being delivered or will be,
    /// unless it was called from within the delivery itself.
    bool RemoveFile(int key) const;

    /// Stops delivering the input of a registered file. It waits with the peer, whole and in order. Where one more
    /// block is still to be delivered, that block comes first.
    void HoldInput(int key) const;
    /// The same, but one more block is delivered first. Of a newly opened object this is its state at the opening.
    void HoldInputAfterBlock(int key) const;
    /// Delivers held input again.
    void ResumeInput(int key) const;

    /// Sets the handler for files that may lack what was written to them: their connection came back, there is room
    /// again after a write that found none, or somebody deleted or emptied the object. It is called between two
    /// deliveries, on their thread. To be set before Start().
    /// @param handler receives the keys of the files
    void SetReturnHandler(std::function<void(const std::vector<int>& keys)> handler) const;

    /// Calls @p handler once, on the thread of the deliveries, after @p delay. It replaces an earlier timer that has
    /// not run yet.
    void SetTimer(std::chrono::milliseconds delay, std::function<void()> handler) const;

private:
    std::unique_ptr<Multiplexer> m_multiplexer;
};

} // namespace TLG::ZOCAR

#endif
