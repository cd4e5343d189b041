// Runs a fuzz target on each file of the given directories once: the regression of what the fuzzers know, with any
// compiler. A target that finds a fault ends the program; the name of the file is printed before.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&argc, &argv);
    }
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        std::copy(std::filesystem::directory_iterator(argv[i]), {}, std::back_inserter(files));
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& path : files) {
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    }
    // An empty corpus would check nothing.
    return files.empty() ? 1 : 0;
}
