// The objects that survive a restart, as text:
//
//   saved  = *object
//   object = path [" " owner " " group " " mode] LF    owner, group: numbers, decimal; mode: octal, 0 to 777
//            text                                      the object's own, its head and one line an attribute
//
// No line of an object's text begins with a slash. Where owner, group and mode are missing, as former versions wrote
// it, the object is the server's own, and everybody may read and write it.
#ifndef TLG_TOOLS_PPSD_SAVEDOBJECTS_H
#define TLG_TOOLS_PPSD_SAVEDOBJECTS_H

#include <functional>
#include <string>
#include <string_view>

#include "tools/ppsd/ObjectTree.h"

namespace ppsd {

/// Writes a piece of text; false when that failed.
using TextSink = std::function<bool(std::string_view)>;

/// Writes what survives a restart to @p sink, object by object. False as soon as the sink fails.
///
/// @param scratch holds one object's text; with kSaveScratch bytes reserved, nothing is allocated
bool SaveObjects(const ObjectTree& tree, std::string& scratch, const TextSink& sink);
constexpr std::size_t kSaveScratch = kMaxObjectText + 4096;

/// Loads saved objects, line by line. A damaged line is reported and skipped.
class ObjectLoader {
public:
    /// @param own      the permissions of objects that are saved without any
    /// @param complain is called for each damaged line. After the first fifty, one call reports the number of the rest
    ObjectLoader(ObjectTree& tree, const Permissions& own, std::function<void(std::string_view)> complain)
        : m_tree(tree), m_own(own), m_complain(std::move(complain)) {}

    /// Loads one line without its line feed. Of a line longer than kMaxWrite, the first kMaxWrite + 1 bytes are enough.
    void LoadLine(std::string_view line);

    /// To be called after the last line.
    void Finish();

private:
    void StartObject(std::string_view line);
    void Complain(std::string_view text);

    ObjectTree& m_tree;
    Permissions m_own;
    std::function<void(std::string_view)> m_complain;
    Node* m_node = nullptr;    // the object of the lines that follow
    bool m_isSkipping = false; // whether the lines that follow belong to no object, which was reported
    unsigned long m_line = 0;
    unsigned long m_complaints = 0;
};

} // namespace ppsd

#endif
