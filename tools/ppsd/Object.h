#ifndef TLG_TOOLS_PPSD_OBJECT_H
#define TLG_TOOLS_PPSD_OBJECT_H

#include <cstddef>
#include <limits>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/pps/Line.h"

namespace ppsd {

/// The largest write into an object, in bytes.
constexpr std::size_t kMaxWrite = 64U * 1024U;
/// The largest text that the attributes of an object may grow to, in bytes.
constexpr std::size_t kMaxObjectText = 128U * 1024U;
/// The memory that an attribute takes besides its text, in bytes.
constexpr std::size_t kAttributeBytes = 256;
/// Stands for "no limit".
constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

/// The result of a write.
struct ApplyResult {
    std::string error;   ///< empty when the write was applied
    bool noRoom = false; ///< whether the error is that the object would grow too large
    std::string changes; ///< the lines to send to delta subscribers, in the order written
};

/// One PPS object: its attributes and how writes change them. No input or output; not thread-safe. Where there
/// is no memory, std::bad_alloc leaves the object as it was.
class Object {
public:
    /// @param name the last component of the object's path
    explicit Object(std::string name) : m_name(std::move(name)) {}

    const std::string& Name() const { return m_name; }

    /// Applies a write of one or more lines as a whole. Where a line is malformed or of another object, or the object
    /// would grow too large, nothing is changed, and the result says why.
    ///
    /// @param room bytes by which Footprint() may grow; kMaxObjectText bounds the attributes' text besides
    ApplyResult Apply(std::string_view text, std::size_t room = kUnlimited);

    /// Deletes every attribute.
    void Truncate() noexcept;

    /// Makes it like a new object: empty and persistent.
    void Reset() noexcept;

    /// Makes the whole object non-persistent, as the open option "nopersist" does.
    void SetNotPersistent() noexcept { m_notPersistentByOption = true; }

    /// The approximate number of bytes of memory that the attributes take.
    std::size_t Footprint() const noexcept { return m_textSize + m_attributes.size() * kAttributeBytes; }

    /// The number of bytes of State().
    std::size_t StateSize() const noexcept;

    /// The object's text: its head and one line an attribute, in the order of their first writing.
    std::string State() const;
    void AppendState(std::string& text) const;

    /// Appends the lines of the named attributes as they are now. For a deleted one a deletion line is appended.
    void AppendLines(std::string& text, const std::list<std::string>& names) const;

    /// The object's line, with @p mark ("", "+", "-", "#", "|") in front.
    std::string Head(std::string_view mark = "") const;
    void AppendHead(std::string& text, std::string_view mark = "") const;

    /// Appends the text that survives a restart; nothing for a non-persistent object.
    void AppendPersistentState(std::string& text) const;

private:
    struct Attribute {
        std::string name;
        std::string encoding;
        std::string value;
        bool persistent = true;
        std::size_t TextSize() const { return name.size() + encoding.size() + value.size() + 6; }
    };
    using Attributes = std::list<Attribute>;
    using Index = std::unordered_map<std::string_view, Attributes::iterator>; // keys point into the attributes

    /// A line of a write, with all the memory that is needed to apply it.
    struct Change {
        std::string_view name;
        bool isDeletion = false;
        pps::Persistence persistence = pps::Persistence::Unspecified;
        Attributes attribute;     // holds the new attribute alone; empty for a deletion
        Index::node_type indexed; // its entry in the index, where the name may be new
    };
    struct Write {
        std::vector<Change> changes;
        std::size_t textSize = 0; // of all new attributes
        std::size_t newNames = 0; // at most
        bool deletes = false;
        pps::Persistence persistence = pps::Persistence::Unspecified; // of the object
    };

    /// Prepares a write. Returns why it must not be applied; empty when it may.
    std::string Prepare(std::string_view text, Write& write) const;
    std::string PrepareLine(std::string_view text, bool isFirst, Write& write) const;
    bool Fits(const Write& write, std::size_t room) const;
    void Set(Change& change, std::string& published) noexcept;
    void Delete(std::string_view name, std::string& published) noexcept;

    static void Append(std::string& text, const Attribute& attribute);

    std::string m_name;
    bool m_persistent = true;
    bool m_notPersistentByOption = false;
    Attributes m_attributes;
    Index m_byName;
    std::size_t m_textSize = 0;
};

} // namespace ppsd

#endif
