#ifndef TLG_FRAMEWORK_PPSFILEBASE_H
#define TLG_FRAMEWORK_PPSFILEBASE_H

#include <sys/pps.h>

#include <cstring>
#include <vector>

#include "framework/FileBase.h"
#include "framework/IPPSOnChange.h"

namespace TLG::ZOCAR {

/// A PPS object: what is read from it goes to the callback as attributes, what is written to it is PPS
/// text. Writing may happen on any thread and waits for nobody. A write to an object whose server went away
/// has it opened again: by the multiplexer that cares for it, or, where there is none, at once, which may wait for the
/// server.
class PPSFileBase : public FileBase {
public:
    /// @param info     must outlive the object
    /// @param callback receives the changes; not owned
    PPSFileBase(const fileTagInfo& info, IPPSOnChange* callback)
        : FileBase(info, {true, TellsThatObjectIsGone}), m_callback(callback) {}

    /// True when there is a callback for the changes.
    bool Init() override;
    bool Open() override;

    /// Parses @p length bytes of PPS text and reports each attribute in it.
    void OnDataChange(unsigned char* data, int length) override;

    /// Takes what is not an attribute, and reports it to the callback.
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
    /// Whether somebody deleted or emptied the object.
    static bool TellsThatObjectIsGone(const unsigned char* data, std::size_t length);

    IPPSOnChange* m_callback;
    std::vector<char> m_text; // what is being parsed; the multiplexer's thread alone
};

} // namespace TLG::ZOCAR

#endif
