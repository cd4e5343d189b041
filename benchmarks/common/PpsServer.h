#ifndef TLG_BENCHMARKS_COMMON_PPSSERVER_H
#define TLG_BENCHMARKS_COMMON_PPSSERVER_H

#include <optional>
#include <string>
#include <vector>

#include "benchmarks/common/Peer.h"
#include "platform/host/PpsProtocol.h"
#include "platform/posix/UniqueFd.h"

namespace bench {

constexpr int kOpen = host::target_flags::kReadWrite;
constexpr int kMake = kOpen | host::target_flags::kCreate;

/// Becomes a program in this process. Does not return.
/// @param command the program, a path or a name that is looked up, and its arguments
/// @param preload a library that is loaded into it; empty: none
[[noreturn]] void Become(const std::vector<std::string>& command, int output, int error,
                         const std::string& preload = "");

/// A PPS server below a root of its own, which TLG_ROOT names from then on.
class PpsServer {
public:
    /// @param programs where ppsd is
    explicit PpsServer(const std::string& programs, const std::string& preload = "");
    ~PpsServer();
    PpsServer(const PpsServer&) = delete;
    PpsServer& operator=(const PpsServer&) = delete;

    const std::string& Root() const { return m_root; }
    pid_t Id() const { return m_process->Id(); }

private:
    std::string m_root;
    std::optional<Peer> m_process;
};

/// Opens an object of the server whose root TLG_ROOT names. Throws where that fails.
UniqueFd OpenObject(const std::string& path, int flags);

} // namespace bench

#endif
