#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "tests/support/JsonDecoder.h"

namespace {

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
        EXPECT_FALSE(JsonDecoder(text).IsParsed()) << text;
    }
}

// That each number is the double nearest to its text is what the corpus of the JSON fuzzer checks.
TEST(Decoder, FindsMembersByTheirWholeNameAndReadsExactIntegers) {
    JsonDecoder decoder(
        R"({"a":1.0,"b":1e0,"c":2147483648,"d":-2147483648,"e":"1","f":true,"g":7,"g":8,"h":-0,)"
        "\"ii\":1,\"i\":3,\"z\":\"on\\u0000off\",\"\xC3\xA4\\ud83c\\udfb5\":\"\xF0\x9F\x8E\xB5 1 \\\" \\\\\"}");
    ASSERT_TRUE(decoder.Push());
    const std::pair<const char*, std::optional<int>> cases[] = {{"a", {}}, {"b", {}}, {"c", {}}, {"e", {}},
                                                                {"f", {}}, {"j", {}}, {"i", 3},  {"d", INT32_MIN},
                                                                {"g", 7},  {"h", 0}};
    for (const auto& [name, value] : cases) {
        EXPECT_EQ(decoder.Int(name), value) << name;
    }
    EXPECT_EQ(pps_decoder_status(decoder.Get(), true), PPS_DECODER_BAD_TYPE) << "the first error counts";
    EXPECT_EQ(decoder.Double("i"), 3.0);
    EXPECT_EQ(decoder.String("\xC3\xA4\xF0\x9F\x8E\xB5"), "\xF0\x9F\x8E\xB5 1 \" \\");
    EXPECT_EQ(pps_decoder_status(decoder.Get(), false), PPS_DECODER_OK);
    EXPECT_EQ(decoder.String("z"), std::nullopt) << "it would be cut";
    decoder.Parse(R"({"again":1})");
    EXPECT_TRUE(decoder.Push()) << "the position is the new text's beginning";
    EXPECT_EQ(decoder.Int(), 1);
}

TEST(Decoder, WalksArraysAndKeepsItsPositionOnErrors) {
    JsonDecoder decoder(R"({"list":["a","b"],"next":5})");
    EXPECT_TRUE(decoder.Push());
    EXPECT_TRUE(decoder.Push("list"));
    EXPECT_EQ(pps_decoder_length(decoder.Get()), 2);
    EXPECT_EQ(decoder.Int(), std::nullopt);
    EXPECT_EQ(decoder.String(), "a");
    EXPECT_FALSE(decoder.Push("inner"));
    EXPECT_TRUE(decoder.Pop()) << "belongs to the push that failed";
    EXPECT_EQ(decoder.String(), "b");
    EXPECT_EQ(decoder.String(), std::nullopt);
    EXPECT_TRUE(decoder.Pop());
    EXPECT_EQ(decoder.Int(), 5) << "a pop moves to the next element";
}

TEST(Decoder, TakesDeepNesting) {
    constexpr int kLevels = 100000;
    std::string fronts;
    for (int i = 0; i < kLevels; ++i) {
        fronts += "{\"a\":";
    }
    EXPECT_FALSE(JsonDecoder(fronts + "-7").IsParsed());
    JsonDecoder deep(fronts + "-7" + std::string(kLevels, '}'));
    for (int i = 0; i < kLevels; ++i) {
        deep.Push();
    }
    EXPECT_EQ(deep.Int("a"), -7);
}

using Step = std::function<void(pps_encoder_t*)>;

/// The text that the steps give, one after another; "(null)" where there is none.
std::string Encoded(const std::vector<Step>& steps, bool json = false) {
    pps_encoder_t encoder{};
    pps_encoder_initialize(&encoder, json);
    for (const Step& step : steps) {
        step(&encoder);
    }
    const char* buffer = pps_encoder_buffer(&encoder);
    std::string text =
        buffer == nullptr ? "(null)" : std::string(buffer, static_cast<std::size_t>(pps_encoder_length(&encoder)));
    pps_encoder_cleanup(&encoder);
    return text;
}

TEST(Encoder, WritesOneLineForEachMemberOfTheObject) {
    const Step members = [](pps_encoder_t* e) {
        pps_encoder_start_object(e, "status");
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
    };
    EXPECT_EQ(Encoded({members}), "@status\n[n]i:n:-5\nd:n:1.0\nb:b:true\ns::a:b\nlines:json:\"a\\nb\"\n"
                                  "o:json:{\"q\":[0.75,2.0,0.1,1e+30,-1.25],\"t\":\"\\\"\\\\\"}\nempty:json:[]\n");
    EXPECT_EQ(Encoded({members}, true).substr(0, 20), "{\"[n]i\":-5,\"d\":1.0,\"");
}

TEST(Encoder, HasNoBufferAfterAnErrorOrWhileSomethingIsOpen) {
    const Step object = [](auto* e) { pps_encoder_start_object(e, "@o"); };
    const Step array = [](auto* e) { pps_encoder_start_array(e, "a"); };
    const Step member = [](auto* e) { pps_encoder_add_int(e, "a", 1); };
    const Step nameless = [](auto* e) { pps_encoder_add_int(e, nullptr, 1); };
    const Step noText = [](auto* e) { pps_encoder_add_string(e, "s", "\xFF"); };
    const Step noNumber = [](auto* e) { pps_encoder_add_double(e, "d", std::nan("")); };
    const Step end = [](auto* e) { pps_encoder_end_object(e); };
    EXPECT_EQ(Encoded({object, member, end}), "@o\na:n:1\n");
    for (const auto& steps : std::vector<std::vector<Step>>{{object},
                                                            {end},
                                                            {array},
                                                            {member},
                                                            {object, nameless, end},
                                                            {object, object, noText, end, end},
                                                            {object, array, end, end},
                                                            {object, noNumber, end},
                                                            {object, end, object, end}}) {
        EXPECT_EQ(Encoded(steps), "(null)") << "the row of " << steps.size() << " steps";
    }
}

} // namespace
