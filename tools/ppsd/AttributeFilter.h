#ifndef TLG_TOOLS_PPSD_ATTRIBUTEFILTER_H
#define TLG_TOOLS_PPSD_ATTRIBUTEFILTER_H

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace ppsd {

/// The attributes that a reader wants, as the open option "f=" names them. Not thread-safe.
class AttributeFilter {
public:
    /// Lets every attribute through.
    AttributeFilter() = default;

    /// @param names with "+" between them; empty: every attribute
    explicit AttributeFilter(std::string_view names);

    bool LetsAllThrough() const noexcept { return m_names.empty(); }

    /// Whether one of the lines is of a wanted attribute.
    bool LetsThrough(std::string_view lines) const;

    /// Removes the lines of other attributes from a packet. Needs no memory.
    void Apply(std::string& packet) const;

private:
    bool Wants(std::string_view line) const;

    std::set<std::string, std::less<>> m_names;
};

} // namespace ppsd

#endif
