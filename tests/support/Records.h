// Records that tests begin with and change by the names of their fields.
#ifndef TLG_TESTS_SUPPORT_RECORDS_H
#define TLG_TESTS_SUPPORT_RECORDS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "tools/mculink/Record.h"

using mculink::Record;

/// Each field has a value of its own.
inline Record VolumeAndFade() {
    Record record(VOLUME_AND_FADE_BALANCE);
    record.With("ic", 1).With("main", 10).With("max", 40).With("navi", 20).With("call", 15).With("voice", 8);
    record.With("max_power", 30).With("ff", 1).With("fr", 2).With("bl", 3).With("br", 4);
    return record.With("subwoofer_gain", 5).With("center_gain", 6).With("loud", 1);
}

/// Flat curves, each band at the lowest frequency that it may have.
inline Record Curves(int types = kEqTypeCount) {
    Record record(EQ);
    for (int entry = 0; entry < types * kEqBandCount; ++entry) {
        record.Add({0, EQ_BAND_FC_MIN[entry % kEqBandCount], 1});
    }
    return record;
}

/// A record as a case writes it: the name of its layout, then in any order NAME=VALUE, NAME* for a change mark, ID:GAIN
/// for a source, types=N for that many curves, count=N, and cut=SIZE for what is left of the payload. What is not named
/// is as above, or 0.
inline Record RecordOf(const std::string& text) {
    std::istringstream words(text);
    std::string name;
    words >> name;
    const auto* layout = std::find_if(std::begin(kRecordLayouts), std::end(kRecordLayouts),
                                      [&name](const RecordLayout& each) { return name == each.name; });
    EXPECT_NE(layout, std::end(kRecordLayouts)) << text;
    Record record = layout->type == VOLUME_AND_FADE_BALANCE ? VolumeAndFade() : Record(layout->type);
    for (std::string word; words >> word;) {
        const std::size_t mark = word.find_first_of("=:*");
        const std::string left = word.substr(0, mark);
        const int value = word[mark] == '*' ? 0 : std::stoi(word.substr(mark + 1));
        if (word[mark] == '*') {
            record.Marked(left);
        } else if (word[mark] == ':') {
            record.Add({std::stoi(left), value}).With("count", record.Get("count") + 1);
        } else if (left == "types") {
            record = Curves(value);
        } else if (left == "cut") {
            record.Cut(static_cast<std::size_t>(value));
        } else {
            record.With(left, value);
        }
    }
    return record;
}

#endif
