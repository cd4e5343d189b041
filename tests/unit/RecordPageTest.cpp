// docs/records.md has the tables of the records that the code has.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "model/RecordFields.h"

namespace {

std::string BitsText(const FieldBits& bits) {
    const int last = bits.first + bits.count - 1;
    return std::to_string(bits.first) + (bits.count == 1 ? "" : " to " + std::to_string(last));
}

std::string RangeText(const RecordField& field) {
    const FieldRange& range = field.range;
    const bool isEither = field.bits.count == 1;
    return std::to_string(range.min) + (isEither ? " or " : " to ") + std::to_string(range.max) +
           (range.isAllowedIn == nullptr ? "" : ", by band");
}

void AppendRow(std::string& text, const std::string& byte, const RecordField& field) {
    text += "| " + byte + " | " + BitsText(field.bits) + " | `" + field.name + "` | " + RangeText(field) + " | " +
            field.meaning + (field.bits.isVolume ? "; bit 7: change mark" : "") + " |\n";
}

std::string TableOf(const RecordLayout& layout) {
    std::string text = "### Record " + std::to_string(layout.type) + ": `" + layout.name +
                       "`\n\n| byte | bits | field | values | meaning |\n|---|---|---|---|---|\n";
    for (const RecordField& field : layout.fields) {
        AppendRow(text, std::to_string(field.byte), field);
    }
    const RepeatedEntries& entries = layout.entries;
    for (const RecordField& field : entries.fields) {
        AppendRow(text,
                  std::to_string(layout.FixedSize() + field.byte) + " + " + std::to_string(entries.EntrySize()) + "n",
                  field);
    }
    return text;
}

TEST(RecordPage, HasTheTablesOfTheCode) {
    std::ostringstream page;
    page << std::ifstream(TLG_SOURCE_DIR "/docs/records.md").rdbuf();
    for (const RecordLayout& layout : kRecordLayouts) {
        EXPECT_NE(page.str().find(TableOf(layout)), std::string::npos) << "it must be:\n\n" << TableOf(layout);
    }
}

} // namespace
