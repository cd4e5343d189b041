// libfuse's calls, each passed on to the file system.
#include <fcntl.h>

#include <cerrno>

#include "tools/ppsfs/FileSystem.h"

namespace ppsfs {

namespace {

FileSystem& Of(fuse_req_t request) {
    return *static_cast<FileSystem*>(fuse_req_userdata(request));
}

RequestPtr Asking(fuse_req_t request) {
    return std::make_shared<Request>(request, Request::Kind::Asks);
}

RequestPtr Changing(fuse_req_t request) {
    return std::make_shared<Request>(request, Request::Kind::Changes);
}

void Init(void* /*fileSystem*/, fuse_conn_info* connection) {
    // An object has the mode of the open that makes it, less the server's umask, however it is opened.
    connection->want |= connection->capable & (FUSE_CAP_ATOMIC_O_TRUNC | FUSE_CAP_DONT_MASK);
}

void Refuse(fuse_req_t request) {
    fuse_reply_err(request, EPERM);
}

} // namespace

const fuse_lowlevel_ops FileSystem::kCalls = [] {
    fuse_lowlevel_ops calls{};
    calls.init = Init;
    calls.lookup = [](auto request, auto parent, auto name) { Of(request).Lookup(Asking(request), parent, name); };
    calls.forget = [](auto request, auto number, auto times) {
        Of(request).Forget(number, times);
        fuse_reply_none(request);
    };
    calls.getattr = [](auto request, auto number, auto /*info*/) {
        Of(request).GetAttributes(Asking(request), number);
    };
    calls.setattr = [](auto request, auto number, auto wanted, auto which, auto /*info*/) {
        Of(request).SetAttributes(Changing(request), number, *wanted, which);
    };
    calls.access = [](auto request, auto number, auto mask) { Of(request).CheckAccess(Asking(request), number, mask); };
    calls.open = [](auto request, auto number, auto info) {
        const bool truncates = (info->flags & O_TRUNC) != 0;
        Of(request).Open(truncates ? Changing(request) : Asking(request), number, *info);
    };
    calls.create = [](auto request, auto parent, auto name, auto mode, auto info) {
        Of(request).Create(Changing(request), parent, name, mode, *info);
    };
    calls.release = [](auto request, auto /*number*/, auto info) { Of(request).Release(Asking(request), *info); };
    calls.read = [](auto request, auto /*number*/, auto size, auto offset, auto info) {
        Of(request).FileOf(*info).Read(Asking(request), size, offset, info->flags);
    };
    calls.write = [](auto request, auto /*number*/, auto text, auto size, auto offset, auto info) {
        Of(request).FileOf(*info).Write(Changing(request), {text, size}, offset, info->flags);
    };
    calls.poll = [](auto request, auto /*number*/, auto info, auto handle) {
        Of(request).FileOf(*info).Poll(Asking(request), handle);
    };
    calls.unlink = [](auto request, auto parent, auto name) { Of(request).Remove(Changing(request), parent, name); };
    calls.mkdir = [](auto request, auto parent, auto name, auto /*mode*/) {
        Of(request).MakeDirectory(Changing(request), parent, name);
    };
    calls.rmdir = [](auto request, auto parent, auto name) {
        Of(request).RemoveDirectory(Changing(request), parent, name);
    };
    calls.opendir = [](auto request, auto /*number*/, auto info) { Of(request).OpenDirectory(Asking(request), *info); };
    calls.readdir = [](auto request, auto number, auto size, auto offset, auto info) {
        Of(request).ReadDirectory(Asking(request), *info, number, size, offset);
    };
    calls.releasedir = [](auto request, auto /*number*/, auto info) {
        Of(request).ReleaseDirectory(Asking(request), *info);
    };
    calls.rename = [](auto request, auto, auto, auto, auto, auto) { Refuse(request); };
    calls.link = [](auto request, auto, auto, auto) { Refuse(request); };
    calls.symlink = [](auto request, auto, auto, auto) { Refuse(request); };
    calls.mknod = [](auto request, auto, auto, auto, auto) { Refuse(request); };
    return calls;
}();

} // namespace ppsfs
