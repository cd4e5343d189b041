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

/// Takes a piece of text; false when it could not.
using TextSink = std::function<bool(std::string_view)>;

/// Gives what survives a restart to @p sink, object by object. False as soon as the sink says so.
///
/// @param scratch holds one object's text; with kSaveScratch bytes reserved it needs no memory
bool SaveObjects(const ObjectTree& tree, std::string& scratch, const TextSink& sink);
constexpr std::size_t kSaveScratch = kMaxObjectText + 4096;

/// Takes saved objects in, line by line. What is damaged is passed over and told of.
class ObjectLoader {
public:
    /// @param own      the permissions of objects that say none
    /// @param complain takes one line for each damage, and one for those past a number that nobody reads
    ObjectLoader(ObjectTree& tree, const Permissions& own, std::function<void(std::string_view)> complain)
        : m_tree(tree), m_own(own), m_complain(std::move(complain)) {}

    /// Takes one line without its line feed. Of one that is longer than kMaxWrite a byte more suffices.
    void LoadLine(std::string_view line);

    /// To be called after the last line.
    void Finish();

private:
    void StartObject(std::string_view line);
    void Complain(std::string_view text);

    ObjectTree& m_tree;
    Permissions m_own;
    std::function<void(std::string_view)> m_complain;
    Node* m_node = nullptr;    // of the lines that come
    bool m_isSkipping = false; // whether they belong to no object, which has been told
    unsigned long m_line = 0;
    unsigned long m_complaints = 0;
};

} // namespace ppsd

#endif
