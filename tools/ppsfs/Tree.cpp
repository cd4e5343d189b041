#include "tools/ppsfs/Tree.h"

#include <unistd.h>

#include <cerrno>
#include <set>
#include <sstream>

#include "platform/host/PpsProtocol.h"
#include "platform/pps/Line.h"
#include "tools/ppsd/ObjectTree.h"

namespace ppsfs {

namespace {

constexpr std::string_view kRoot = "/pps";
constexpr blksize_t kBlock = 65536;      // the largest write
constexpr mode_t kDirectoryMode = 01777; // anybody may make objects, and delete those of his own
constexpr std::size_t kMaxMade = 1024;   // directories that one user has made

/// Parses the text of a reply to "stat" about an object; false where it is none.
bool ParseObject(const std::string& text, struct stat& status) {
    std::istringstream words(text);
    std::string kind;
    uid_t owner = 0;
    gid_t group = 0;
    mode_t mode = 0;
    std::size_t size = 0;
    timespec changed{};
    words >> kind >> owner >> group >> std::oct >> mode >> std::dec >> size >> changed.tv_sec >> changed.tv_nsec;
    if (kind != "object" || words.fail()) {
        return false;
    }
    status.st_mode = S_IFREG | mode;
    status.st_nlink = 1;
    status.st_uid = owner;
    status.st_gid = group;
    status.st_size = static_cast<off_t>(size);
    status.st_blksize = kBlock;
    status.st_blocks = (status.st_size + 511) / 512;
    status.st_mtim = changed;
    status.st_atim = status.st_mtim;
    status.st_ctim = status.st_mtim;
    return true;
}

} // namespace

struct stat Tree::DirectoryAt(const std::string& path) const {
    const auto made = m_made.find(path);
    struct stat status {};
    status.st_mode = S_IFDIR | kDirectoryMode;
    status.st_nlink = 2;
    status.st_uid = made == m_made.end() ? ::geteuid() : made->second;
    status.st_gid = ::getegid();
    status.st_mtim = {m_begin, 0};
    status.st_atim = status.st_mtim;
    status.st_ctim = status.st_mtim;
    return status;
}

/// Asks over the one connection that all such questions share, which is made anew after a loss.
void Tree::Ask(const std::string& question, const ServerConnection::Answer& answer) {
    if (question.size() > host::kMaxRequest) {
        answer(ENAMETOOLONG, {});
        return;
    }
    if (!m_connection || !m_connection->IsConnected()) {
        m_connection = std::make_shared<ServerConnection>(m_loop);
        const int error = m_connection->Connect();
        if (error != 0) {
            answer(error, {});
            return;
        }
    }
    m_connection->Ask(question, answer);
}

void Tree::Describe(const std::string& path, const Described& described) {
    if (path == kRoot) {
        described(0, DirectoryAt(path)); // is there without a server too
        return;
    }
    Ask("stat " + path, [this, path, described](int error, std::string_view answer) {
        const host::PpsReply reply = error == 0 ? host::ParseReply(answer) : host::PpsReply{error, {}};
        struct stat status {};
        if (reply.error == 0 && ParseObject(reply.reason, status)) {
            described(0, status);
        } else if (reply.error == 0 || (reply.error == ENOENT && m_made.count(path) != 0)) {
            described(0, DirectoryAt(path));
        } else {
            described(reply.error, status);
        }
    });
}

void Tree::List(const std::string& directory, const Listed& listed) {
    ListAfter(directory, std::make_shared<std::vector<std::string>>(), listed);
}

/// Lists what follows the names that are known.
void Tree::ListAfter(const std::string& directory, const std::shared_ptr<std::vector<std::string>>& names,
                     const Listed& listed) {
    const std::string question = "entries " + directory + (names->empty() ? "" : " " + names->back());
    Ask(question, [this, directory, names, listed](int error, std::string_view answer) {
        const host::PpsReply reply = error == 0 ? host::ParseReply(answer) : host::PpsReply{error, {}};
        // The last object of a directory may have been deleted meanwhile.
        if (reply.error != 0 && reply.error != ENOENT) {
            listed(reply.error, {});
            return;
        }
        std::string_view rest = reply.error == 0 ? std::string_view(reply.reason) : std::string_view();
        if (!rest.empty()) {
            while (!rest.empty()) {
                names->emplace_back(pps::NextLine(rest));
            }
            ListAfter(directory, names, listed);
            return;
        }
        AddMade(directory, *names);
        listed(0, *names);
    });
}

void Tree::AddMade(const std::string& directory, std::vector<std::string>& names) const {
    const std::string prefix = directory + "/";
    const std::set<std::string> known(names.begin(), names.end());
    for (auto made = m_made.lower_bound(prefix); made != m_made.end(); ++made) {
        if (made->first.compare(0, prefix.size(), prefix) != 0) {
            return;
        }
        const std::string name = made->first.substr(prefix.size());
        if (name.find('/') == std::string::npos && known.count(name) == 0 && known.count(name + "/") == 0) {
            names.push_back(name + "/");
        }
    }
}

int Tree::MakeDirectory(const std::string& path, const ppsd::Identity& maker) {
    if (path == kRoot || m_made.count(path) != 0) {
        return 0;
    }
    if (!ppsd::ObjectTree::IsPath(path)) {
        return EINVAL;
    }
    std::size_t& count = m_madeBy[maker.user];
    if (count >= kMaxMade) {
        return ENOSPC;
    }
    ++count;
    m_made[path] = maker.user;
    return 0;
}

/// Whether a directory that was made here is below the path.
bool Tree::HoldsMade(const std::string& path) const {
    const auto next = m_made.upper_bound(path + "/");
    return next != m_made.end() && next->first.compare(0, path.size() + 1, path + "/") == 0;
}

void Tree::RemoveDirectory(const std::string& path, const ppsd::Identity& caller,
                           const std::function<void(int error)>& removed) {
    Ask("stat " + path, [this, path, caller, removed](int error, std::string_view answer) {
        const int reason = error == 0 ? host::ParseReply(answer).error : error;
        const auto made = m_made.find(path);
        // Where the server has a directory, something is in it.
        if (reason != ENOENT || HoldsMade(path)) {
            removed(reason == 0 || reason == ENOENT ? ENOTEMPTY : reason);
        } else if (made == m_made.end()) {
            removed(ENOENT);
        } else if (!caller.IsRoot() && made->second != caller.user) {
            removed(EPERM);
        } else {
            --m_madeBy[made->second];
            m_made.erase(made);
            removed(0);
        }
    });
}

} // namespace ppsfs
