// dbus-daemon and dbus-broker. A command sets a property without asking for a reply, and a value is published as the
// signal that the property has changed, both as arrays of integers.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "benchmarks/peers/Broker.h"
#include "platform/posix/UniqueFd.h"

namespace peers {

namespace {

constexpr const char* kService = "bench.Audio";
constexpr const char* kPath = "/bench/audio";
constexpr const char* kUnheardPath = "/bench/other";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

int Check(int result) {
    if (result < 0) {
        throw std::runtime_error(std::string("D-Bus: ") + std::strerror(-result));
    }
    return result;
}

using Bus = std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)>;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

Bus NewBus() {
    sd_bus* bus = nullptr;
    Check(sd_bus_new(&bus));
    return {bus, &sd_bus_flush_close_unref};
}

class DbusEndpoint : public Endpoint {
public:
    DbusEndpoint(const std::string& socket, Role role) : m_role(role), m_bus(NewBus()) {
        RetryUntilServed(socket, [&] {
            m_bus = NewBus();
            Check(sd_bus_set_address(m_bus.get(), ("unix:path=" + socket).c_str()));
            Check(sd_bus_set_bus_client(m_bus.get(), 1));
            return sd_bus_start(m_bus.get()) >= 0 && sd_bus_get_unique_name(m_bus.get(), &m_name) >= 0;
        });
        if (role == Role::kService) {
            Check(sd_bus_add_object(m_bus.get(), nullptr, kPath, OnSet, this));
            Check(sd_bus_request_name(m_bus.get(), kService, 0));
        } else {
            Check(sd_bus_match_signal(m_bus.get(), nullptr, nullptr, kPath, kProperties, "PropertiesChanged", OnChanged,
                                      this));
        }
    }

    int Fd() const override { return sd_bus_get_fd(m_bus.get()); }

    void Send(const std::string& name, const Values& values, bool isHeard) override {
        sd_bus_message* made = nullptr;
        if (m_role == Role::kHmi) {
            Check(sd_bus_message_new_method_call(m_bus.get(), &made, kService, kPath, kProperties, "Set"));
        } else {
            Check(sd_bus_message_new_signal(m_bus.get(), &made, isHeard ? kPath : kUnheardPath, kProperties,
                                            "PropertiesChanged"));
        }
        const Message message(made, &sd_bus_message_unref);
        Check(sd_bus_message_append(made, "s", kService));
        if (m_role == Role::kHmi) {
            AppendProperty(made, name, values);
            Check(sd_bus_message_set_expect_reply(made, 0));
        } else {
            Check(sd_bus_message_open_container(made, 'a', "{sv}"));
            Check(sd_bus_message_open_container(made, 'e', "sv"));
            AppendProperty(made, name, values);
            Check(sd_bus_message_close_container(made));
            Check(sd_bus_message_close_container(made));
            Check(sd_bus_message_append(made, "as", 0));
        }
        Check(sd_bus_send(m_bus.get(), made, nullptr));
    }

    void Receive(const Handler& handler) override {
        m_handler = &handler;
        while (Check(sd_bus_process(m_bus.get(), nullptr)) > 0) {
        }
    }

private:
    static void AppendProperty(sd_bus_message* message, const std::string& name, const Values& values) {
        Check(sd_bus_message_append(message, "s", name.c_str()));
        Check(sd_bus_message_open_container(message, 'v', "ai"));
        Check(sd_bus_message_append_array(message, 'i', values.data(), values.size() * sizeof(int)));
        Check(sd_bus_message_close_container(message));
    }

    void TakeProperty(sd_bus_message* message) const {
        const char* name = nullptr;
        const void* values = nullptr;
        std::size_t size = 0;
        if (sd_bus_message_read(message, "s", &name) > 0 && sd_bus_message_enter_container(message, 'v', "ai") > 0 &&
            sd_bus_message_read_array(message, 'i', &values, &size) > 0) {
            const int* const first = static_cast<const int*>(values);
            (*m_handler)(name, Values(first, first + size / sizeof(int)));
        }
    }

    static int OnSet(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        if (sd_bus_message_is_method_call(message, kProperties, "Set") > 0 && sd_bus_message_skip(message, "s") >= 0) {
            static_cast<DbusEndpoint*>(self)->TakeProperty(message);
        }
        return 1;
    }

    static int OnChanged(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        if (sd_bus_message_skip(message, "s") >= 0 && sd_bus_message_enter_container(message, 'a', "{sv}") > 0 &&
            sd_bus_message_enter_container(message, 'e', "sv") > 0) {
            static_cast<DbusEndpoint*>(self)->TakeProperty(message);
        }
        return 0;
    }

    Role m_role;
    Bus m_bus;
    const char* m_name = nullptr; // the bus's own
    const Handler* m_handler = nullptr;
};

/// dbus-broker is told by its controller, usually systemd's launcher, where to listen and what is allowed.
class DbusBroker : public Broker {
public:
    explicit DbusBroker(const std::string& directory) : m_socket(directory + "/dbus-broker"), m_controller(NewBus()) {
        int ends[2] = {-1, -1};
        Check(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0 ? 0 : -errno);
        UniqueFd theirs(ends[1]);
        ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
        m_process.emplace(std::vector<std::string>{"dbus-broker", "--controller", std::to_string(ends[1]),
                                                   "--machine-id", "00000000000000000000000000000001"});
        theirs.Reset(); // so that it is noticed where the program is missing
        Check(sd_bus_set_fd(m_controller.get(), ends[0], ends[0]));
        Check(sd_bus_start(m_controller.get()));
        Listen();
    }

    const char* Name() const override { return "dbus-broker"; }
    std::unique_ptr<Endpoint> Connect(Role role) override { return std::make_unique<DbusEndpoint>(m_socket, role); }

private:
    void Listen() const {
        const UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_socket.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener.Get(), SOMAXCONN) != 0) {
            throw std::runtime_error("can't listen");
        }
        sd_bus_message* made = nullptr;
        Check(sd_bus_message_new_method_call(m_controller.get(), &made, nullptr, "/org/bus1/DBus/Broker",
                                             "org.bus1.DBus.Broker", "AddListener"));
        const Message call(made, &sd_bus_message_unref);
        Check(sd_bus_message_append(made, "oh", "/org/bus1/DBus/Listener/0", listener.Get()));
        AppendPolicy(made);
        Check(sd_bus_call(m_controller.get(), made, 0, nullptr, nullptr));
    }

    /// Everything is allowed to everybody.
    static void AppendPolicy(sd_bus_message* message) {
        constexpr const char* kPolicy = "a(u(bta(btbs)a(btssssuutt)a(btssssuutt)))"
                                        "a(buu(bta(btbs)a(btssssuutt)a(btssssuutt)))a(ss)bs";
        constexpr std::uint64_t kPriority = 1;
        constexpr std::uint64_t kAnyNumber = ~std::uint64_t{0};
        Check(sd_bus_message_open_container(message, 'v', ("(" + std::string(kPolicy) + ")").c_str()));
        Check(sd_bus_message_open_container(message, 'r', kPolicy));
        Check(sd_bus_message_append(message, "a(u(bta(btbs)a(btssssuutt)a(btssssuutt)))", 1, ~std::uint32_t{0}, 1,
                                    kPriority, 1, 1, kPriority, 1, "", 1, 1, kPriority, "", "", "", "", 0U, 0U,
                                    std::uint64_t{0}, kAnyNumber, 1, 1, kPriority, "", "", "", "", 0U, 0U,
                                    std::uint64_t{0}, kAnyNumber));
        Check(sd_bus_message_append(message, "a(buu(bta(btbs)a(btssssuutt)a(btssssuutt)))", 0));
        Check(sd_bus_message_append(message, "a(ss)bs", 0, 0, "session"));
        Check(sd_bus_message_close_container(message));
        Check(sd_bus_message_close_container(message));
    }

    std::string m_socket;
    Bus m_controller;
    std::optional<BrokerProcess> m_process;
};

} // namespace

std::unique_ptr<Broker> StartDbusDaemon(const std::string& directory) {
    const std::string socket = directory + "/dbus-daemon";
    const std::string configuration = socket + ".conf";
    std::ofstream(configuration)
        << "<busconfig><type>session</type><listen>unix:path=" << socket
        << R"(</listen><policy context="default"><allow send_destination="*"/><allow receive_sender="*"/>)"
        << R"(<allow own="*"/></policy></busconfig>)";
    return std::make_unique<PlainBroker<DbusEndpoint>>(
        "dbus-daemon", socket,
        std::vector<std::string>{"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration});
}

std::unique_ptr<Broker> StartDbusBroker(const std::string& directory) {
    return std::make_unique<DbusBroker>(directory);
}

} // namespace peers
