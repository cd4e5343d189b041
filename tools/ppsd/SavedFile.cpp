#include "tools/ppsd/SavedFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>

#include "platform/posix/UniqueFd.h"
#include "tools/ppsd/Report.h"

namespace ppsd {

namespace {

// open() would take the target's paths and flags; openat() is the host's own.

UniqueFd OpenDirectoryOf(const std::filesystem::path& path) {
    return UniqueFd(::openat(AT_FDCWD, path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool WriteAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            errno = written == 0 ? ENOSPC : errno;
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Writes the objects into a new file of the directory, and flushes it to the disk. False with errno set on failure.
bool WriteNew(int directory, const std::string& name, const ObjectTree& tree, std::string& scratch) {
    constexpr mode_t kOwnerOnly = 0600;
    if (::unlinkat(directory, name.c_str(), 0) != 0 && errno != ENOENT) {
        return false;
    }
    UniqueFd file(::openat(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly));
    return file && SaveObjects(tree, scratch, [&](std::string_view text) { return WriteAll(file.Get(), text); }) &&
           ::fsync(file.Get()) == 0 && ::close(file.Release()) == 0;
}

/// Hands the lines of the file to the loader; false with errno set when it can't be read.
bool ReadLines(int file, ObjectLoader& loader) {
    std::array<char, 65536> chunk{};
    std::string line;
    line.reserve(kMaxWrite + 1);
    for (;;) {
        const ssize_t length = ::read(file, chunk.data(), chunk.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            if (!line.empty()) {
                loader.LoadLine(line);
            }
            loader.Finish();
            return length == 0;
        }
        std::string_view rest(chunk.data(), static_cast<std::size_t>(length));
        while (!rest.empty()) {
            const std::size_t end = rest.find('\n');
            const std::string_view part = rest.substr(0, end);
            line.append(part.substr(0, kMaxWrite + 1 - line.size()));
            if (end != std::string_view::npos) {
                loader.LoadLine(line);
                line.clear();
            }
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        }
    }
}

} // namespace

std::string SaveToFile(const std::string& path, const ObjectTree& tree, std::string& scratch) {
    const std::filesystem::path full(path);
    const std::string name = full.filename();
    const std::string next = name + ".new";
    std::error_code error;
    std::filesystem::create_directories(full.parent_path(), error);
    const UniqueFd directory = OpenDirectoryOf(full);
    if (!directory) {
        return std::strerror(errno);
    }
    if (!WriteNew(directory.Get(), next, tree, scratch) ||
        ::renameat(directory.Get(), next.c_str(), directory.Get(), name.c_str()) != 0) {
        const int reason = errno;
        ::unlinkat(directory.Get(), next.c_str(), 0);
        return std::strerror(reason);
    }
    return ::fsync(directory.Get()) == 0 ? "" : std::strerror(errno);
}

std::string LoadFromFile(const std::string& path, ObjectLoader& loader) {
    const std::filesystem::path full(path);
    const UniqueFd directory = OpenDirectoryOf(full);
    const UniqueFd file(
        directory ? ::openat(directory.Get(), full.filename().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                  : -1);
    if (!file && errno == ELOOP) {
        Report(path, "a link, which is not followed: no objects are loaded");
        return "";
    }
    if (!file) {
        return errno == ENOENT ? "" : std::strerror(errno);
    }
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a file";
    }
    return ReadLines(file.Get(), loader) ? "" : std::strerror(errno);
}

} // namespace ppsd
