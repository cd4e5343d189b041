// JSON texts: what the decoder takes is what another parser takes, every element can be read without leaving the text,
// and every number is the double nearest to its text.
#include <sys/pps.h>

#include <rapidjson/reader.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/Require.h"

namespace {

/// A decoder over a copy of a text, in a block of just its size.
class Decoder {
public:
    explicit Decoder(const std::string& text) : m_text(text.c_str(), text.c_str() + text.size() + 1) {
        pps_decoder_initialize(&m_decoder, nullptr);
        m_isParsed = pps_decoder_parse_json_str(&m_decoder, m_text.data()) == PPS_DECODER_OK;
    }
    ~Decoder() { pps_decoder_cleanup(&m_decoder); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    bool IsParsed() const { return m_isParsed; }
    pps_node_type_t Type() { return pps_decoder_type(&m_decoder, nullptr); }
    bool Push() { return pps_decoder_push(&m_decoder, nullptr) == PPS_DECODER_OK; }
    bool Pop() { return pps_decoder_pop(&m_decoder) == PPS_DECODER_OK; }

    /// Reads a number, spelt in @p text; false where it is beyond all doubles.
    bool CheckNumber(const std::string& text) {
        int integer = 0;
        const bool isInteger = pps_decoder_get_int(&m_decoder, nullptr, &integer) == PPS_DECODER_OK;
        const bool looksLikeOne = text.find_first_of(".eE") == std::string::npos;
        const double expected = std::strtod(text.c_str(), nullptr);
        Require(isInteger == (looksLikeOne && expected >= -2147483648.0 && expected <= 2147483647.0));
        if (isInteger) {
            Require(integer == expected);
            return true;
        }
        double number = 0;
        const bool isDouble = pps_decoder_get_double(&m_decoder, nullptr, &number) == PPS_DECODER_OK;
        Require(isDouble == std::isfinite(expected));
        Require(!isDouble || (number == expected && std::signbit(number) == std::signbit(expected)));
        return isDouble;
    }

    /// Reads a string; false where a zero in it makes that impossible.
    bool CheckString() {
        const char* text = nullptr;
        if (pps_decoder_get_string(&m_decoder, nullptr, &text) != PPS_DECODER_OK) {
            return false;
        }
        const std::string copy = text;
        Require(text >= m_text.data() && text + copy.size() < m_text.data() + m_text.size());
        for (std::size_t i = 0; i + 1 < copy.size(); ++i) {
            const bool isSurrogate = copy[i] == '\xED' && static_cast<unsigned char>(copy[i + 1]) > 0x9F;
            Require(!isSurrogate);
        }
        return true;
    }

private:
    std::vector<char> m_text;
    pps_decoder_t m_decoder{};
    bool m_isParsed;
};

/// The texts of the numbers of a JSON text, in order.
std::vector<std::string> NumbersOf(const std::string& json) {
    std::vector<std::string> numbers;
    for (std::size_t at = 0; at < json.size(); ++at) {
        if (json[at] == '"') {
            for (++at; json[at] != '"'; ++at) {
                at += json[at] == '\\' ? 1 : 0;
            }
        } else if (json[at] == '-' || std::isdigit(static_cast<unsigned char>(json[at])) != 0) {
            const std::size_t length = std::strspn(json.c_str() + at, "+-.0123456789eE");
            numbers.push_back(json.substr(at, length));
            at += length - 1;
        }
    }
    return numbers;
}

/// Reads all elements that can be reached. There is no way past some (such as null): they end their container, and
/// from there on it is not known which number is which.
void Walk(Decoder& decoder, const std::vector<std::string>& numbers) {
    auto number = numbers.begin();
    bool isComplete = true;
    std::size_t depth = 0;
    do {
        bool isPassed = false;
        switch (decoder.Type()) {
        case PPS_TYPE_OBJECT:
        case PPS_TYPE_ARRAY:
            Require(decoder.Push());
            ++depth;
            continue;
        case PPS_TYPE_NUMBER:
            Require(!isComplete || number != numbers.end());
            isPassed = isComplete && decoder.CheckNumber(*number++);
            break;
        case PPS_TYPE_STRING:
            isPassed = decoder.CheckString();
            break;
        default:
            break;
        }
        isComplete = isComplete && (isPassed || decoder.Type() == PPS_TYPE_NONE);
        if (!isPassed && depth > 0) {
            Require(decoder.Pop());
            --depth;
        }
    } while (depth > 0);
    Require(!isComplete || number == numbers.end());
}

/// What the other parser makes of a text. It takes lone low surrogates, and refuses some numbers with many digits.
rapidjson::ParseErrorCode OtherVerdict(const std::string& text) {
    rapidjson::Reader reader;
    rapidjson::StringStream stream(text.c_str());
    rapidjson::BaseReaderHandler<> ignore;
    return reader.Parse<rapidjson::kParseIterativeFlag>(stream, ignore).Code();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, std::find(data, data + size, std::uint8_t{0}));
    const rapidjson::ParseErrorCode verdict = OtherVerdict(text);
    Decoder decoder(text);
    if (decoder.IsParsed()) {
        Require(verdict == rapidjson::kParseErrorNone || verdict == rapidjson::kParseErrorNumberTooBig);
        const std::vector<std::string> numbers = NumbersOf(text);
        for (std::size_t i = 0; i < std::min<std::size_t>(numbers.size(), 16); ++i) {
            Decoder(numbers[i]).CheckNumber(numbers[i]);
        }
        Walk(decoder, numbers);
        return 0;
    }
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const bool mayHoldSurrogate = text.find("\\ud") != std::string::npos || text.find("\\uD") != std::string::npos;
    Require(verdict != rapidjson::kParseErrorNone || !isPlain || mayHoldSurrogate);
    return 0;
}
