#ifndef TLG_TOOLS_PPSFS_FILESYSTEM_H
#define TLG_TOOLS_PPSFS_FILESYSTEM_H

#include <memory>
#include <string>
#include <unordered_map>

#include "tools/ppsfs/Nodes.h"
#include "tools/ppsfs/OpenFile.h"
#include "tools/ppsfs/Request.h"
#include "tools/ppsfs/Tree.h"

namespace ppsfs {

/// The server's objects as files: what the kernel asks for, which is mostly a question at the server. Everything
/// happens on the loop's thread, and nothing in it waits.
class FileSystem {
public:
    /// The calls of libfuse, whose user data is the file system.
    static const fuse_lowlevel_ops kCalls;

    /// @param loop outlives it
    explicit FileSystem(Loop& loop);
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;
    ~FileSystem() = default;

    /// Closes all files, so that what waits in them ends. To be called while it is still mounted.
    void Close();

    void Lookup(const RequestPtr& request, fuse_ino_t parent, const char* name);
    void Forget(fuse_ino_t number, std::uint64_t times) { m_nodes.Forget(number, times); }
    void GetAttributes(const RequestPtr& request, fuse_ino_t number);
    void SetAttributes(const RequestPtr& request, fuse_ino_t number, const struct stat& wanted, int which);
    void CheckAccess(const RequestPtr& request, fuse_ino_t number, int mask);

    void Open(const RequestPtr& request, fuse_ino_t number, const fuse_file_info& info);
    void Create(const RequestPtr& request, fuse_ino_t parent, const char* name, mode_t mode,
                const fuse_file_info& info);
    void Release(const RequestPtr& request, const fuse_file_info& info);
    OpenFile& FileOf(const fuse_file_info& info) { return *m_files.at(info.fh); }

    void Remove(const RequestPtr& request, fuse_ino_t parent, const char* name);
    void MakeDirectory(const RequestPtr& request, fuse_ino_t parent, const char* name);
    void RemoveDirectory(const RequestPtr& request, fuse_ino_t parent, const char* name);
    void ReadDirectory(const RequestPtr& request, const fuse_file_info& info, fuse_ino_t number, std::size_t size,
                       off_t offset);
    void OpenDirectory(const RequestPtr& request, const fuse_file_info& info);
    void ReleaseDirectory(const RequestPtr& request, const fuse_file_info& info);

private:
    using Names = std::vector<std::string>;

    std::string PathOf(fuse_ino_t number) const;
    std::string PathIn(fuse_ino_t parent, std::string_view name) const;
    fuse_entry_param EntryOf(const std::string& path, struct stat status);
    fuse_file_info Keep(const std::shared_ptr<OpenFile>& file, fuse_file_info info);
    void Truncate(const RequestPtr& request, fuse_ino_t number);
    static void SendNames(const RequestPtr& request, const Names& names, std::size_t size, off_t offset);

    Loop& m_loop;
    Nodes m_nodes;
    Tree m_tree;
    std::uint64_t m_lastHandle = 0;
    std::unordered_map<std::uint64_t, std::shared_ptr<OpenFile>> m_files;
    std::unordered_map<std::uint64_t, Names> m_directories; // what each open one held when it was read from its start
};

} // namespace ppsfs

#endif
