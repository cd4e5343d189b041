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
/// What an attribute takes in memory beside its text, in bytes.
constexpr std::size_t kAttributeBytes = 256;
/// A limit that is none.
constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

/// What became of a write.
struct ApplyResult {
    std::string error;   ///< empty when the write was applied
    bool noRoom = false; ///< whether the error is that the object would grow too large
    std::string changes; ///< the lines to tell delta subscribers, in the order written
};

/// One PPS object: its attributes and how writes change them. No input or output; not thread-safe. Where there
/// is no memory, std::bad_alloc leaves the object as it was.
class Object {
public:
    /// @param name the last component of the object's path
    explicit Object(std::string name) : m_name(std::move(name)) {}

    const std::string& Name() const { return m_name; }

    /// Applies a write of one or more lines as a whole: a malformed line, a line of another object or a text that
    /// would grow too large changes nothing and is named in the result.
    ///
    /// @param room bytes by which Footprint() may grow; the attributes' text is bounded by kMaxObjectText anyway
    ApplyResult Apply(std::string_view text, std::size_t room = kUnlimited);

    /// Deletes every attribute.
    void Truncate() noexcept;

    /// Makes it what a new object is: empty and persistent.
    void Reset() noexcept;

    /// Makes the whole object non-persistent, as the open option "nopersist" does.
    void SetNotPersistent() noexcept { m_notPersistentByOption = true; }

    /// About so many bytes of memory the attributes take.
    std::size_t Footprint() const noexcept { return m_textSize + m_attributes.size() * kAttributeBytes; }

    /// The object's text: its head and one line an attribute, in the order of their first writing.
    std::string State() const;
    void AppendState(std::string& text) const;

    /// Appends the named attributes as they are now; a deleted one is a deletion line.
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

    /// A line of a write, with all the memory that applying it takes.
    struct Change {
        std::string_view name;
        bool isDeletion = false;
        pps::Persistence persistence = pps::Persistence::Unspecified;
        Attributes attribute;     // the new one, alone; none for a deletion
        Index::node_type indexed; // its entry, where it may be a new name
    };
    struct Write {
        std::vector<Change> changes;
        std::size_t textSize = 0; // of all new attributes
        std::size_t newNames = 0; // at most
        bool deletes = false;
        pps::Persistence persistence = pps::Persistence::Unspecified; // of the object
    };

    /// Makes a write ready; the result is why it must not be applied, empty when it may.
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
