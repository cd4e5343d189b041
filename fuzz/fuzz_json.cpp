// JSON texts: what the decoder takes is what another parser takes, and all that the other one finds in a text can be
// read from it, every number as the double nearest to its text.
#include <rapidjson/reader.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/Require.h"
#include "tests/support/JsonDecoder.h"

namespace {

/// Reads a number, spelt in @p text; false where it is beyond all doubles.
bool CheckNumber(JsonDecoder& decoder, const std::string& text) {
    const double expected = std::strtod(text.c_str(), nullptr);
    const bool isInt = text.find_first_of(".eE") == std::string::npos && std::abs(expected + 0.5) <= 2147483647.5;
    const std::optional<int> integer = decoder.Int();
    Require(integer.has_value() == isInt && integer.value_or(0) == (isInt ? expected : 0));
    if (isInt) {
        return true;
    }
    const std::optional<double> number = decoder.Double();
    Require(number.has_value() == std::isfinite(expected));
    Require(!number || (*number == expected && std::signbit(*number) == std::signbit(expected)));
    return number.has_value();
}

/// Reads from the decoder what the other parser finds. There is no way past some elements (such as null): what follows
/// them in their container is passed over.
class Follower : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Follower> {
public:
    explicit Follower(JsonDecoder& decoder) : m_decoder(decoder) {}

    bool Default() { return Pass(false); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool /*copy*/) {
        return m_passedOver > 0 || Pass(CheckNumber(m_decoder, {text, length}));
    }
    bool String(const char* text, rapidjson::SizeType length, bool /*copy*/) {
        if (m_passedOver > 0) {
            return true;
        }
        const std::optional<std::string> read = m_decoder.String();
        const bool isWhole = std::memchr(text, 0, length) == nullptr;
        Require(isWhole ? read == std::string(text, length) : !read);
        return Pass(isWhole);
    }
    bool Key(const char* /*text*/, rapidjson::SizeType /*length*/, bool /*copy*/) { return true; }
    bool StartObject() { return Enter(PPS_TYPE_OBJECT); }
    bool StartArray() { return Enter(PPS_TYPE_ARRAY); }
    bool EndObject(rapidjson::SizeType /*count*/) { return Leave(); }
    bool EndArray(rapidjson::SizeType /*count*/) { return Leave(); }

private:
    bool Pass(bool isPassed) {
        m_passedOver += m_passedOver == 0 && !isPassed ? 1 : 0;
        return true;
    }
    bool Enter(pps_node_type_t type) {
        if (m_passedOver > 0) {
            ++m_passedOver;
        } else {
            Require(m_decoder.Type() == type && m_decoder.Push());
        }
        return true;
    }
    bool Leave() {
        Require(m_passedOver > 0 || m_decoder.Type() == PPS_TYPE_NONE);
        m_passedOver -= m_passedOver > 0 ? 1 : 0;
        Require(m_passedOver > 0 || m_decoder.Pop());
        return true;
    }

    JsonDecoder& m_decoder;
    int m_passedOver = 0; // how many containers within one another
};

/// What the other parser makes of a text. It takes lone low surrogates, and refuses some numbers with many digits.
template <typename Handler>
rapidjson::ParseResult OtherVerdict(const std::string& text, Handler handler) {
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
    rapidjson::Reader reader;
    rapidjson::StringStream stream(text.c_str());
    return reader.Parse<kFlags>(stream, handler);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(data, std::find(data, data + size, std::uint8_t{0}));
    JsonDecoder decoder(text);
    if (decoder.IsParsed()) {
        rapidjson::ParseResult verdict = OtherVerdict(text, Follower(decoder));
        for (int refused = 0; verdict.IsError() && refused < 16; ++refused) {
            // The number is read alone, and the rest of the text with another one in its place.
            Require(verdict.Code() == rapidjson::kParseErrorNumberTooBig);
            const std::size_t end = text.find_first_not_of("+-.0123456789eE", verdict.Offset());
            const std::string number = text.substr(verdict.Offset(), end - verdict.Offset());
            JsonDecoder alone(number);
            CheckNumber(alone, number);
            text.replace(verdict.Offset(), number.size(), "0");
            JsonDecoder others(text);
            verdict = OtherVerdict(text, Follower(others));
        }
        return 0;
    }
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const bool mayHoldSurrogate = text.find("\\ud") != std::string::npos || text.find("\\uD") != std::string::npos;
    Require(OtherVerdict(text, rapidjson::BaseReaderHandler<>()).IsError() || !isPlain || mayHoldSurrogate);
    return 0;
}
