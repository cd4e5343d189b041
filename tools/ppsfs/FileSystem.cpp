#include "tools/ppsfs/FileSystem.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/host/PpsProtocol.h"
#include "tools/ppsd/ObjectTree.h"
#include "tools/ppsfs/Caller.h"

namespace ppsfs {

namespace {

constexpr std::size_t kMaxName = 255; // as everywhere, though options may make it longer
constexpr int kGone = -ENOENT;        // the kernel no longer waits for the reply

/// A path without its options.
std::string Bare(const std::string& path) {
    return path.substr(0, path.find('?'));
}

bool IsTooLong(const std::string& path) {
    const std::size_t size = Bare(path).size();
    return size > ppsd::ObjectTree::kMaxPath || size - path.rfind('/', size - 1) - 1 > kMaxName;
}

} // namespace

FileSystem::FileSystem(Loop& loop) : m_loop(loop), m_nodes("/pps/"), m_tree(loop) {}

void FileSystem::Close() {
    for (const auto& [handle, file] : m_files) {
        file->Close();
    }
    m_files.clear();
}

/// A file's path with its options, or a directory's.
std::string FileSystem::PathOf(fuse_ino_t number) const {
    const std::string& name = m_nodes.NameOf(number);
    return name.substr(0, name.size() - (name.back() == '/' ? 1 : 0));
}

std::string FileSystem::PathIn(fuse_ino_t parent, std::string_view name) const {
    return m_nodes.NameOf(parent) + std::string(name);
}

/// What is told of a file or directory that was found or made. The kernel keeps none of it. A directory in the place of
/// a file has another number than that, as the kernel may still have the file.
fuse_entry_param FileSystem::EntryOf(const std::string& path, struct stat status) {
    fuse_entry_param entry{};
    entry.ino = m_nodes.Remember(S_ISDIR(status.st_mode) ? path + "/" : path);
    status.st_ino = entry.ino;
    entry.attr = status;
    return entry;
}

void FileSystem::Lookup(const RequestPtr& request, fuse_ino_t parent, const char* name) {
    const std::string path = PathIn(parent, name);
    if (IsTooLong(path)) {
        request->Fail(ENAMETOOLONG);
        return;
    }
    m_tree.Describe(Bare(path), [this, request, path](int error, const struct stat& status) {
        // Only objects have options.
        if (error == 0 && S_ISDIR(status.st_mode) && Bare(path) != path) {
            error = ENOENT;
        }
        if (error == 0 && !request->IsAnswered()) {
            const fuse_entry_param entry = EntryOf(path, status);
            request->Answer([&](fuse_req_t raw) {
                if (fuse_reply_entry(raw, &entry) == kGone) {
                    Forget(entry.ino, 1);
                }
            });
        }
        request->Fail(error);
    });
}

void FileSystem::GetAttributes(const RequestPtr& request, fuse_ino_t number) {
    const bool isDirectory = m_nodes.NameOf(number).back() == '/';
    m_tree.Describe(Bare(PathOf(number)), [request, number, isDirectory](int error, const struct stat& found) {
        if (error != 0 || isDirectory != S_ISDIR(found.st_mode)) {
            request->Fail(error != 0 ? error : ENOENT);
            return;
        }
        struct stat status = found;
        status.st_ino = number;
        request->Answer([&status](fuse_req_t raw) { fuse_reply_attr(raw, &status, 0); });
    });
}

/// An object can be emptied. Its times are those of what is written; that somebody wants others changes nothing.
void FileSystem::SetAttributes(const RequestPtr& request, fuse_ino_t number, const struct stat& wanted, int which) {
    if ((which & (FUSE_SET_ATTR_MODE | FUSE_SET_ATTR_UID | FUSE_SET_ATTR_GID)) != 0) {
        request->Fail(EPERM);
    } else if ((which & FUSE_SET_ATTR_SIZE) == 0) {
        GetAttributes(request, number);
    } else if (wanted.st_size != 0) {
        request->Fail(EINVAL);
    } else {
        Truncate(request, number);
    }
}

void FileSystem::Truncate(const RequestPtr& request, fuse_ino_t number) {
    const auto file = std::make_shared<OpenFile>(m_loop);
    file->Open(CallerOf(request->Raw()), Bare(PathOf(number)), O_WRONLY | O_TRUNC, 0,
               [this, file, request, number](int error) {
                   if (error != 0) {
                       request->Fail(error);
                   } else if (!request->IsAnswered()) { // otherwise the kernel may have given up the number
                       GetAttributes(request, number);
                   }
               });
}

void FileSystem::CheckAccess(const RequestPtr& request, fuse_ino_t number, int mask) {
    const ppsd::Identity caller = CallerOf(request->Raw());
    m_tree.Describe(Bare(PathOf(number)), [request, mask, caller](int error, const struct stat& status) {
        const ppsd::Permissions permissions{status.st_uid, status.st_gid, status.st_mode};
        const bool executes = (mask & X_OK) != 0 && S_ISREG(status.st_mode);
        const bool isAllowed = !executes && ppsd::Allows(permissions, caller, {(mask & R_OK) != 0, (mask & W_OK) != 0});
        request->Fail(error != 0 ? error : isAllowed ? 0 : EACCES);
    });
}

/// Keeps an open file, under the handle in the result.
fuse_file_info FileSystem::Keep(const std::shared_ptr<OpenFile>& file, fuse_file_info info) {
    info.fh = ++m_lastHandle;
    info.direct_io = 1; // what is read is not the same twice
#if FUSE_VERSION >= FUSE_MAKE_VERSION(3, 15)
    info.parallel_direct_writes = 1; // each waits for the server alone
#endif
    m_files[info.fh] = file;
    return info;
}

void FileSystem::Open(const RequestPtr& request, fuse_ino_t number, const fuse_file_info& info) {
    const auto file = std::make_shared<OpenFile>(m_loop);
    file->Open(CallerOf(request->Raw()), PathOf(number), info.flags, 0, [this, request, file, info](int error) {
        if (error == 0 && !request->IsAnswered()) {
            const fuse_file_info opened = Keep(file, info);
            request->Answer([&](fuse_req_t raw) {
                if (fuse_reply_open(raw, &opened) == kGone) {
                    m_files.erase(opened.fh);
                }
            });
        }
        request->Fail(error);
    });
}

void FileSystem::Create(const RequestPtr& request, fuse_ino_t parent, const char* name, mode_t mode,
                        const fuse_file_info& info) {
    const std::string path = PathIn(parent, name);
    const ppsd::Identity caller = CallerOf(request->Raw());
    const auto file = std::make_shared<OpenFile>(m_loop);
    const int flags = info.flags | O_CREAT;
    file->Open(caller, path, flags, mode & ALLPERMS, [this, request, file, info, path](int error) {
        if (error != 0) {
            request->Fail(error);
            return;
        }
        m_tree.Describe(Bare(path), [this, request, file, info, path](int missing, const struct stat& status) {
            if (missing == 0 && !request->IsAnswered()) {
                const fuse_file_info opened = Keep(file, info);
                const fuse_entry_param entry = EntryOf(path, status);
                request->Answer([&](fuse_req_t raw) {
                    if (fuse_reply_create(raw, &entry, &opened) == kGone) {
                        Forget(entry.ino, 1);
                        m_files.erase(opened.fh);
                    }
                });
            }
            request->Fail(missing);
        });
    });
}

void FileSystem::Release(const RequestPtr& request, const fuse_file_info& info) {
    FileOf(info).Close();
    m_files.erase(info.fh);
    request->Succeed();
}

void FileSystem::Remove(const RequestPtr& request, fuse_ino_t parent, const char* name) {
    const auto connection = std::make_shared<ServerConnection>(m_loop);
    const ppsd::Identity caller = CallerOf(request->Raw());
    const int failure = ConnectAs(caller, *connection);
    if (failure != 0) {
        request->Fail(failure);
        return;
    }
    connection->Ask("delete " + Bare(PathIn(parent, name)), [this, connection, request, directory = PathOf(parent),
                                                             caller](int error, std::string_view answer) {
        const int reason = error == 0 ? host::ParseReply(answer).error : error;
        if (reason == 0) {
            m_tree.MakeDirectory(directory, caller); // stays, though it may hold nothing now
        }
        request->Fail(reason);
    });
}

void FileSystem::MakeDirectory(const RequestPtr& request, fuse_ino_t parent, const char* name) {
    const std::string path = PathIn(parent, name);
    const int error = IsTooLong(path) ? ENAMETOOLONG : m_tree.MakeDirectory(path, CallerOf(request->Raw()));
    if (error != 0) {
        request->Fail(error);
        return;
    }
    Lookup(request, parent, name);
}

void FileSystem::RemoveDirectory(const RequestPtr& request, fuse_ino_t parent, const char* name) {
    m_tree.RemoveDirectory(PathIn(parent, name), CallerOf(request->Raw()),
                           [request](int error) { request->Fail(error); });
}

void FileSystem::OpenDirectory(const RequestPtr& request, const fuse_file_info& info) {
    fuse_file_info opened = info;
    opened.fh = ++m_lastHandle;
    m_directories[opened.fh];
    request->Answer([&opened](fuse_req_t raw) { fuse_reply_open(raw, &opened); });
}

void FileSystem::ReleaseDirectory(const RequestPtr& request, const fuse_file_info& info) {
    m_directories.erase(info.fh);
    request->Succeed();
}

void FileSystem::ReadDirectory(const RequestPtr& request, const fuse_file_info& info, fuse_ino_t number,
                               std::size_t size, off_t offset) {
    if (offset != 0) {
        SendNames(request, m_directories[info.fh], size, offset);
        return;
    }
    m_tree.List(PathOf(number), [this, request, handle = info.fh, size](int error, const Names& names) {
        const auto found = m_directories.find(handle);
        if (error != 0 || found == m_directories.end()) {
            request->Fail(error);
            return;
        }
        found->second = {"./", "../"};
        found->second.insert(found->second.end(), names.begin(), names.end());
        SendNames(request, found->second, size, 0);
    });
}

/// Sends the names from the offset, a number of names, on: as many as fit.
void FileSystem::SendNames(const RequestPtr& request, const Names& names, std::size_t size, off_t offset) {
    if (request->IsAnswered()) {
        return;
    }
    std::string block(size, '\0');
    std::size_t used = 0;
    for (auto at = static_cast<std::size_t>(offset); at < names.size(); ++at) {
        const bool isDirectory = names[at].back() == '/';
        const std::string name = names[at].substr(0, names[at].size() - (isDirectory ? 1 : 0));
        struct stat status {};
        status.st_ino = ~ino_t{0}; // only a lookup gives it a number
        status.st_mode = isDirectory ? S_IFDIR : S_IFREG;
        const std::size_t length = fuse_add_direntry(request->Raw(), &block[used], size - used, name.c_str(), &status,
                                                     static_cast<off_t>(at + 1));
        if (length > size - used) {
            break;
        }
        used += length;
    }
    request->Send(std::string_view(block).substr(0, used));
}

} // namespace ppsfs
