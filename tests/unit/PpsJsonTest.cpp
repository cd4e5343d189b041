#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "tests/support/Cases.h"
#include "tests/support/JsonDecoder.h"

namespace {

TEST(Decoder, RefusesWhatIsNoJson) {
    EXPECT_FALSE(JsonDecoder("").IsParsed());
    for (const std::vector<std::string>& row : Cases("no_json.txt")) {
        EXPECT_FALSE(JsonDecoder(row[0]).IsParsed()) << row.back();
    }
    EXPECT_TRUE(JsonDecoder("\"\xC2\x80\xDF\xBF\xE0\xA0\x80\xE0\xBF\xBF\xE1\x80\x80\xEC\xBF\xBF\xED\x80\x80\xED\x9F\xBF"
                            "\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF0\xBF\xBF\xBF\xF1\x80\x80\x80\xF3\xBF\xBF\xBF"
                            "\xF4\x80\x80\x80\xF4\x8F\xBF\xBF\"")
                    .IsParsed())
        << "the first and last characters of each form";
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
    const std::string fronts(kLevels, '[');
    EXPECT_FALSE(JsonDecoder(fronts + "-7").IsParsed());
    JsonDecoder deep(fronts + "-7" + std::string(kLevels, ']'));
    for (int i = 0; i < kLevels; ++i) {
        deep.Push();
    }
    EXPECT_EQ(deep.Int(), -7);
}

using Step = void (*)(pps_encoder_t* encoder, const char* name, const std::string& value);

/// The steps of the cases, by their first character.
const std::map<std::string, Step> kSteps = {
    {"{", [](auto* encoder, auto* name, auto& /*value*/) { pps_encoder_start_object(encoder, name); }},
    {"[", [](auto* encoder, auto* name, auto& /*value*/) { pps_encoder_start_array(encoder, name); }},
    {"}", [](auto* encoder, auto* /*name*/, auto& /*value*/) { pps_encoder_end_object(encoder); }},
    {"]", [](auto* encoder, auto* /*name*/, auto& /*value*/) { pps_encoder_end_array(encoder); }},
    {"n", [](auto* encoder, auto* name, auto& value) { pps_encoder_add_int(encoder, name, std::stoi(value)); }},
    {"d", [](auto* encoder, auto* name, auto& value) { pps_encoder_add_double(encoder, name, std::stod(value)); }},
    {"b", [](auto* encoder, auto* name, auto& value) { pps_encoder_add_bool(encoder, name, value == "1"); }},
    {"s", [](auto* encoder, auto* name, auto& value) { pps_encoder_add_string(encoder, name, value.c_str()); }}};

TEST(Encoder, GivesTheTextsOfTheCases) {
    for (const std::vector<std::string>& row : Cases("pps_encoder.txt")) {
        pps_encoder_t encoder{};
        pps_encoder_initialize(&encoder, row[2] == "json");
        std::istringstream steps(row[0]);
        for (std::string step; std::getline(steps >> std::ws, step, ';');) {
            std::istringstream words(step);
            std::string kind;
            std::string name;
            std::string value;
            words >> kind >> name;
            std::getline(words >> std::ws, value, '\0');
            kSteps.at(kind)(&encoder, name == "-" ? nullptr : name.c_str(), value);
        }
        const char* text = pps_encoder_buffer(&encoder);
        EXPECT_STREQ(text == nullptr ? "(null)" : text, row[1].c_str()) << row.back();
        EXPECT_TRUE(text == nullptr || pps_encoder_length(&encoder) == static_cast<int>(row[1].size())) << row.back();
        pps_encoder_cleanup(&encoder);
    }
}

} // namespace
