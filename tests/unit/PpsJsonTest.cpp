#include <gtest/gtest.h>
#include <sys/pps.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

/// A decoder over a text of its own, in a block of just its size.
class Decoder {
public:
    explicit Decoder(const std::string& text) : m_text(text.c_str(), text.c_str() + text.size() + 1) {
        pps_decoder_initialize(&m_decoder, nullptr);
        m_parsed = pps_decoder_parse_json_str(&m_decoder, m_text.data());
    }
    ~Decoder() { pps_decoder_cleanup(&m_decoder); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    pps_decoder_t* operator&() { return &m_decoder; } // NOLINT: reads like the library's own use
    pps_decoder_error_t Parsed() const { return m_parsed; }

private:
    std::vector<char> m_text;
    pps_decoder_t m_decoder{};
    pps_decoder_error_t m_parsed;
};

TEST(Decoder, RefusesWhatIsNoJson) {
    for (const char* text :
         {"", " ", "{", "{\"a\":}", "{'a':1}", "{\"a\":1,}", "[1,]", "{\"a\":1} x", "nul", "\"\\", "\"\\u12",
          // numbers
          "01", "+1", "-", ".5", "1.", "1.e5", "1e", "1e+", "0x1", "1 2", "1-2", "--1", "1e5.5", "NaN", "-Infinity",
          // bytes that are no UTF-8
          "{\"a\":\"\xC3\"}", "{\"a\":\"\xC0\x80\"}", "\"\xF2\xAA", "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"",
          "{\"a\":\"\x01\"}", "\xC3\xA4",
          // lone surrogates, high and low, and a pair the wrong way round
          R"("\ud800")", R"("\uDBFF\n")", R"("\ud800\u0041")", R"("\uD800\uD800")", R"("\udc00")", R"("a\uDFFF")",
          R"("\udc00\ud800")", R"("\udc00\udc00")", R"("\ud83c\udfb5\udfb5")", R"({"\uDC00":1})", R"({"\uD800":1})",
          R"("\ud83c\\udfb5")"}) {
        EXPECT_EQ(Decoder(text).Parsed(), PPS_DECODER_PARSE_ERROR) << text;
    }
    Decoder decoder("{\"\xC3\xA4\\ud83c\\udfb5\":\"\xF0\x9F\x8E\xB5 1 \\\" -2 \\\\\"}");
    pps_decoder_push(&decoder, nullptr);
    const char* text = nullptr;
    EXPECT_EQ(pps_decoder_get_string(&decoder, "\xC3\xA4\xF0\x9F\x8E\xB5", &text), PPS_DECODER_OK);
    EXPECT_STREQ(text, "\xF0\x9F\x8E\xB5 1 \" -2 \\");
}

// That each number is the double nearest to its text is what the corpus of the JSON fuzzer checks.
TEST(Decoder, ReadsOnlyExactIntegers) {
    Decoder decoder(R"({"a":1.0,"b":1e0,"c":2147483648,"d":-2147483648,"e":"1","f":true,"g":7,"g":8,"h":-0,"i":3})");
    pps_decoder_push(&decoder, nullptr);
    for (const char* name : {"a", "b", "c", "e", "f", "missing"}) {
        int value = -1;
        EXPECT_NE(pps_decoder_get_int(&decoder, name, &value), PPS_DECODER_OK) << name;
        EXPECT_EQ(value, -1) << name;
    }
    EXPECT_EQ(pps_decoder_status(&decoder, true), PPS_DECODER_BAD_TYPE) << "the first error counts";
    int value = 0;
    EXPECT_EQ(pps_decoder_get_int(&decoder, "d", &value), PPS_DECODER_OK);
    EXPECT_EQ(value, -2147483647 - 1);
    EXPECT_EQ(pps_decoder_get_int(&decoder, "g", &value), PPS_DECODER_OK);
    EXPECT_EQ(value, 7) << "of duplicate keys the first counts";
    EXPECT_EQ(pps_decoder_get_int(&decoder, "h", &value), PPS_DECODER_OK);
    EXPECT_EQ(value, 0);
    double number = 0;
    EXPECT_EQ(pps_decoder_get_double(&decoder, "i", &number), PPS_DECODER_OK);
    EXPECT_EQ(number, 3.0);
    EXPECT_EQ(pps_decoder_status(&decoder, false), PPS_DECODER_OK);
}

TEST(Decoder, WalksArraysAndKeepsItsPositionOnErrors) {
    Decoder decoder(R"({"list":["a","b"],"next":5})");
    pps_decoder_push(&decoder, nullptr);
    EXPECT_EQ(pps_decoder_push(&decoder, "list"), PPS_DECODER_OK);
    EXPECT_EQ(pps_decoder_length(&decoder), 2);
    const char* text = nullptr;
    int value = 0;
    EXPECT_EQ(pps_decoder_get_int(&decoder, nullptr, &value), PPS_DECODER_BAD_TYPE);
    EXPECT_EQ(pps_decoder_get_string(&decoder, nullptr, &text), PPS_DECODER_OK);
    EXPECT_STREQ(text, "a");
    EXPECT_EQ(pps_decoder_push(&decoder, "inner"), PPS_DECODER_NOT_FOUND);
    EXPECT_EQ(pps_decoder_pop(&decoder), PPS_DECODER_OK) << "belongs to the push that failed";
    EXPECT_EQ(pps_decoder_get_string(&decoder, nullptr, &text), PPS_DECODER_OK);
    EXPECT_STREQ(text, "b");
    EXPECT_EQ(pps_decoder_get_string(&decoder, nullptr, &text), PPS_DECODER_NOT_FOUND);
    EXPECT_EQ(pps_decoder_type(&decoder, nullptr), PPS_TYPE_NONE);
    pps_decoder_pop(&decoder);
    EXPECT_EQ(pps_decoder_get_int(&decoder, nullptr, &value), PPS_DECODER_OK) << "a pop moves to the next element";
    EXPECT_EQ(value, 5);
}

TEST(Decoder, TakesDeepNestingAndEscapedZeros) {
    const std::size_t depth = 1000000;
    EXPECT_EQ(Decoder(std::string(depth, '[') + std::string(depth, ']')).Parsed(), PPS_DECODER_OK);
    EXPECT_NE(Decoder(std::string(depth, '[')).Parsed(), PPS_DECODER_OK);
    constexpr int kLevels = 100000;
    std::string fronts;
    for (int i = 0; i < kLevels; ++i) {
        fronts += "{\"a\":";
    }
    Decoder deep(fronts + "-7" + std::string(kLevels, '}'));
    for (int i = 0; i < kLevels; ++i) {
        pps_decoder_push(&deep, nullptr);
    }
    int value = 0;
    EXPECT_EQ(pps_decoder_get_int(&deep, "a", &value), PPS_DECODER_OK);
    EXPECT_EQ(value, -7);
    Decoder decoder(R"({"a":"on\u0000off"})");
    pps_decoder_push(&decoder, nullptr);
    const char* text = nullptr;
    EXPECT_EQ(pps_decoder_get_string(&decoder, "a", &text), PPS_DECODER_BAD_TYPE);
}

/// The text that @p build gives in PPS mode; "(null)" where there is none.
template <typename Build>
std::string Encoded(Build build, bool json = false) {
    pps_encoder_t encoder{};
    pps_encoder_initialize(&encoder, json);
    build(&encoder);
    const char* buffer = pps_encoder_buffer(&encoder);
    std::string text =
        buffer == nullptr ? "(null)" : std::string(buffer, static_cast<std::size_t>(pps_encoder_length(&encoder)));
    pps_encoder_cleanup(&encoder);
    return text;
}

TEST(Encoder, WritesOneLineForEachMemberOfTheObject) {
    EXPECT_EQ(Encoded([](pps_encoder_t* e) {
                  pps_encoder_start_object(e, "@status");
                  pps_encoder_add_int(e, "[n]i", -5);
                  pps_encoder_add_double(e, "d", 1);
                  pps_encoder_add_bool(e, "b", true);
                  pps_encoder_add_string(e, "s", "a:b");
                  pps_encoder_add_string(e, "lines", "a\nb");
                  pps_encoder_start_object(e, "o");
                  pps_encoder_start_array(e, "q");
                  for (const double value : {0.75, 2.0, 0.1, 1e30, -1.25}) {
                      pps_encoder_add_double(e, nullptr, value);
                  }
                  pps_encoder_end_array(e);
                  pps_encoder_add_string(e, "t", "\"\\");
                  pps_encoder_end_object(e);
                  pps_encoder_start_array(e, "empty");
                  pps_encoder_end_array(e);
                  pps_encoder_end_object(e);
              }),
              "@status\n[n]i:n:-5\nd:n:1.0\nb:b:true\ns::a:b\nlines:json:\"a\\nb\"\n"
              "o:json:{\"q\":[0.75,2.0,0.1,1e+30,-1.25],\"t\":\"\\\"\\\\\"}\nempty:json:[]\n");
    EXPECT_EQ(Encoded(
                  [](pps_encoder_t* e) {
                      pps_encoder_start_object(e, nullptr);
                      pps_encoder_add_int(e, "a", 1);
                      pps_encoder_end_object(e);
                  },
                  true),
              "{\"a\":1}");
}

TEST(Encoder, HasNoBufferAfterAnErrorOrWhileSomethingIsOpen) {
    const auto object = [](pps_encoder_t* e) { pps_encoder_start_object(e, "@o"); };
    const auto end = [](pps_encoder_t* e) { pps_encoder_end_object(e); };
    using Steps = std::vector<std::function<void(pps_encoder_t*)>>;
    const std::pair<const char*, Steps> cases[] = {
        {"an open object", {object}},
        {"an end without a start", {end}},
        {"an array outside", {[](auto* e) { pps_encoder_start_array(e, "@o"); }}},
        {"a member outside", {[](auto* e) { pps_encoder_add_int(e, "a", 1); }}},
        {"no name", {object, [](auto* e) { pps_encoder_add_int(e, nullptr, 1); }, end}},
        {"no UTF-8", {object, object, [](auto* e) { pps_encoder_add_string(e, "s", "\xFF"); }, end, end}},
        {"no number", {object, [](auto* e) { pps_encoder_add_double(e, "d", std::nan("")); }, end}},
        {"two objects", {object, end, object, end}},
    };
    for (const auto& [name, steps] : cases) {
        EXPECT_EQ(Encoded([&steps = steps](pps_encoder_t* e) {
                      for (const auto& step : steps) {
                          step(e);
                      }
                  }),
                  "(null)")
            << name;
    }
}

} // namespace
