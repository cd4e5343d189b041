#ifndef TLG_TESTS_SUPPORT_CHAIN_H
#define TLG_TESTS_SUPPORT_CHAIN_H

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>

#include "tests/support/PpsObjectClient.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryRoot.h"

constexpr const char* kControl = "/pps/tolvyn/eq/control";
constexpr const char* kStatus = "/pps/tolvyn/eq/status";
constexpr const char* kNavigation = "/pps/tolvyn/navigation/gps_status";

/// Whether the service is to have its objects as files.
inline bool AreObjectsFiles() {
    const char* const way = std::getenv("TLG_PPS");
    return way != nullptr && std::string(way) == "files";
}

/// The server's objects as files below the root. The mount must not outlive the test.
class MountedObjects {
public:
    MountedObjects() : m_ppsfs(StartReady("ppsfs")) {}
    MountedObjects(const MountedObjects&) = delete;
    MountedObjects& operator=(const MountedObjects&) = delete;
    ~MountedObjects() { EXPECT_EQ(m_ppsfs->Stop(SIGTERM), 0) << m_ppsfs->Output(); }

private:
    std::unique_ptr<Process> m_ppsfs;
};

/// One whole chain of real processes below a root of its own: a PPS server and, when started, the service
/// and a simulated MCU.
struct Chain {
    void StartMcu(const std::vector<std::string>& arguments = {"--trace"}) { mcu = StartReady("mcusim", arguments); }
    /// Starts the service and waits until it has taken the answers to its seven queries.
    void StartService() {
        service = std::make_unique<Process>("melvane");
        EXPECT_TRUE(service->WaitFor("[UpdatePPS]-end", 7));
    }
    /// Ends the service as a user would; it must have ended well.
    void StopService() const { EXPECT_EQ(service->Stop(SIGTERM), 0) << service->Output(); }

    TemporaryRoot root;
    std::unique_ptr<Process> ppsd = StartReady("ppsd");
    std::unique_ptr<MountedObjects> mounted = AreObjectsFiles() ? std::make_unique<MountedObjects>() : nullptr;
    std::unique_ptr<Process> mcu;
    std::unique_ptr<Process> service;
};

/// The line of one attribute, its qualifier included, in an object's text; empty where there is none.
inline std::string LineOf(const std::string& text, const std::string& name) {
    const std::size_t begin = ("\n" + text).find("\n" + name + ":");
    return begin == std::string::npos ? "" : text.substr(begin, text.find('\n', begin) - begin);
}

#endif
