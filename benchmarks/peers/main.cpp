// The same job on other message systems, with the same MCU behind them: see docs/benchmarks.md.
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "benchmarks/chain/Chain.h"
#include "benchmarks/common/Statistics.h"
#include "benchmarks/common/Table.h"
#include "benchmarks/peers/System.h"

namespace {

using peers::Job;
using peers::System;

struct Options {
    int rounds = 1000;
    int turn = 50;
    int processors = 1;
    std::string json;
};

constexpr chain::LogMode kQuiet{"level 2", 2, false};

/// Measures a job on the chain and on all systems, which take turns. The series' base is the chain.
std::vector<bench::Series> Measure(const Job& job, chain::Chain& chain, std::vector<std::unique_ptr<System>>& systems,
                                   const Options& options) {
    const chain::Kind& kind = chain::KindOf(job.kind);
    std::vector<bench::Series> series(systems.size());
    std::vector<long> ours(static_cast<std::size_t>(options.turn));
    bool isWarm = false;
    while (series[0].times.size() < static_cast<std::size_t>(options.rounds)) {
        for (long& time : ours) {
            time = chain.Pass(kind);
        }
        for (std::size_t i = 0; i < systems.size(); ++i) {
            for (const long time : ours) {
                const long theirs = systems[i]->Pass(job);
                if (isWarm) {
                    series[i].base.push_back(time);
                    series[i].times.push_back(theirs);
                }
            }
        }
        isWarm = true;
    }
    return series;
}

void PrintRow(const Job& job, const std::string& system, const std::vector<long>& times,
              const std::vector<double>& ratios, bench::Json& json) {
    bench::Row row(json);
    row.Text("job", job.name);
    row.Text("system", system);
    row.Number("median_us", bench::Median(times) / 1000, 1);
    row.Number("p99_us", bench::Quantile(times, 0.99) / 1000, 1);
    row.Number("ratio", bench::Median(ratios), 2);
    row.Number("ratio_q1", bench::Quantile(ratios, 0.25), 2);
    row.Number("ratio_q3", bench::Quantile(ratios, 0.75), 2);
}

/// Those of them that are installed.
std::vector<std::unique_ptr<System>> StartAll(const std::string& directory) {
    std::vector<std::unique_ptr<System>> systems;
    for (const auto& start :
         {peers::StartDbusBroker, peers::StartDbusDaemon, peers::StartMosquitto, peers::StartRedis}) {
        try {
            systems.push_back(std::make_unique<System>(start(directory), directory));
        } catch (const std::exception& error) {
            std::cerr << "skipped: " << error.what() << "\n";
        }
    }
    if (systems.empty()) {
        throw std::runtime_error("none of the other systems is installed");
    }
    return systems;
}

void Run(const Options& options, const std::string& directory, bench::Json& json) {
    chain::Chain chain(std::filesystem::read_symlink("/proc/self/exe").parent_path(), kQuiet);
    std::vector<std::unique_ptr<System>> systems = StartAll(directory);
    json.StartObject();
    {
        const bench::Table table(json, "peers",
                                 "| job | system | median us | 99th percentile us | times ours | lower quartile | "
                                 "upper quartile |");
        for (const Job& job : peers::Jobs()) {
            const std::vector<bench::Series> series = Measure(job, chain, systems, options);
            PrintRow(job, "ppsd and melvane", series[0].base, {1.0}, json);
            for (std::size_t i = 0; i < systems.size(); ++i) {
                PrintRow(job, systems[i]->Name(), series[i].times, series[i].Ratios(), json);
            }
        }
    }
    json.EndObject();
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures the chain in turns with the same job on dbus-broker, dbus-daemon, mosquitto and redis.",
                 "peers_benchmark");
    Options options;
    app.add_option("--rounds", options.rounds, "commands of each kind")
        ->check(CLI::Range(50, 1000000))
        ->capture_default_str();
    app.add_option("--turn", options.turn, "commands in a row before the next system has its turn")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--processors", options.processors, "how many processors all of it has")->capture_default_str();
    app.add_option("--json", options.json, "also writes the results into this file");
    CLI11_PARSE(app, argc, argv);
    std::string directory = (std::filesystem::temp_directory_path() / "peers.XXXXXX").string();
    rapidjson::StringBuffer text;
    bench::Json json(text);
    int status = 0;
    try {
        bench::BindToProcessors(options.processors);
        // Where Debian puts mosquitto, which users may not have in their paths.
        const char* const path = ::getenv("PATH");
        ::setenv("PATH", (std::string(path == nullptr ? "/usr/bin" : path) + ":/usr/sbin").c_str(), 1);
        Run(options, ::mkdtemp(directory.data()), json);
    } catch (const std::exception& error) {
        std::cerr << "peers_benchmark: " << error.what() << "\n";
        status = 1;
    }
    std::filesystem::remove_all(directory);
    if (status == 0 && !options.json.empty()) {
        std::ofstream(options.json) << text.GetString() << "\n";
    }
    return status;
}
