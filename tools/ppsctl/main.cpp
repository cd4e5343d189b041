#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "platform/host/PpsConnection.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Output.h"
#include "tools/common/StopSignals.h"
#include "tools/ppsctl/Json.h"
#include "tools/ppsctl/Requests.h"
#include "tools/ppsctl/Watch.h"

namespace {

namespace flags = host::target_flags;

using ppsctl::Fail;

/// The lines of standard input, up to its end.
std::vector<std::string> InputLines() {
    std::vector<std::string> lines;
    for (std::string line; std::getline(std::cin, line);) {
        lines.push_back(line);
    }
    return lines;
}

int Write(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) {
        return Fail("write", "needs an object and at least one attribute line; see ppsctl write --help");
    }
    const std::string& object = arguments[0];
    std::vector<std::string> lines(arguments.begin() + 1, arguments.end());
    if (lines == std::vector<std::string>{"-"}) {
        lines = InputLines();
        if (lines.empty()) {
            return Fail(object, "standard input has no lines");
        }
    }
    std::string text;
    for (const std::string& line : lines) {
        text.append(line).append("\n");
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

int Read(const std::string& object, bool isJson) {
    host::PpsReply reply;
    const UniqueFd fd = host::OpenPpsObject(object + "?wait", flags::kReadOnly, reply);
    if (!fd) {
        return Fail(object, reply.reason);
    }
    std::string text;
    if (!host::ReceivePacket(fd.Get(), text)) {
        return Fail(object, errno);
    }
    return Print(isJson ? ppsctl::JsonOf(object, text, "") + "\n" : text) ? 0 : Fail("standard output", errno);
}

int Watch(const ppsctl::WatchOptions& options) {
    const UniqueFd stop = StopSignals();
    return ppsctl::Watch(options).Run(stop.Get());
}

int List() {
    std::string error;
    const auto paths = ppsctl::ListObjects(error);
    if (!paths) {
        return Fail("list", error);
    }
    std::string text;
    for (const std::string& path : *paths) {
        text += path + "\n";
    }
    return Print(text) ? 0 : Fail("standard output", errno);
}

int Delete(const std::string& object) {
    host::PpsReply reply;
    host::RequestOfPpsServer("delete " + object, reply);
    return reply.error == 0 ? 0 : Fail(object, reply.reason);
}

void AddWatchOptions(CLI::App& watch, ppsctl::WatchOptions& options) {
    watch
        .add_option("PATTERN", options.patterns,
                    "an object's path; '*' stands for any text within a component, '**' for any number of components")
        ->required();
    watch.add_flag("--time", options.time, "begin each line with the seconds since the epoch");
    watch.add_flag("--json", options.json, "print each state and change as a JSON object on one line");
    watch.add_option("--count", options.count, "end after this number of changes; the states at first are none")
        ->check(CLI::Range(1, 1000000000).description(""))
        ->type_name("N");
    watch
        .add_option_function<double>(
            "--for",
            [&options](double limit) { options.limit = std::chrono::milliseconds(static_cast<long>(limit * 1000)); },
            "end after this time")
        ->check(CLI::Range(0.0, 1e9).description(""))
        ->type_name("SECONDS");
}

/// The objects, where one may come: first after a command, and anywhere in the patterns of watch.
std::vector<std::string> NextWords(const std::vector<std::string>& before) {
    const std::string command = before.empty() ? "list" : before[0];
    const bool isValue = !before.empty() && before.back().compare(0, 1, "-") == 0;
    if (command == "list" || isValue || (command != "watch" && before.size() > 1)) {
        return {};
    }
    std::string error;
    return ppsctl::ListObjects(error).value_or(std::vector<std::string>());
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Reads and writes the objects of the PPS server below $TLG_ROOT. OBJECT is a full path such as "
                 "/pps/tolvyn/eq/control.",
                 "ppsctl");
    app.require_subcommand(1);
    CLI::App* write = app.add_subcommand(
        "write", "write OBJECT LINE...: publishes the lines (name:encoding:value, or -name to delete) in one write; "
                 "write OBJECT -: reads them from standard input");
    // A line may begin with a hyphen, so nothing after the object is parsed as an option.
    write->prefix_command();
    std::string object;
    bool isJson = false;
    CLI::App* read = app.add_subcommand("read", "prints an object's whole text");
    read->add_option("OBJECT", object, "its full path")->required();
    read->add_flag("--json", isJson, "as a JSON object on one line");
    ppsctl::WatchOptions options;
    CLI::App* watch = app.add_subcommand("watch", "prints the states of objects, then every change, until ended");
    AddWatchOptions(*watch, options);
    CLI::App* list = app.add_subcommand("list", "prints the objects, one full path a line");
    CLI::App* remove = app.add_subcommand("delete", "deletes the object");
    remove->add_option("OBJECT", object, "its full path")->required();

    if (const auto status = ParseCommandLine(app, argc, argv, NextWords)) {
        return *status;
    }
    if (write->parsed()) {
        return Write(write->remaining());
    }
    if (read->parsed()) {
        return Read(object, isJson);
    }
    if (watch->parsed()) {
        return Watch(options);
    }
    return list->parsed() ? List() : Delete(object);
}
