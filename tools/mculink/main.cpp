#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "framework/SystemFiles.h"
#include "platform/host/Root.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Output.h"
#include "tools/common/Ready.h"
#include "tools/common/StopSignals.h"
#include "tools/mculink/Link.h"
#include "tools/mculink/PacketPrinter.h"
#include "tools/mculink/Recording.h"
#include "tools/mculink/Replay.h"

namespace {

int Fail(const std::string& text) {
    std::fprintf(stderr, "mculink: %s\n", text.c_str());
    return 1;
}

struct RelayOptions {
    mculink::LinkOptions link;
    std::string recording;
    bool prints = false;
};

int Relay(const RelayOptions& options, const mculink::PrintOptions& printOptions) {
    const UniqueFd stop = StopSignals();
    std::string error;
    mculink::RecordingWriter writer;
    if (!options.recording.empty() && !writer.Open(options.recording, error)) {
        return Fail(options.recording + ": " + error);
    }
    mculink::PacketPrinter printer(printOptions);
    bool prints = options.prints || printOptions.json;
    bool records = !options.recording.empty();
    const auto observe = [&](const mculink::LinkPacket& packet) {
        if (const auto line = prints ? printer.LineOf(packet) : std::nullopt) {
            prints = PrintLine(*line); // the link goes on
        }
        if (records && !writer.Write(packet)) {
            records = false;
            Fail(options.recording + ": the recording ends here: " + std::strerror(errno));
        }
    };
    mculink::Link link(
        options.link, observe, [] { SayReady("mculink"); }, [](const std::string& line) { Fail(line); });
    return link.Run(stop.Get(), error) ? 0 : Fail(error);
}

int Show(const std::string& path, const mculink::PrintOptions& printOptions) {
    std::signal(SIGPIPE, SIG_IGN);
    mculink::RecordingReader reader;
    std::string error;
    if (!reader.Open(path, error)) {
        return Fail(path + ": " + error);
    }
    mculink::PacketPrinter printer(printOptions);
    while (const auto packet = reader.Next(error)) {
        const auto line = printer.LineOf(*packet);
        if (line && !PrintLine(*line)) {
            return 0;
        }
    }
    return error.empty() ? 0 : Fail(path + ": " + error);
}

int PlayAgain(const std::string& path, const mculink::ReplayOptions& options) {
    const UniqueFd stop = StopSignals();
    mculink::RecordingReader reader;
    std::string error;
    if (!reader.Open(path, error)) {
        return Fail(path + ": " + error);
    }
    std::vector<mculink::LinkPacket> recording;
    while (auto packet = reader.Next(error)) {
        recording.push_back(std::move(*packet));
    }
    if (!error.empty()) {
        return Fail(path + ": " + error);
    }
    const std::size_t count = recording.size();
    mculink::Replay replay(std::move(recording), options, [](const std::string& line) { PrintLine(line); });
    if (!replay.Start(error)) {
        return Fail(error);
    }
    SayReady("mculink");
    const int differences = replay.Run(stop.Get());
    if (differences == 0) {
        PrintLine(std::to_string(count) + " packets, no difference");
        return 0;
    }
    return Fail(path + ": " + std::to_string(differences) + (differences == 1 ? " difference" : " differences"));
}

const std::map<std::string, mculink::TimeStyle> kStyles{{"absolute", mculink::TimeStyle::Absolute},
                                                        {"delta", mculink::TimeStyle::Delta},
                                                        {"relative", mculink::TimeStyle::Relative}};

/// The options that say what is printed of each packet.
void AddPrintOptions(CLI::App& app, mculink::PrintOptions& options) {
    app.add_option_function<std::string>(
           "--time", [&options](const std::string& style) { options.time = kStyles.at(style); },
           "absolute: seconds since the epoch; delta: since the line before; relative: since the first one")
        ->check(CLI::IsMember(kStyles).description(""))
        ->type_name("STYLE")
        ->default_str("absolute");
    CLI::Validator isWord = CLI::IsMember(mculink::PacketPrinter::Words()).description("");
    app.add_option("--only", options.only,
                   "print packets with this word alone: 'to' or 'from' the MCU, a command, a record, 'damaged'")
        ->check(isWord)
        ->type_name("WORD")
        ->allow_extra_args(false);
    app.add_option("--not", options.except, "do not print packets with this word")
        ->check(isWord)
        ->type_name("WORD")
        ->allow_extra_args(false);
    app.add_flag("--changes", options.changes, "mark the fields that changed since the record's last packet: old>new");
    app.add_flag("--bytes", options.bytes, "print the whole header and the payload in hexadecimal as well");
    app.add_flag("--json", options.json, "print each packet as a JSON object");
    std::string words;
    for (const std::string& word : mculink::PacketPrinter::Words()) {
        words += " " + word;
    }
    app.footer("WORDs:" + words);
}

void AddRelayOptions(CLI::App& app, RelayOptions& options) {
    app.add_option("--to", options.link.to, "where the MCU is: a socket, a serial device or a pty")->type_name("PATH");
    app.add_option("--baud", options.link.baud, "rate of the serial line, in bits a second")
        ->check([](const std::string& text) {
            return mculink::IsBaudRate(static_cast<int>(std::strtol(text.c_str(), nullptr, 10)))
                       ? ""
                       : text + " is not a rate of serial lines";
        })
        ->type_name("RATE");
    app.add_option("--record", options.recording, "record all packets in this file")->type_name("FILE");
    app.add_flag("--print", options.prints, "print a line for each packet");
}

/// The values of the options with words.
std::vector<std::string> NextWords(const std::vector<std::string>& before) {
    const std::string option = before.empty() ? "" : before.back();
    std::vector<std::string> words;
    if (option == "--only" || option == "--not") {
        words = mculink::PacketPrinter::Words();
    } else if (option == "--time") {
        for (const auto& [word, style] : kStyles) {
            words.push_back(word);
        }
    }
    return words;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Stands between the service below $TLG_ROOT and an MCU, a socket or a serial line, and prints and "
                 "records their packets. Prints recordings, and plays the MCU of a recording.",
                 "mculink");
    app.require_subcommand(0, 1);
    mculink::PrintOptions print;
    RelayOptions relay;
    mculink::ReplayOptions replay;
    relay.link.device = replay.device = host::BelowRoot(TLG::ZOCAR::g_eqMCU.path);
    std::string file;
    AddRelayOptions(app, relay);
    AddPrintOptions(app, print);

    CLI::App* show = app.add_subcommand("show", "prints a recording");
    show->add_option("FILE", file, "the recording")->required();
    AddPrintOptions(*show, print);
    CLI::App* again = app.add_subcommand(
        "replay", "is the MCU of a recording: exit 0 when the service sends what it had sent, 1 with the differences");
    again->add_option("FILE", file, "the recording")->required();
    again->add_flag("--fast", replay.isFast, "without the pauses of the recording");
    double patience = 10;
    again->add_option("--patience", patience, "how long the service may take for a packet that is due")
        ->check(CLI::Range(0.001, 1e6).description(""))
        ->type_name("SECONDS")
        ->capture_default_str();

    if (const auto status = ParseCommandLine(app, argc, argv, NextWords)) {
        return *status;
    }
    if (show->parsed()) {
        return Show(file, print);
    }
    if (again->parsed()) {
        replay.patience = std::chrono::milliseconds(static_cast<long>(patience * 1000));
        return PlayAgain(file, replay);
    }
    if (relay.link.to.empty()) {
        return Fail("command line: --to is missing: where the MCU is");
    }
    return Relay(relay, print);
}
