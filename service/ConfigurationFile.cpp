#include "service/ConfigurationFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "framework/LogBase.h"
#include "platform/posix/UniqueFd.h"

namespace {

constexpr const char* kPath = "/zoapps/etc/volume.conf";
const std::string SCHEME_BEGIN = "scheme=";
const std::string SCHEME_END = ";";

} // namespace

bool ConfigurationFile::ReadFile(const std::string& path, char* buffer, int size) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY));
    if (!file) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "open fail\n");
        return false;
    }
    std::memset(buffer, 0, static_cast<std::size_t>(size));
    if (::read(file.Get(), buffer, static_cast<std::size_t>(size) - 1) == 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "read 0\n");
        return false;
    }
    return true;
}

std::vector<unsigned int> ConfigurationFile::GetIntFromStr(const std::string& text) {
    std::vector<unsigned int> numbers;
    bool inNumber = false;
    for (const char c : text) {
        const bool isDigit = c >= '0' && c <= '9';
        if (isDigit && !inNumber) {
            numbers.push_back(0);
        }
        if (isDigit) {
            numbers.back() = numbers.back() * 10U + static_cast<unsigned int>(c - '0');
        }
        inNumber = isDigit;
    }
    return numbers;
}

int ConfigurationFile::ReadVolumeScheme() {
    // The parser sees this many bytes at most, although the buffer would hold one more.
    constexpr int kReadSize = 1023;
    std::array<char, 1024> buffer{};
    if (!ReadFile(kPath, buffer.data(), kReadSize)) {
        return 0;
    }
    const std::string text = buffer.data();
    const std::size_t begin = text.find(SCHEME_BEGIN);
    if (begin == std::string::npos) {
        return 0;
    }
    // The end mark is looked for from the start of the text, and its position serves as a length: enough
    // for the usual entry, and nothing at all where there is no end mark (npos + 1 is 0).
    const std::size_t length = text.find(SCHEME_END) + 1;
    const std::vector<unsigned int> numbers = GetIntFromStr(text.substr(begin + SCHEME_BEGIN.size(), length));
    return numbers.empty() || numbers.front() > 1 ? 0 : static_cast<int>(numbers.front());
}
