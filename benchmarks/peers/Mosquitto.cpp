// mosquitto: a topic for each setting's command and one for its value, which the broker retains. Quality of service 0.
#include <mosquitto.h>

#include <fstream>
#include <stdexcept>

#include "benchmarks/peers/Broker.h"
#include "benchmarks/peers/ValuesText.h"

namespace peers {

namespace {

constexpr int kKeepAliveSeconds = 36000; // longer than a run, which sends no pings

void Check(int result) {
    if (result != MOSQ_ERR_SUCCESS) {
        throw std::runtime_error(std::string("mosquitto: ") + mosquitto_strerror(result));
    }
}

std::string Topic(Role receiver, const std::string& name) {
    return (receiver == Role::kService ? "audio/command/" : "audio/value/") + name;
}

class MosquittoEndpoint : public Endpoint {
public:
    MosquittoEndpoint(const std::string& socket, Role role)
        : m_role(role), m_client(mosquitto_new(nullptr, true, this), &mosquitto_destroy) {
        mosquitto_message_callback_set(m_client.get(), OnMessage);
        RetryUntilServed(socket, [&] {
            return mosquitto_connect(m_client.get(), socket.c_str(), 0, kKeepAliveSeconds) == MOSQ_ERR_SUCCESS;
        });
        Check(mosquitto_subscribe(m_client.get(), nullptr, Topic(role, "#").c_str(), 0));
        // The broker has confirmed the connection and the subscription when this callback comes.
        mosquitto_subscribe_callback_set(m_client.get(), [](mosquitto*, void* self, int, int, const int*) {
            static_cast<MosquittoEndpoint*>(self)->m_isSubscribed = true;
        });
        constexpr int kWaitMs = 100;
        while (!m_isSubscribed) {
            Check(mosquitto_loop(m_client.get(), kWaitMs, 1));
        }
    }

    int Fd() const override { return mosquitto_socket(m_client.get()); }

    void Send(const std::string& name, const Values& values, bool isHeard) override {
        const std::string text = TextOf(values);
        const Role receiver = m_role == Role::kHmi ? Role::kService : Role::kHmi;
        Check(mosquitto_publish(m_client.get(), nullptr, (isHeard ? Topic(receiver, name) : "other/" + name).c_str(),
                                static_cast<int>(text.size()), text.data(), 0, receiver == Role::kHmi));
    }

    /// The handler is called after the library's callback, as that can only queue what is sent in it.
    void Receive(const Handler& handler) override {
        Check(mosquitto_loop_read(m_client.get(), 1));
        std::vector<std::pair<std::string, Values>> received;
        received.swap(m_received);
        for (const auto& [name, values] : received) {
            handler(name, values);
        }
    }

private:
    static void OnMessage(mosquitto* /*client*/, void* self, const mosquitto_message* message) {
        auto& endpoint = *static_cast<MosquittoEndpoint*>(self);
        const std::string name = std::string(message->topic).substr(Topic(endpoint.m_role, "").size());
        const std::string_view text(static_cast<const char*>(message->payload),
                                    static_cast<std::size_t>(message->payloadlen));
        endpoint.m_received.emplace_back(name, ValuesIn(text));
    }

    Role m_role;
    std::unique_ptr<mosquitto, decltype(&mosquitto_destroy)> m_client;
    bool m_isSubscribed = false;
    std::vector<std::pair<std::string, Values>> m_received;
};

} // namespace

std::unique_ptr<Broker> StartMosquitto(const std::string& directory) {
    mosquitto_lib_init();
    const std::string socket = directory + "/mosquitto";
    const std::string configuration = socket + ".conf";
    std::ofstream(configuration) << "listener 0 " << socket << "\nallow_anonymous true\nuser root\nlog_type none\n";
    return std::make_unique<PlainBroker<MosquittoEndpoint>>("mosquitto", socket,
                                                            std::vector<std::string>{"mosquitto", "-c", configuration});
}

} // namespace peers
