#include <gtest/gtest.h>
#include <sys/pps.h>

#include <string>

namespace {

/// A decoder over a text of its own.
class Decoder {
public:
    explicit Decoder(std::string text) : m_text(std::move(text)) {
        pps_decoder_initialize(&m_decoder, nullptr);
        m_parsed = pps_decoder_parse_json_str(&m_decoder, m_text.data());
    }
    ~Decoder() { pps_decoder_cleanup(&m_decoder); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    pps_decoder_t* operator&() { return &m_decoder; } // NOLINT: reads like the library's own use
    pps_decoder_error_t Parsed() const { return m_parsed; }

private:
    std::string m_text;
    pps_decoder_t m_decoder{};
    pps_decoder_error_t m_parsed;
};

TEST(Decoder, RefusesWhatIsNoJson) {
    for (const char* text : {"", " ", "{", "{\"a\":}", "{'a':1}", "{\"a\":1,}", "[1,]", "{\"a\":01}", "{\"a\":+1}",
                             "{\"a\":1} x", "nul", "{\"a\":\"\xC3\"}", "{\"a\":\"\xC0\x80\"}", "{\"a\":\"\\ud800\"}",
                             "{\"a\":\"\x01\"}", "{\"a\":1e999}", "\"\xF2\xAA", "\xED\xA0\x80"}) {
        EXPECT_NE(Decoder(text).Parsed(), PPS_DECODER_OK) << text;
    }
    EXPECT_EQ(Decoder("{\"\xC3\xA4\":\"\xF0\x9F\x8E\xB5\"}").Parsed(), PPS_DECODER_OK);
}

TEST(Decoder, TakesNumbersOfAnyLength) {
    const std::string zeros(350, '0');
    const std::pair<std::string, double> numbers[] = {{"1.111111111111111111111111e-349", 0.0},
                                                      {"0." + zeros + "1", 0.0},
                                                      {"0.1111111111111111111111111111111111111111e-360", 0.0},
                                                      {"1.2500000000000000000000000000000", 1.25},
                                                      {"0.125e1", 1.25},
                                                      {"7500e-4", 0.75},
                                                      {"0.75" + zeros, 0.75}};
    for (const auto& [text, expected] : numbers) {
        Decoder decoder("[" + text + "]");
        pps_decoder_push(&decoder, nullptr);
        double value = -1;
        EXPECT_EQ(pps_decoder_get_double(&decoder, nullptr, &value), PPS_DECODER_OK) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(Decoder, ReadsOnlyExactIntegers) {
    Decoder decoder(R"({"a":1.0,"b":1e0,"c":2147483648,"d":-2147483648,"e":"1","f":true,"g":7,"g":8,"h":1.5,"i":3})");
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
    using Build = void (*)(pps_encoder_t*);
    for (const Build build :
         {Build([](pps_encoder_t* e) { pps_encoder_start_object(e, "@o"); }),
          Build([](pps_encoder_t* e) { pps_encoder_end_object(e); }),
          Build([](pps_encoder_t* e) { pps_encoder_start_array(e, "@o"); }),
          Build([](pps_encoder_t* e) { pps_encoder_add_int(e, "a", 1); }), Build([](pps_encoder_t* e) {
              pps_encoder_start_object(e, "@o");
              pps_encoder_add_int(e, nullptr, 1);
              pps_encoder_end_object(e);
          }),
          Build([](pps_encoder_t* e) {
              pps_encoder_start_object(e, "@o");
              pps_encoder_start_object(e, "a");
              pps_encoder_add_string(e, "s", "\xFF");
              pps_encoder_end_object(e);
              pps_encoder_end_object(e);
          }),
          Build([](pps_encoder_t* e) {
              pps_encoder_start_object(e, "@o");
              pps_encoder_add_double(e, "d", 0.0 / 0.0);
              pps_encoder_end_object(e);
          }),
          Build([](pps_encoder_t* e) {
              pps_encoder_start_object(e, "@o");
              pps_encoder_end_object(e);
              pps_encoder_start_object(e, "@o");
              pps_encoder_end_object(e);
          })}) {
        EXPECT_EQ(Encoded(build), "(null)");
    }
}

} // namespace
