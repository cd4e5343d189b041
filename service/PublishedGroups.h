#ifndef TLG_SERVICE_PUBLISHEDGROUPS_H
#define TLG_SERVICE_PUBLISHEDGROUPS_H

#include <algorithm>
#include <bitset>
#include <vector>

#include "model/CEQData.h"

/// The groups that were published since the service started, each known by the store's operation that raises its
/// update flag. The thread that runs the update cycle alone uses it.
class PublishedGroups {
public:
    using FlagSetter = void (CEQData::*)(bool);

    void Add(FlagSetter set) {
        if (std::find(m_setters.begin(), m_setters.end(), set) == m_setters.end()) {
            m_setters.push_back(set);
        }
    }
    /// @param id 0 to 7, as of CEQData::SetUpdateEqFlagByBitID
    void AddEq(unsigned char id) { m_eqIds.set(id); }

    /// Raises the flags of all of them, so that the next update cycle publishes their present values.
    void RaiseFlags(CEQData& data) const {
        for (const FlagSetter set : m_setters) {
            (data.*set)(true);
        }
        for (std::size_t id = 0; id < m_eqIds.size(); ++id) {
            if (m_eqIds[id]) {
                data.SetUpdateEqFlagByBitID(true, static_cast<unsigned char>(id));
            }
        }
    }

private:
    std::vector<FlagSetter> m_setters;
    std::bitset<8> m_eqIds;
};

#endif
