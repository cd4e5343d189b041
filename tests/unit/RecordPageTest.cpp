// docs/records.md and the Wireshark dissector have the tables of the records that the code has.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "model/RecordFields.h"
#include "tools/mculink/PacketFields.h"

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

std::string ContentOf(const std::string& name) {
    std::ostringstream content;
    content << std::ifstream(TLG_SOURCE_DIR "/" + name).rdbuf();
    return content.str();
}

TEST(RecordPage, HasTheTablesOfTheCode) {
    const std::string page = ContentOf("docs/records.md");
    for (const RecordLayout& layout : kRecordLayouts) {
        EXPECT_NE(page.find(TableOf(layout)), std::string::npos) << "it must be:\n\n" << TableOf(layout);
    }
}

std::string LuaFields(const FieldList& fields) {
    std::string text;
    for (const RecordField& field : fields) {
        std::ostringstream row;
        row << (text.empty() ? "" : ", ") << "{ \"" << field.name << "\", " << field.byte << ", " << field.bits.first
            << ", " << field.bits.count << ", " << field.bits.unit << (field.bits.isVolume ? ", true }" : " }");
        text += row.str();
    }
    return "{ " + text + " }";
}

TEST(Dissector, HasTheTablesOfTheCode) {
    const std::string script = ContentOf("tools/wireshark/melvane.lua");
    std::ostringstream records;
    records << "local records = {\n";
    for (const RecordLayout& layout : kRecordLayouts) {
        records << "    [" << static_cast<int>(layout.type) << "] = { \"" << layout.name << "\", "
                << LuaFields(layout.fields);
        if (!layout.entries.fields.IsEmpty()) {
            records << ", " << LuaFields(layout.entries.fields) << ", " << layout.entries.perGroup;
        }
        records << " },\n";
    }
    records << "}\n";
    EXPECT_NE(script.find(records.str()), std::string::npos) << "it must have:\n\n" << records.str();
    std::ostringstream commands;
    commands << "local commands = {\n";
    for (int id = 0; id < 256; ++id) {
        mculink::Packet packet;
        packet.header.Cmd = id;
        packet.payload = {static_cast<std::uint8_t>(id), 0, 6, 0, 0};
        const mculink::PacketFields fields = mculink::FieldsOf(packet);
        if (fields.command == "unknown") {
            continue;
        }
        commands << "    [" << id << "] = { \"" << fields.command << "\", "
                 << (fields.record.empty() ? "false, {" : "true, {");
        for (const mculink::NamedField& field : fields.fields) {
            commands << (&field == &fields.fields.front() ? " \"" : ", \"") << field.name << "\"";
        }
        commands << (fields.fields.empty() ? "} },\n" : " } },\n");
    }
    commands << "}\n";
    EXPECT_NE(script.find(commands.str()), std::string::npos) << "it must have:\n\n" << commands.str();
}

} // namespace
