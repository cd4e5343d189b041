// Decoding a report of the MCU, and turning a command into a payload, without any input or output. The floors are
// copying the packet, and parsing the command's JSON without using it.
#include <benchmark/benchmark.h>
#include <sys/pps.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "control/CEQControlPPSModule.h"
#include "mcu/CEQMcuFile.h"
#include "tools/mcusim/Settings.h"

namespace {

void DecodeReport(benchmark::State& state, int group) {
    ::setenv("TLG_SLOG_LEVEL", "0", 1);
    CEQData data;
    CEQMcuFile link(nullptr);
    link.AttachData(&data);
    mculink::Bytes packet = mculink::MakePacket(mcusim::Settings().Answer(group), 0);
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(link.ProcessDataPacket(packet.data(), static_cast<int>(packet.size())));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(packet.size()));
}
BENCHMARK_CAPTURE(DecodeReport, volume_and_fade, 0);
BENCHMARK_CAPTURE(DecodeReport, equaliser, 1);

void CopyPacket(benchmark::State& state) {
    mculink::Bytes packet = mculink::MakePacket(mcusim::Settings().Answer(1), 0);
    mculink::Bytes copy(packet.size());
    for ([[maybe_unused]] auto _ : state) {
        std::memcpy(copy.data(), packet.data(), packet.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(packet.size()));
}
BENCHMARK(CopyPacket);

const std::string kCurve =
    R"({"type":"type_3","freqs":[0,5,7,11,12],"gain":[8,9,10,11,12],"q":[1.5,2.0,0.75,1.25,1.0]})";

void HandleCommand(benchmark::State& state, std::string name, const std::string& value, std::string encoding) {
    ::setenv("TLG_SLOG_LEVEL", "0", 1);
    CEQData data;
    CEQControlPPSModule control(nullptr);
    control.AttachData(&data);
    std::string text;
    std::vector<unsigned char> payload;
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
BENCHMARK_CAPTURE(HandleCommand, zovolume, "zovolume", "1", "");
BENCHMARK_CAPTURE(HandleCommand, zoeqtype, "zoeqtype", kCurve, "json");

void ParseJson(benchmark::State& state) {
    std::string text;
    for ([[maybe_unused]] auto _ : state) {
        text = kCurve;
        pps_decoder_t decoder{};
        pps_decoder_initialize(&decoder, text.data());
        benchmark::DoNotOptimize(decoder.state);
        pps_decoder_cleanup(&decoder);
    }
}
BENCHMARK(ParseJson);

} // namespace
