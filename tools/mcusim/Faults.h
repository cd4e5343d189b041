#ifndef TLG_TOOLS_MCUSIM_FAULTS_H
#define TLG_TOOLS_MCUSIM_FAULTS_H

#include <array>
#include <chrono>
#include <cstddef>
#include <limits>
#include <string_view>

namespace mcusim {

/// What can go wrong with what the simulated MCU answers: acknowledgements, query answers and mixing reports.
enum class Fault : std::size_t {
    kRefuse,    ///< control commands are refused with status 1 and not carried out
    kDrop,      ///< the command is carried out, but the answer is not sent
    kDuplicate, ///< the answer is sent twice
    kReorder,   ///< the answer is sent after the next one
    kRenumber,  ///< the answer carries the number of another packet
    kCorrupt,   ///< the answer arrives damaged
    kSilence,   ///< nothing is sent at all, not even reports
    kDeaf,      ///< nothing is read
};

struct FaultWord {
    std::string_view word;
    Fault fault;
    bool isState; ///< it is on or off, and can't be ordered for a number of answers
    const char* meaning;
};

/// The faults and the words with which they are ordered.
constexpr std::array<FaultWord, 8> kFaultWords{
    {{"refuse", Fault::kRefuse, false, "the command is refused"},
     {"drop", Fault::kDrop, false, "the command is carried out, and the answer is lost"},
     {"duplicate", Fault::kDuplicate, false, "the answer is sent twice"},
     {"reorder", Fault::kReorder, false, "the answer is sent after the next one"},
     {"renumber", Fault::kRenumber, false, "the answer has the number of another packet"},
     {"corrupt", Fault::kCorrupt, false, "the answer is damaged"},
     {"silence", Fault::kSilence, true, "nothing is sent at all"},
     {"deaf", Fault::kDeaf, true, "nothing is read"}}};

/// Which faults happen, and how often from now on.
class Faults {
public:
    static constexpr long kAlways = std::numeric_limits<long>::max();

    /// @param count 0: no more; kAlways: until it is set to something else
    void Set(Fault fault, long count) { m_left[Index(fault)] = count; }
    bool IsOn(Fault fault) const { return m_left[Index(fault)] > 0; }

    /// Whether it happens this time.
    bool Happens(Fault fault) {
        long& left = m_left[Index(fault)];
        const bool happens = left > 0;
        left -= happens && left != kAlways ? 1 : 0;
        return happens;
    }

    /// Ends all of them.
    void Clear() { *this = {}; }

    std::chrono::milliseconds delay{0}; ///< how much later answers come

private:
    static std::size_t Index(Fault fault) { return static_cast<std::size_t>(fault); }

    std::array<long, kFaultWords.size()> m_left{};
};

} // namespace mcusim

#endif
