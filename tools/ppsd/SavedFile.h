#ifndef TLG_TOOLS_PPSD_SAVEDFILE_H
#define TLG_TOOLS_PPSD_SAVEDFILE_H

#include <string>
#include <string_view>

#include "tools/ppsd/SavedObjects.h"

namespace ppsd {

/// Writes the objects into the file at @p path. They are written to a new file beside it, which is flushed to the disk
/// and then replaces it. So after a power cut the file holds all former objects or all new ones. No link is followed.
///
/// @param scratch as SaveObjects needs it
/// @return why it failed; then the file is unchanged. Empty on success.
std::string SaveToFile(const std::string& path, const ObjectTree& tree, std::string& scratch);

/// Reads saved objects into @p loader. A missing file counts as empty. So does a link, which is not followed but
/// reported.
///
/// @return why the file could not be read; empty on success
std::string LoadFromFile(const std::string& path, ObjectLoader& loader);

} // namespace ppsd

#endif
