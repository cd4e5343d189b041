#ifndef TLG_PLATFORM_PPS_OBJECT_H
#define TLG_PLATFORM_PPS_OBJECT_H

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace pps {

struct Line;

/// The largest write into an object, in bytes.
constexpr std::size_t kMaxWrite = 64U * 1024U;
/// The largest text that the attributes of an object may grow to, in bytes.
constexpr std::size_t kMaxObjectText = 128U * 1024U;

/// What became of a write.
struct ApplyResult {
    std::string error;   ///< empty when the write was applied
    std::string changes; ///< the lines to tell delta subscribers, in the order written
};

/// One PPS object: its attributes and how writes change them. No input or output; not thread-safe.
class Object {
public:
    /// @param name the last component of the object's path
    explicit Object(std::string name) : m_name(std::move(name)) {}

    const std::string& Name() const { return m_name; }

    /// Applies a write of one or more lines as a whole: a malformed line, a line of another object or
    /// a text that would grow beyond kMaxObjectText changes nothing and is named in the result.
    ApplyResult Apply(std::string_view text);

    /// Deletes every attribute.
    void Truncate();

    /// Makes the whole object non-persistent, as the open option "nopersist" does.
    void SetNotPersistent() { m_notPersistentByOption = true; }

    /// The object's text: its head and one line an attribute, in the order of their first writing.
    std::string State() const;

    /// The text of the named attributes as they are now; a deleted one is a deletion line.
    std::string Lines(const std::vector<std::string>& names) const;

    /// The object's line, with @p mark ("", "+", "-", "#", "|") in front.
    std::string Head(std::string_view mark = "") const;

    /// The text that survives a restart; empty for a non-persistent object.
    std::string PersistentState() const;

private:
    struct Attribute {
        std::string name;
        std::string encoding;
        std::string value;
        bool persistent = true;
        std::size_t TextSize() const { return name.size() + encoding.size() + value.size() + 6; }
    };
    using Attributes = std::list<Attribute>;

    void Set(const Line& line, ApplyResult& result);
    void Delete(std::string_view name, ApplyResult& result);
    /// Why the write must not be applied; empty when it may.
    std::string Refusal(std::string_view text) const;
    std::size_t SizeAfter(std::string_view text) const;

    static void Append(std::string& text, const Attribute& attribute);

    std::string m_name;
    bool m_persistent = true;
    bool m_notPersistentByOption = false;
    Attributes m_attributes;
    std::unordered_map<std::string_view, Attributes::iterator> m_byName; // keys point into m_attributes
    std::size_t m_textSize = 0;
};

} // namespace pps

#endif
