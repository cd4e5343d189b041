// What a client and the PPS server send each other over one SOCK_SEQPACKET connection:
//
//   request = "open " flags " " mode " " path ["?" options]    flags: the target's open flags, decimal
//           | "list " path                                     mode: permissions of an object that the
//                                                              open creates, octal, 0 to 7777
//           | "delete " path
//           | "stat " path
//           | "entries " path [" " entry]
//   reply   = "ok" [" " text] | "error " errno " " reason
//
// After "ok" to an open, the connection is the object: a packet to the server is a write, a packet from
// it is what one read returns. With the option "ack" the server answers every write with a reply and sends
// nothing else. With the option "kept" a connection that is open for writing only receives one packet when the
// object is deleted: the line that reports it. After "ok" to a list, one packet holds the paths of the objects that
// follow the given path in their order, one a line, as many as fit. No packet follows where the given path was the
// last. The first list request has an empty path.
//
// With the option "file" nothing is sent unasked, but for one notice, so that neither side ever has more than a packet
// of the other to keep:
//
//   "r"       -> what one read returns, or "nothing"
//   "w" text  -> the reply to the write
//   "ready"   from the server, once, when there is something to read after "nothing", after the opening, or after a
//             read that has left more
//
// After "stat" and "entries" the connection serves further requests. The text of the reply to "stat" is
// "object" owner group mode size seconds nanoseconds, with blanks between them, or "directory". The text of the reply
// to "entries" is what a directory holds, one name a line, a directory's with a slash after it, as many as fit and from
// the one after the given entry on. It is empty where the entry was the last.
#ifndef TLG_PLATFORM_HOST_PPSPROTOCOL_H
#define TLG_PLATFORM_HOST_PPSPROTOCOL_H

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// The target's open flags, as the system's file table has them.
namespace target_flags {
constexpr int kAccessMask = 0x3;
constexpr int kReadOnly = 0x0;
constexpr int kWriteOnly = 0x1;
constexpr int kReadWrite = 0x2;
constexpr int kCreate = 0x100;
constexpr int kTruncate = 0x200;
constexpr int kExclusive = 0x400;
constexpr int kAppend = 0x8;
constexpr int kNonBlocking = 0x80;
constexpr int kKnown = kAccessMask | kCreate | kTruncate | kExclusive | kAppend | kNonBlocking;
} // namespace target_flags

/// The server's socket, below the root.
constexpr std::string_view kPpsSocket = "/run/ppsd";

/// No packet in either direction is larger, in bytes.
constexpr std::size_t kMaxPacket = 192U * 1024U;

/// The request and the reply to it are no larger, in bytes.
constexpr std::size_t kMaxRequest = 4096;

/// What the server sends a file: its notice, and its answer to a read where nothing is to be read. Objects' texts never
/// begin with a letter.
constexpr std::string_view kReady = "ready";
constexpr std::string_view kNothing = "nothing";
constexpr char kReadRequest = 'r';
constexpr char kWriteRequest = 'w';

/// The permissions of a new object where the open request names no others.
constexpr mode_t kDefaultMode = 0666;

/// What the options after the "?" of a path ask for.
struct PpsOptions {
    bool delta = false;
    bool wait = false;
    bool notPersistent = false;
    bool acknowledge = false;
    bool isKept = false;         ///< is notified when the object is deleted
    bool isFile = false;         ///< asks for each packet
    std::string_view attributes; ///< the only ones that are read, with "+" between them; empty: all
};

/// Splits "path?option,option". @p path is then without the options, which point into what it was. Options without a
/// meaning here are ignored.
PpsOptions SplitOptions(std::string_view& path);

/// A server's reply; error is an errno number, 0 for "ok".
struct PpsReply {
    int error = 0;
    std::string reason; ///< of the error; with "ok", the reply's text
};

/// An open request; the path points into the parsed text.
struct PpsOpen {
    int flags = 0; ///< the target's
    mode_t mode = 0;
    std::string_view path; ///< without the options
    PpsOptions options;
};

/// @param flags the target's open flags
/// @param path  with its options
std::string RenderOpen(int flags, mode_t mode, const std::string& path);

/// Parses what follows "open ". Nothing, with the reason in @p refusal, when the flags or the mode are no numbers or
/// out of range, or a flag is not one of target_flags. The path is not checked.
std::optional<PpsOpen> ParseOpen(std::string_view text, PpsReply& refusal);

std::string Render(const PpsReply& reply);
PpsReply ParseReply(std::string_view text);

} // namespace host

#endif
