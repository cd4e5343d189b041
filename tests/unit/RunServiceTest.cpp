#include <gtest/gtest.h>

#include <csignal>
#include <new>

#include "framework/RunService.h"
#include "tests/support/TemporaryRoot.h"

namespace {

/// A service that notes how it is driven, and fails where it is told to.
class NotingService : public TLG::ZOCAR::RunService {
public:
    explicit NotingService(std::string failing) : m_failing(std::move(failing)) {}
    int DealArgvs(int /*argc*/, char** /*argv*/) override { return 0; }
    bool Init() override { return Note("Init"); }
    bool Start() override {
        ::kill(::getpid(), SIGTERM); // blocked, and taken when the service waits
        return Note("Start");
    }
    bool Stop() override { return Note("Stop"); }
    bool Close() override { return Note("Close"); }
    std::string Calls() const { return m_calls; }

private:
    bool Note(const std::string& call) {
        m_calls += call + " ";
        return call + " without memory" == m_failing ? throw std::bad_alloc() : call != m_failing;
    }

    std::string m_failing;
    std::string m_calls;
};

/// How a service that fails there is driven.
std::string CallsTo(const std::string& failing) {
    NotingService service(failing);
    service.DoWork();
    return service.Calls();
}

TEST(RunService, DrivesTheServiceInOrder) {
    const TemporaryRoot root;
    root.WriteFile("/run/made", "");
    const std::pair<const char*, const char*> cases[] = {{"", "Init Start Stop Close "},
                                                         {"Init", "Init Close "},
                                                         {"Init without memory", "Init Close "},
                                                         {"Stop", "Init Start Stop Close "},
                                                         {"Start", "Init Start Stop Close "}};
    for (const auto& [failing, calls] : cases) {
        EXPECT_EQ(CallsTo(failing), calls);
    }
    sigset_t pending;
    sigpending(&pending);
    EXPECT_TRUE(sigismember(&pending, SIGTERM)) << "a service that failed to start does not wait";
}

} // namespace
