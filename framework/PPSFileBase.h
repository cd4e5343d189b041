#ifndef TLG_FRAMEWORK_PPSFILEBASE_H
#define TLG_FRAMEWORK_PPSFILEBASE_H

#include <sys/pps.h>

#include <cstring>
#include <vector>

#include "framework/Export.h"
#include "framework/FileBase.h"
#include "framework/IPPSOnChange.h"

namespace TLG::ZOCAR {

/// A PPS object: what is read from it goes to the callback as attributes, what is written to it is PPS
/// text. Writing may happen on any thread and does not block. When the server has gone away, a write makes the
/// multiplexer open the object again. Without a multiplexer the write opens it itself, and then it may wait for the
/// server.
class TLG_API PPSFileBase : public FileBase {
public:
    /// @param info     must outlive the object
    /// @param callback receives the changes; not owned
    PPSFileBase(const fileTagInfo& info, IPPSOnChange* callback)
        : FileBase(info, {true, ReportsObjectGone}), m_callback(callback) {}

    /// True when there is a callback for the changes.
    bool Init() override;
    bool Open() override;

    /// Parses @p length bytes of PPS text and reports each line of it to the callback.
    void OnDataChange(unsigned char* data, int length) override;

    /// Reports a line that is not an attribute to the callback.
    virtual void OnPPSStatusChange(pps_status_t status, pps_attrib_t* attrib);

    /// Writes @p length bytes of encoded PPS text; true on success.
    bool WritePPS(const char* data, int length) const;

    /// Sets one attribute. @p object is the object's name with "@"; @p attribute may have a qualifier in
    /// front. True on success; a text with a line feed is refused.
    bool SetPPSIntAttr(const char* object, const char* attribute, int value) const;
    bool SetPPSStringAttr(const char* object, const char* attribute, const char* value) const;

    static bool EncodingIsJson(const char* encoding) {
        return encoding != nullptr && std::strcmp(encoding, "json") == 0;
    }

private:
    /// Whether the text reports that the object was deleted or emptied.
    static bool ReportsObjectGone(const unsigned char* data, std::size_t length);

    IPPSOnChange* m_callback;
    std::vector<char> m_text; // the text being parsed; used on the multiplexer's thread alone
};

} // namespace TLG::ZOCAR

#endif
