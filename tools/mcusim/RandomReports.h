#ifndef TLG_TOOLS_MCUSIM_RANDOMREPORTS_H
#define TLG_TOOLS_MCUSIM_RANDOMREPORTS_H

#include <random>

#include "model/RecordFields.h"
#include "tools/mculink/Packet.h"

namespace mcusim {

using mculink::Bytes;

/// An endless sequence of unasked packets, valid and invalid ones of every kind. The same seed gives the
/// same sequence.
class RandomReports {
public:
    explicit RandomReports(std::uint32_t seed) : m_random(seed) {}

    /// The next packet as it goes over the device.
    Bytes Next();

private:
    int Below(int limit) { return static_cast<int>(m_random() % static_cast<std::uint32_t>(limit)); }
    std::uint8_t Byte(int limit) { return static_cast<std::uint8_t>(Below(limit)); }
    int Value(const RecordField& field, int band);
    Bytes RecordOf(const RecordLayout& layout);
    void Damage(Bytes& payload);

    std::mt19937 m_random;
};

} // namespace mcusim

#endif
