#include <poll.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/host/PpsConnection.h"
#include "tools/common/CommandLine.h"
#include "tools/common/StopSignals.h"

namespace {

namespace flags = host::target_flags;

int Fail(const std::string& subject, const std::string& reason) {
    std::fprintf(stderr, "ppsctl: %s: %s\n", subject.c_str(), reason.c_str());
    return 1;
}

int Fail(const std::string& subject, int error) {
    return Fail(subject, error == 0 ? "the PPS server has ended" : std::strerror(error));
}

bool Print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0;
}

int Write(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) {
        return Fail("write", "needs an object and at least one attribute line; see ppsctl write --help");
    }
    const std::string& object = arguments[0];
    std::string text;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        text.append(arguments[i]).append("\n");
    }
    host::PpsReply reply;
    const UniqueFd fd = host::OpenPpsObject(object + "?wait,ack", flags::kReadWrite | flags::kCreate, reply);
    if (!fd) {
        return Fail(object, reply.reason);
    }
    std::string answer;
    if (::write(fd.Get(), text.data(), text.size()) < 0 || !host::ReceivePacket(fd.Get(), answer)) {
        return Fail(object, errno);
    }
    reply = host::ParseReply(answer);
    return reply.error == 0 ? 0 : Fail(object, reply.reason);
}

int Read(const std::string& object) {
    host::PpsReply reply;
    const UniqueFd fd = host::OpenPpsObject(object + "?wait", flags::kReadOnly, reply);
    if (!fd) {
        return Fail(object, reply.reason);
    }
    std::string text;
    if (!host::ReceivePacket(fd.Get(), text)) {
        return Fail(object, errno);
    }
    return Print(text) ? 0 : Fail("standard output", errno);
}

int Watch(const std::vector<std::string>& objects) {
    const UniqueFd stop = StopSignals();
    std::vector<UniqueFd> subscriptions;
    std::vector<pollfd> polled{{stop.Get(), POLLIN, 0}};
    for (const std::string& object : objects) {
        host::PpsReply reply;
        subscriptions.push_back(host::OpenPpsObject(object + "?delta", flags::kReadOnly, reply));
        if (!subscriptions.back()) {
            return Fail(object, reply.reason);
        }
        polled.push_back({subscriptions.back().Get(), POLLIN, 0});
    }
    std::string text;
    for (;;) {
        if (::poll(polled.data(), polled.size(), -1) < 0 && errno != EINTR) {
            return Fail("poll", errno);
        }
        if (polled[0].revents != 0) {
            return 0;
        }
        for (std::size_t i = 0; i < objects.size(); ++i) {
            if (polled[i + 1].revents == 0) {
                continue;
            }
            if (!host::ReceivePacket(subscriptions[i].Get(), text)) {
                if (errno == EAGAIN) {
                    continue;
                }
                return Fail(objects[i], errno);
            }
            if (!Print(text)) {
                return Fail("standard output", errno);
            }
        }
    }
}

int List() {
    std::string last;
    for (;;) {
        host::PpsReply reply;
        const UniqueFd fd = host::RequestOfPpsServer("list " + last, reply);
        if (!fd) {
            return Fail("list", reply.reason);
        }
        std::string text;
        if (!host::ReceivePacket(fd.Get(), text)) {
            return errno == 0 ? 0 : Fail("list", errno);
        }
        if (!Print(text)) {
            return Fail("standard output", errno);
        }
        last = text.substr(0, text.size() - 1);
        last.erase(0, last.rfind('\n') + 1);
    }
}

int Delete(const std::string& object) {
    host::PpsReply reply;
    host::RequestOfPpsServer("delete " + object, reply);
    return reply.error == 0 ? 0 : Fail(object, reply.reason);
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Reads and writes the objects of the PPS server below $TLG_ROOT. OBJECT is a full path such as "
                 "/pps/tolvyn/eq/control.",
                 "ppsctl");
    app.require_subcommand(1);
    CLI::App* write = app.add_subcommand(
        "write", "write OBJECT LINE...: publishes the lines (name:encoding:value, or -name to delete) in one write");
    // A line may begin with a hyphen, so nothing after the object is parsed as an option.
    write->prefix_command();
    std::string object;
    CLI::App* read = app.add_subcommand("read", "prints the object's whole text");
    read->add_option("OBJECT", object)->required();
    std::vector<std::string> objects;
    CLI::App* watch = app.add_subcommand("watch", "prints the state, then every change as it arrives, until ended");
    watch->add_option("OBJECT", objects)->required();
    CLI::App* list = app.add_subcommand("list", "prints the objects, one full path a line");
    CLI::App* remove = app.add_subcommand("delete", "deletes the object");
    remove->add_option("OBJECT", object)->required();

    if (const auto status = ParseCommandLine(app, argc, argv)) {
        return *status;
    }
    if (write->parsed()) {
        return Write(write->remaining());
    }
    if (read->parsed()) {
        return Read(object);
    }
    if (watch->parsed()) {
        return Watch(objects);
    }
    return list->parsed() ? List() : Delete(object);
}
