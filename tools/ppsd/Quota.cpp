#include "tools/ppsd/Quota.h"

#include <algorithm>

namespace ppsd {

namespace {

constexpr std::size_t kMegabyte = 1024U * 1024U;

constexpr Limits kLimits{{{1024, 4096, 512},                                   // objects
                          {32 * kMegabyte, 256 * kMegabyte, 64 * kMegabyte},   // bytes
                          {256, 2048, 128},                                    // connections
                          {16 * kMegabyte, 128 * kMegabyte, 32 * kMegabyte}}}; // backlogs

/// What is left up to a limit.
std::size_t Left(std::size_t limit, std::size_t used) {
    return limit - std::min(limit, used);
}

} // namespace

Limits LimitsWith(std::size_t descriptors) {
    Limits limits = kLimits;
    Limit& connections = limits[static_cast<std::size_t>(Bound::Connections)];
    if (descriptors < connections.total) {
        // A fourth of the descriptors, and what the server itself needs, are kept in reserve. Root and the server's
        // user may use them all; when none is left, their connections wait instead of being refused.
        constexpr std::size_t kOwn = 12;
        connections.total = descriptors;
        connections.reserve = std::min(connections.reserve, descriptors / 4) + kOwn;
        connections.reserve = std::min(connections.reserve, descriptors - descriptors / 4);
    }
    return limits;
}

std::size_t Quota::Room(uid_t user, Bound bound) const noexcept {
    const auto index = static_cast<std::size_t>(bound);
    const Limit& limit = m_limits[index];
    if (user == 0 || user == m_own) {
        return Left(limit.total, m_total[index]);
    }
    const auto found = m_users.find(user);
    const std::size_t used = found == m_users.end() ? 0 : found->second[index];
    return std::min(Left(limit.user, used), Left(limit.total - limit.reserve, m_total[index]));
}

bool Quota::Acquire(uid_t user, Bound bound, std::size_t amount) {
    if (Room(user, bound) < amount) {
        return false;
    }
    m_users.try_emplace(user);
    Change(user, bound, 0, amount);
    return true;
}

void Quota::Change(uid_t user, Bound bound, std::size_t before, std::size_t after) noexcept {
    const auto index = static_cast<std::size_t>(bound);
    const auto found = m_users.find(user);
    if (found == m_users.end()) {
        return;
    }
    Usage& usage = found->second;
    usage[index] = usage[index] - before + after;
    m_total[index] = m_total[index] - before + after;
    if (std::all_of(usage.begin(), usage.end(), [](std::size_t used) { return used == 0; })) {
        m_users.erase(found);
    }
}

} // namespace ppsd
