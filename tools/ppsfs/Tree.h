#ifndef TLG_TOOLS_PPSFS_TREE_H
#define TLG_TOOLS_PPSFS_TREE_H

#include <sys/stat.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ppsd/Permissions.h"
#include "tools/ppsfs/ServerConnection.h"

namespace ppsfs {

/// What stands where in the server, with the directories that were made here and hold nothing yet: the server knows
/// directories only by the objects below them. Paths are without options.
class Tree {
public:
    /// 0 and the attributes, without a number; or an errno number.
    using Described = std::function<void(int error, const struct stat& status)>;
    /// 0 and the names in a directory; those of directories end with a slash.
    using Listed = std::function<void(int error, const std::vector<std::string>& names)>;

    /// @param loop outlives it
    explicit Tree(Loop& loop) : m_loop(loop) {}

    /// What is at a path.
    void Describe(const std::string& path, const Described& described);

    void List(const std::string& directory, const Listed& listed);

    /// Makes a directory, where nothing is; 0 or an errno number.
    int MakeDirectory(const std::string& path, const ppsd::Identity& maker);

    /// Removes a directory that holds nothing and is the caller's.
    void RemoveDirectory(const std::string& path, const ppsd::Identity& caller,
                         const std::function<void(int error)>& removed);

private:
    void Ask(const std::string& question, const ServerConnection::Answer& answer);
    struct stat DirectoryAt(const std::string& path) const;
    bool HoldsMade(const std::string& path) const;
    void ListAfter(const std::string& directory, const std::shared_ptr<std::vector<std::string>>& names,
                   const Listed& listed);
    void AddMade(const std::string& directory, std::vector<std::string>& names) const;

    Loop& m_loop;
    std::shared_ptr<ServerConnection> m_connection;
    std::map<std::string, uid_t> m_made; // directories and their owners
    std::map<uid_t, std::size_t> m_madeBy;
    const time_t m_begin = ::time(nullptr);
};

} // namespace ppsfs

#endif
