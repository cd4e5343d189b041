#ifndef TLG_FRAMEWORK_FILESCONTROLBASE_H
#define TLG_FRAMEWORK_FILESCONTROLBASE_H

#include <memory>

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
    /// removed, and added again once it is open, to be heard.
    bool AddFile(int key, FileBase* file) const;
    /// Unregisters a file. Once it has returned, no input of the file is being delivered or will be,
    /// unless it was called from within the delivery itself.
    bool RemoveFile(int key) const;

private:
    std::unique_ptr<Multiplexer> m_multiplexer;
};

} // namespace TLG::ZOCAR

#endif
