// How much one user, and all together, may take of the server. Part of each total is kept back for root and for the
// server's own user, so that strangers can't keep the system itself from working.
#ifndef TLG_TOOLS_PPSD_QUOTA_H
#define TLG_TOOLS_PPSD_QUOTA_H

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <map>

namespace ppsd {

/// What is bounded: objects by their owner, the bytes of memory they take, connections by who made them, and the
/// bytes that wait for those who do not read.
enum class Bound { Objects, Bytes, Connections, Backlog };
constexpr std::size_t kBounds = 4;

struct Limit {
    std::size_t user;    ///< for each user but root and the server's own
    std::size_t total;   ///< for all together
    std::size_t reserve; ///< of the total, for root and the server's own user alone
};

/// A limit for each Bound, in its order.
using Limits = std::array<Limit, kBounds>;

/// The limits of a server that may have this number of descriptors open.
Limits LimitsWith(std::size_t descriptors);

/// What each user has taken. Not thread-safe.
class Quota {
public:
    /// @param own the server's own user
    Quota(const Limits& limits, uid_t own) : m_limits(limits), m_own(own) {}

    /// How much more the user may take.
    std::size_t Room(uid_t user, Bound bound) const noexcept;

    /// Adds @p amount to what the user has taken; false, without a change, where there is no room for it. For a user
    /// who had taken nothing before, this allocates memory.
    bool Acquire(uid_t user, Bound bound, std::size_t amount);

    /// Notes that something the user has taken is now larger or smaller. Only for a user who has taken something.
    void Change(uid_t user, Bound bound, std::size_t before, std::size_t after) noexcept;

    /// Notes that the user has returned @p amount.
    void Release(uid_t user, Bound bound, std::size_t amount) noexcept { Change(user, bound, amount, 0); }

    std::size_t Total(Bound bound) const noexcept { return m_total[static_cast<std::size_t>(bound)]; }

private:
    using Usage = std::array<std::size_t, kBounds>;

    Limits m_limits;
    uid_t m_own;
    std::map<uid_t, Usage> m_users; // those who have taken something
    Usage m_total{};
};

} // namespace ppsd

#endif
