#ifndef TLG_TESTS_SUPPORT_LOCALSERVER_H
#define TLG_TESTS_SUPPORT_LOCALSERVER_H

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include <thread>

#include "tests/support/TemporaryRoot.h"
#include "tools/ppsd/Server.h"

/// A PPS server on a thread of the test, below a root of its own.
class LocalServer {
public:
    LocalServer() : m_stop(::eventfd(0, 0)) {
        std::string error;
        EXPECT_TRUE(m_server.Start(error)) << error;
        m_thread = std::thread([this] { m_server.Run(m_stop.Get()); });
    }
    ~LocalServer() {
        const std::uint64_t one = 1;
        EXPECT_EQ(::write(m_stop.Get(), &one, sizeof one), static_cast<ssize_t>(sizeof one));
        m_thread.join();
    }
    LocalServer(const LocalServer&) = delete;
    LocalServer& operator=(const LocalServer&) = delete;

private:
    UniqueFd m_stop;
    ppsd::Server m_server;
    std::thread m_thread;
};

#endif
