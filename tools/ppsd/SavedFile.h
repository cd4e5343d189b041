#ifndef TLG_TOOLS_PPSD_SAVEDFILE_H
#define TLG_TOOLS_PPSD_SAVEDFILE_H

#include <string>
#include <string_view>

#include "tools/ppsd/SavedObjects.h"

namespace ppsd {

/// Writes the objects into the file at @p path, which after a power cut holds either the former objects or the new
/// ones, whole: they are written beside it, brought to the disk and put in its place. No link is followed.
///
/// @param scratch as SaveObjects needs it
/// @return why it failed; then the file is what it was. Empty on success.
std::string SaveToFile(const std::string& path, const ObjectTree& tree, std::string& scratch);

/// Reads saved objects into @p loader. A missing file holds none. A link is not followed: it is told of and holds none.
///
/// @return why the file could not be read; empty on success
std::string LoadFromFile(const std::string& path, ObjectLoader& loader);

} // namespace ppsd

#endif
