// The configuration file: numbers in a text, and the volume scheme in a file with any content.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/Require.h"
#include "service/ConfigurationFile.h"

namespace {

std::filesystem::path g_root;

void CheckNumbers(const std::string& text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::vector<unsigned int> expected;
    for (auto begin = std::find_if(text.begin(), text.end(), isDigit); begin != text.end();) {
        const auto end = std::find_if_not(begin, text.end(), isDigit);
        // From the right, unlike the code itself.
        std::uint32_t number = 0;
        std::uint32_t place = 1;
        for (auto digit = end; digit != begin; place *= 10) {
            number += static_cast<std::uint32_t>(*--digit - '0') * place;
        }
        expected.push_back(number);
        begin = std::find_if(end, text.end(), isDigit);
    }
    Require(ConfigurationFile::GetIntFromStr(text) == expected);
}

int SchemeOf(const std::string& text) {
    std::ofstream(g_root / "zoapps/etc/volume.conf", std::ios::binary) << text;
    return ConfigurationFile::ReadVolumeScheme();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    std::string name = std::filesystem::temp_directory_path() / "fuzz_scheme.XXXXXX";
    g_root = ::mkdtemp(name.data());
    std::filesystem::create_directories(g_root / "zoapps/etc");
    std::atexit([] { std::filesystem::remove_all(g_root); });
    ::setenv("TLG_ROOT", g_root.c_str(), 1);
    return ::setenv("TLG_SLOG_LEVEL", "0", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckNumbers(text);

    const int scheme = SchemeOf(text);
    const std::string seen = text.substr(0, std::min<std::size_t>(text.find('\0'), 1022));
    const std::size_t entry = seen.find("scheme=");
    Require(scheme == 0 || scheme == 1);
    if (scheme == 1) {
        Require(entry != std::string::npos && !ConfigurationFile::GetIntFromStr(seen.substr(entry)).empty());
    }
    // The usual entry, whatever follows it.
    Require(SchemeOf("scheme=1;" + text) == 1);
    Require(SchemeOf("scheme=0;" + text) == 0);
    return 0;
}
