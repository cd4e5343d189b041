// What other message systems are asked to do: carry commands from the HMI to the service, and values back.
#ifndef TLG_BENCHMARKS_PEERS_BROKER_H
#define TLG_BENCHMARKS_PEERS_BROKER_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/common/Peer.h"

namespace peers {

using Values = std::vector<int>;
/// Is given the name of a setting, and the values that it is to have or has.
using Handler = std::function<void(const std::string& name, const Values& values)>;

enum class Role { kHmi, kService };

/// A connection to a broker. Errors are thrown as std::runtime_error.
class Endpoint {
public:
    Endpoint() = default;
    virtual ~Endpoint() = default;
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;

    /// Becomes readable when something has come.
    virtual int Fd() const = 0;
    /// Sends values to the other role: the HMI a command, the service what it publishes.
    /// @param isHeard whether the other role has subscribed to it
    virtual void Send(const std::string& name, const Values& values, bool isHeard) = 0;
    /// Has the handler called for all that has come, and does not wait.
    virtual void Receive(const Handler& handler) = 0;
};

/// A running broker, ended by the destructor.
class Broker {
public:
    Broker() = default;
    virtual ~Broker() = default;
    Broker(const Broker&) = delete;
    Broker& operator=(const Broker&) = delete;

    virtual const char* Name() const = 0;
    virtual std::unique_ptr<Endpoint> Connect(Role role) = 0;
};

// Each starts the broker with its socket in a directory. It throws where the program is missing.
std::unique_ptr<Broker> StartDbusDaemon(const std::string& directory);
std::unique_ptr<Broker> StartDbusBroker(const std::string& directory);
std::unique_ptr<Broker> StartMosquitto(const std::string& directory);
std::unique_ptr<Broker> StartRedis(const std::string& directory);

/// A broker's program, which prints nothing; ended by the destructor.
class BrokerProcess {
public:
    explicit BrokerProcess(const std::vector<std::string>& command);

private:
    bench::Peer m_process;
};

/// A broker that is a program with a socket of its own and needs nothing else. Its endpoints are made of the socket's
/// path and their role.
template <typename EndpointKind>
class PlainBroker : public Broker {
public:
    PlainBroker(const char* name, std::string socket, const std::vector<std::string>& command)
        : m_name(name), m_socket(std::move(socket)), m_process(command) {}

    const char* Name() const override { return m_name; }
    std::unique_ptr<Endpoint> Connect(Role role) override { return std::make_unique<EndpointKind>(m_socket, role); }

private:
    const char* m_name;
    std::string m_socket;
    BrokerProcess m_process;
};

/// Calls @p connect(), which returns whether that worked, until it does. Throws after some seconds.
/// @param program what it connects to
void RetryUntilServed(const std::string& program, const std::function<bool()>& connect);

} // namespace peers

#endif
