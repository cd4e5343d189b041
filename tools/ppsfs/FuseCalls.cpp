// libfuse's calls, each passed on to the file system.
#include "tools/ppsfs/FileSystem.h"

namespace ppsfs {

namespace {

FileSystem& Of(fuse_req_t request) {
    return *static_cast<FileSystem*>(fuse_req_userdata(request));
}

RequestPtr Wrap(fuse_req_t request) {
    return std::make_shared<Request>(request);
}

void Init(void* /*fileSystem*/, fuse_conn_info* connection) {
    // A write that is too large for the server must come in one piece, so that it is refused whole.
    constexpr unsigned kMaxWrite = 128U * 1024U;
    connection->max_write = kMaxWrite;
    // An object has the mode of the open that makes it, less the server's umask, however it is opened.
    connection->want |= connection->capable & (FUSE_CAP_ATOMIC_O_TRUNC | FUSE_CAP_DONT_MASK);
}

} // namespace

const fuse_lowlevel_ops FileSystem::kCalls = [] {
    fuse_lowlevel_ops calls{};
    calls.init = Init;
    calls.lookup = [](auto request, auto parent, auto name) { Of(request).Lookup(Wrap(request), parent, name); };
    calls.forget = [](auto request, auto number, auto times) {
        Of(request).Forget(number, times);
        fuse_reply_none(request);
    };
    calls.getattr = [](auto request, auto number, auto /*info*/) { Of(request).GetAttributes(Wrap(request), number); };
    calls.setattr = [](auto request, auto number, auto wanted, auto which, auto /*info*/) {
        Of(request).SetAttributes(Wrap(request), number, *wanted, which);
    };
    calls.access = [](auto request, auto number, auto mask) { Of(request).CheckAccess(Wrap(request), number, mask); };
    calls.open = [](auto request, auto number, auto info) { Of(request).Open(Wrap(request), number, *info); };
    calls.create = [](auto request, auto parent, auto name, auto mode, auto info) {
        Of(request).Create(Wrap(request), parent, name, mode, *info);
    };
    calls.release = [](auto request, auto /*number*/, auto info) { Of(request).Release(Wrap(request), *info); };
    calls.read = [](auto request, auto /*number*/, auto size, auto offset, auto info) {
        Of(request).FileOf(*info).Read(Wrap(request), size, offset, info->flags);
    };
    calls.write = [](auto request, auto /*number*/, auto text, auto size, auto /*offset*/, auto info) {
        Of(request).FileOf(*info).Write(Wrap(request), {text, size}, info->flags);
    };
    calls.poll = [](auto request, auto /*number*/, auto info, auto handle) {
        Of(request).FileOf(*info).Poll(Wrap(request), handle);
    };
    calls.unlink = [](auto request, auto parent, auto name) { Of(request).Remove(Wrap(request), parent, name); };
    calls.mkdir = [](auto request, auto parent, auto name, auto /*mode*/) {
        Of(request).MakeDirectory(Wrap(request), parent, name);
    };
    calls.rmdir = [](auto request, auto parent, auto name) {
        Of(request).RemoveDirectory(Wrap(request), parent, name);
    };
    calls.opendir = [](auto request, auto /*number*/, auto info) { Of(request).OpenDirectory(Wrap(request), *info); };
    calls.readdir = [](auto request, auto number, auto size, auto offset, auto info) {
        Of(request).ReadDirectory(Wrap(request), *info, number, size, offset);
    };
    calls.releasedir = [](auto request, auto /*number*/, auto info) {
        Of(request).ReleaseDirectory(Wrap(request), *info);
    };
    return calls;
}();

} // namespace ppsfs
