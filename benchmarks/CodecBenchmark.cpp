// What the service does in its own process, without any input or output: a command's text to a record, a report and an
// acknowledgement into the store, and a report with the update cycle after it, whose messages find no open object. The
// floors are copying the packet, and parsing the command's JSON without using it.
#include <benchmark/benchmark.h>
#include <sys/pps.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include "benchmarks/chain/Kind.h"
#include "benchmarks/common/AllocationCounter.h"
#include "control/CEQControlPPSModule.h"
#include "mcu/CEQMcuFile.h"
#include "service/CEQMidController.h"
#include "tools/mcusim/Settings.h"

namespace {

/// Counts the allocations of a benchmark's loop.
class CountedAllocations {
public:
    explicit CountedAllocations(benchmark::State& state) : m_state(state), m_before(Allocations()) {}
    ~CountedAllocations() {
        m_state.counters["allocations"] =
            benchmark::Counter(static_cast<double>(Allocations() - m_before), benchmark::Counter::kAvgIterations);
    }
    CountedAllocations(const CountedAllocations&) = delete;
    CountedAllocations& operator=(const CountedAllocations&) = delete;

private:
    benchmark::State& m_state;
    long m_before;
};

/// Two reports of the MCU, to be sent by turns, so that each changes the store.
std::array<mculink::Bytes, 2> ReportsOf(RecordType type) {
    return {mculink::MakePacket(mcusim::Settings::ReportOf(mcusim::Settings(1).Get(type), ""), 0),
            mculink::MakePacket(mcusim::Settings::ReportOf(mcusim::Settings(2).Get(type), ""), 0)};
}

void ReportToStore(benchmark::State& state, RecordType type) {
    CEQData data;
    CEQMcuFile link(nullptr);
    link.AttachData(&data);
    std::array<mculink::Bytes, 2> packets = ReportsOf(type);
    const CountedAllocations counted(state);
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state) {
        mculink::Bytes& packet = packets[next ^= 1];
        if (!link.ProcessDataPacket(packet.data(), static_cast<int>(packet.size()))) {
            state.SkipWithError("the report was not understood");
        }
    }
}

void ReportAndUpdate(benchmark::State& state, RecordType type) {
    CEQMidController controller;
    std::array<mculink::Bytes, 2> packets = ReportsOf(type);
    const CountedAllocations counted(state);
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state) {
        mculink::Bytes& packet = packets[next ^= 1];
        controller.OnRecvData(packet.data(), static_cast<int>(packet.size()));
    }
}

/// A numbered command, which can't be written as there is no device, and its acknowledgement into the store.
void CommandAndAcknowledgement(benchmark::State& state) {
    CEQData data;
    CEQMcuFile link(nullptr);
    link.AttachData(&data);
    mculink::Bytes packet = mculink::MakePacket({kAcknowledgement, 0}, 0);
    const mculink::Bytes records[] = {mculink::Record(ALC).With("alc", 2).FromType(),
                                      mculink::Record(ALC).With("alc", 3).FromType()};
    std::int32_t number = 0;
    const CountedAllocations counted(state);
    for ([[maybe_unused]] auto _ : state) {
        link.SendCtrCmd(kControlCommand, records[++number & 1]);
        std::memcpy(packet.data() + offsetof(TLG::ZOCAR::PacketHeader_s, PacketNo), &number, sizeof number);
        benchmark::DoNotOptimize(link.ProcessDataPacket(packet.data(), static_cast<int>(packet.size())));
    }
}
BENCHMARK(CommandAndAcknowledgement);

void CopyPacket(benchmark::State& state) {
    const mculink::Bytes packet = mculink::MakePacket(mcusim::Settings().Answer(EQ), 0);
    mculink::Bytes copy(packet.size());
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(copy.data(), packet.data(), packet.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(CopyPacket);

void CommandToRecord(benchmark::State& state, const std::string& line) {
    CEQData data;
    CEQControlPPSModule control(nullptr);
    control.AttachData(&data);
    const std::size_t colon = line.find(':');
    const std::size_t second = line.find(':', colon + 1);
    std::string name = line.substr(0, colon);
    std::string encoding = line.substr(colon + 1, second - colon - 1);
    const std::string value = line.substr(second + 1);
    std::string text;
    std::vector<unsigned char> payload;
    const CountedAllocations counted(state);
    for ([[maybe_unused]] auto _ : state) {
        text = value;
        pps_attrib_t attribute{};
        attribute.attr_name = name.data();
        attribute.encoding = encoding.data();
        attribute.value = text.data();
        unsigned char id = 0;
        bool isKey = false;
        benchmark::DoNotOptimize(control.OnPPSCmd(&attribute, id, isKey, payload));
    }
}

void ParseJson(benchmark::State& state) {
    const std::string curve =
        R"({"type":"type_3","freqs":[0,5,7,11,12],"gain":[8,9,10,11,12],"q":[1.5,2.0,0.75,1.25,1.0]})";
    std::string text;
    const CountedAllocations counted(state);
    for ([[maybe_unused]] auto _ : state) {
        text = curve;
        pps_decoder_t decoder{};
        pps_decoder_initialize(&decoder, text.data());
        benchmark::DoNotOptimize(decoder.state);
        pps_decoder_cleanup(&decoder);
    }
}
BENCHMARK(ParseJson);

/// A benchmark for each record and each command, at the log level of a product.
const bool kRegistered = [] {
    ::setenv("TLG_SLOG_LEVEL", "0", 1);
    for (const RecordLayout& layout : kRecordLayouts) {
        benchmark::RegisterBenchmark((std::string("ReportToStore/") + layout.name).c_str(), ReportToStore, layout.type);
        benchmark::RegisterBenchmark((std::string("ReportAndUpdate/") + layout.name).c_str(), ReportAndUpdate,
                                     layout.type);
    }
    for (const chain::Kind& kind : chain::Kinds()) {
        if (*kind.first != '\0') {
            benchmark::RegisterBenchmark((std::string("CommandToRecord/") + kind.name).c_str(), CommandToRecord,
                                         std::string(kind.first));
        }
    }
    return true;
}();

} // namespace
