#include "benchmarks/common/PpsServer.h"

#include <array>
#include <cstdlib>
#include <filesystem>

#include "benchmarks/common/Pipe.h"
#include "platform/host/PpsConnection.h"

namespace bench {

void Become(const std::vector<std::string>& command, int output, int error, const std::string& preload) {
    ::dup2(output, STDOUT_FILENO);
    ::dup2(error, STDERR_FILENO);
    if (!preload.empty()) {
        ::setenv("LD_PRELOAD", preload.c_str(), 1);
    }
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str())); // execvp does not change them
    }
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

PpsServer::PpsServer(const std::string& programs, const std::string& preload) {
    m_root = (std::filesystem::temp_directory_path() / "bench.XXXXXX").string();
    ::setenv("TLG_ROOT", ::mkdtemp(m_root.data()), 1);
    const Pipe output;
    m_process.emplace([&] { Become({programs + "/ppsd"}, output.write.Get(), STDERR_FILENO, preload); });
    std::array<char, 64> ready{};
    if (::read(output.read.Get(), ready.data(), ready.size()) <= 0) {
        throw std::runtime_error("ppsd did not start");
    }
}

PpsServer::~PpsServer() {
    m_process.reset();
    std::filesystem::remove_all(m_root);
}

UniqueFd OpenObject(const std::string& path, int flags) {
    host::PpsReply reply;
    UniqueFd object = host::OpenPpsObject(path, flags, reply);
    if (!object) {
        throw std::runtime_error(path + ": " + reply.reason);
    }
    return object;
}

} // namespace bench
