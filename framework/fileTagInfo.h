#ifndef TLG_FRAMEWORK_FILETAGINFO_H
#define TLG_FRAMEWORK_FILETAGINFO_H

#include <string>

namespace TLG::ZOCAR {

/// Open flags, the target's numbers.
constexpr int kReadWrite = 0x2;
constexpr int kCreate = 0x100;
constexpr int kTruncate = 0x200;

/// Describes one file of the process; a constant that outlives the file.
struct fileTagInfo {
    int key;          ///< unique in the process; names the file in every callback
    std::string path; ///< what to open; for a PPS object with the open options after "?"
    int oflag;        ///< open flags, the target's numbers
    int mode;         ///< permission bits where the open creates the object
};

} // namespace TLG::ZOCAR

#endif
