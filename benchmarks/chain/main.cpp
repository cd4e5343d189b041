// How long the chain takes for each kind of command, beside the floor: see docs/benchmarks.md.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/chain/Chain.h"
#include "benchmarks/common/Statistics.h"
#include "benchmarks/common/Table.h"

namespace {

using bench::Json;
using bench::Row;
using bench::Series;
using bench::Table;
using chain::Chain;
using chain::Floor;
using chain::Kind;
using chain::LogMode;

constexpr LogMode kLogModes[] = {
    {"level 2", 2, false}, {"level 7 to nothing", 7, false}, {"level 7 to a reader", 7, true}};
constexpr std::size_t kModes = std::size(kLogModes);

struct Options {
    int rounds = 1000;
    std::vector<int> processors{1, 2};
    std::vector<std::string> kinds; ///< empty: all
    std::string json;
    std::string programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
};

bool IsChosen(const Options& options, const Kind& kind) {
    return options.kinds.empty() ||
           std::find(options.kinds.begin(), options.kinds.end(), kind.name) != options.kinds.end();
}

/// Measures all chains and the floor in turns.
std::vector<Series> Measure(const Kind& kind, std::vector<std::unique_ptr<Chain>>& chains, int rounds) {
    Floor floor(chains[0]->HopsOf(kind));
    std::vector<Series> series(chains.size());
    constexpr int kWarmUp = 50;
    for (int round = -kWarmUp; round < rounds; ++round) {
        const long least = floor.Pass();
        for (std::size_t i = 0; i < chains.size(); ++i) {
            const long time = chains[i]->Pass(kind);
            if (round >= 0) {
                series[i].base.push_back(least);
                series[i].times.push_back(time);
            }
        }
    }
    return series;
}

void MeasureTimes(const Options& options, int processors, std::vector<std::unique_ptr<Chain>>& chains, Json& json) {
    const Table table(
        json, "times",
        "| command | processors | log | median us | 99th percentile us | floor us | floor 99th us | ratio | "
        "lower quartile | upper quartile |");
    for (const Kind& kind : chain::Kinds()) {
        if (!IsChosen(options, kind)) {
            continue;
        }
        const std::vector<Series> series = Measure(kind, chains, options.rounds);
        for (std::size_t i = 0; i < kModes; ++i) {
            const std::vector<double> ratios = series[i].Ratios();
            Row row(json);
            row.Text("kind", kind.name);
            row.Number("processors", processors, 0);
            row.Text("log", kLogModes[i].name);
            row.Number("median_us", bench::Median(series[i].times) / 1000, 1);
            row.Number("p99_us", bench::Quantile(series[i].times, 0.99) / 1000, 1);
            row.Number("floor_us", bench::Median(series[i].base) / 1000, 1);
            row.Number("floor_p99_us", bench::Quantile(series[i].base, 0.99) / 1000, 1);
            row.Number("ratio", bench::Median(ratios), 2);
            row.Number("ratio_q1", bench::Quantile(ratios, 0.25), 2);
            row.Number("ratio_q3", bench::Quantile(ratios, 0.75), 2);
        }
    }
}

constexpr const char* kGain = "zosubwoofer_gain";

void MeasureThroughput(const Options& options, int processors, Chain& chain, Json& json) {
    const Table table(json, "throughput", "| processors | under way | commands a second |");
    for (const int underWay : {1, 4, 16, 64}) {
        const int count = options.rounds * 5;
        const long time = chain.PassMany(chain::KindOf(kGain), count, underWay);
        Row row(json);
        row.Number("processors", processors, 0);
        row.Number("under_way", underWay, 0);
        row.Number("per_second", count * 1e9 / static_cast<double>(time), 0);
    }
}

/// A number that AllocationCounter.cpp keeps.
long AllocationsOf(const std::string& path, const std::string& process) {
    long count = 0;
    std::ifstream(path + "." + process, std::ios::binary).read(reinterpret_cast<char*>(&count), sizeof count);
    return count;
}

/// What a command of this kind costs a process.
/// @param counted a chain whose processes count their allocations into @p allocations
void MeasureProcess(std::size_t process, const Kind& kind, int rounds, Chain& chain, Chain& counted,
                    const std::string& allocations, Json& json) {
    const auto pass = [&kind](Chain& which, int times) {
        for (int round = 0; round < times; ++round) {
            which.Pass(kind);
        }
    };
    const bench::Process plain = chain.Processes().at(process);
    const bench::Usage before = bench::UsageOf(plain.id);
    pass(chain, rounds);
    const bench::Usage after = bench::UsageOf(plain.id);
    const long allocationsBefore = AllocationsOf(allocations, plain.name);
    pass(counted, rounds);
    const long allocated = AllocationsOf(allocations, plain.name) - allocationsBefore;
    constexpr int kTraced = 100;
    const long calls = bench::SystemCallsOf(plain.id, [&] { pass(chain, kTraced); });
    Row row(json);
    row.Text("kind", kind.name);
    row.Text("process", plain.name);
    row.Number("processor_us", (after.processorMicroseconds - before.processorMicroseconds) / rounds, 1);
    row.Number("switches", static_cast<double>(after.contextSwitches - before.contextSwitches) / rounds, 1);
    row.Number("calls", static_cast<double>(calls) / kTraced, 1);
    row.Number("allocations", static_cast<double>(allocated) / rounds, 1);
    row.Number("resident_kb", static_cast<double>(after.residentKilobytes), 0);
}

void MeasureUsage(const Options& options, Chain& chain, Json& json) {
    const Table table(
        json, "usage",
        "| command | process | processor us | context switches | system calls | allocations | resident KB |");
    const std::string allocations =
        (std::filesystem::temp_directory_path() / "allocations").string() + std::to_string(::getpid());
    ::setenv("TLG_ALLOCATIONS", allocations.c_str(), 1);
    Chain counted(options.programs, kLogModes[0], options.programs + "/../lib/liballocation_counter.so");
    for (const char* name : {kGain, "zovolume", "zofade_balance", "zoeqtype", "report"}) {
        for (std::size_t process = 0; process < chain.Processes().size(); ++process) {
            MeasureProcess(process, chain::KindOf(name), options.rounds, chain, counted, allocations, json);
        }
    }
    for (const bench::Process& process : counted.Processes()) {
        std::filesystem::remove(allocations + "." + process.name);
    }
}

void Run(const Options& options, Json& json) {
    json.StartArray();
    for (const int processors : options.processors) {
        bench::BindToProcessors(processors);
        std::vector<std::unique_ptr<Chain>> chains;
        for (const LogMode& mode : kLogModes) {
            chains.push_back(std::make_unique<Chain>(options.programs, mode));
        }
        json.StartObject();
        MeasureTimes(options, processors, chains, json);
        MeasureThroughput(options, processors, *chains[0], json);
        if (processors == 1) {
            MeasureUsage(options, *chains[0], json);
        }
        json.EndObject();
    }
    json.EndArray();
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Measures the chain of server, service and MCU as processes, in turns with bare processes that pass the "
        "same bytes over the same sockets.",
        "chain_benchmark");
    Options options;
    app.add_option("--rounds", options.rounds, "commands of each kind")
        ->check(CLI::Range(50, 1000000))
        ->capture_default_str();
    app.add_option("--processors", options.processors, "how many processors all of it has, one after another")
        ->capture_default_str();
    app.add_option("--kind", options.kinds, "only commands of this kind");
    app.add_option("--json", options.json, "also writes the results into this file");
    CLI11_PARSE(app, argc, argv);
    rapidjson::StringBuffer text;
    Json json(text);
    try {
        Run(options, json);
    } catch (const std::exception& error) {
        std::cerr << "chain_benchmark: " << error.what() << "\n";
        return 1;
    }
    if (!options.json.empty()) {
        std::ofstream(options.json) << text.GetString() << "\n";
    }
    return 0;
}
