#ifndef TLG_MODEL_SOURCESNAMEIDMAP_H
#define TLG_MODEL_SOURCESNAMEIDMAP_H

#include <map>
#include <string>

namespace TLG::ZOCAR {

/// The names of the audio sources by their ids. Filled once by its owner, only read afterwards.
class SourcesNameIdMap {
public:
    SourcesNameIdMap() = default;
    SourcesNameIdMap(const SourcesNameIdMap&) = default;
    SourcesNameIdMap& operator=(const SourcesNameIdMap&) = default;
    virtual ~SourcesNameIdMap() = default;

    /// Fills the table with the ids 0 to 31.
    void Init();

    /// Finds the id of exactly this name; false, and @p id left alone, where there is none.
    bool GetSrcIdByName(const std::string& name, unsigned char& id) const;

    /// Finds the name of an id; false, and @p name left alone, where there is none.
    bool GetSrcNameById(unsigned char id, std::string& name) const;

private:
    std::map<unsigned char, std::string> m_names;
};

} // namespace TLG::ZOCAR

#endif
