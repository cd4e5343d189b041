// PPS text as the service reads it, and as the server saves it. What is written into objects, and what subscribers
// get of it, is in the cases of the broker.
#include <gtest/gtest.h>
#include <sys/pps.h>

#include <sstream>

#include "tests/support/Cases.h"
#include "tools/ppsd/SavedObjects.h"

namespace {

TEST(Parser, GivesRecordsAndGoesOnAfterMalformedLines) {
    char text[] = "@object\n[n]a:json:{\"x\":\"y\"}\nbroken\nb::\n-c\n#@object\n|@object\n+@object\n-@object";
    const char* const objects[] = {"other", "object", nullptr};
    const char* const attributes[] = {"b", "c", nullptr};
    std::ostringstream records;
    char* rest = text;
    pps_attrib_t record{};
    for (pps_status_t status = PPS_OBJECT; status != PPS_END;) {
        status = ppsparse(&rest, objects, attributes, &record, 0);
        const bool isAttribute = record.attr_name != nullptr;
        const char* name = isAttribute ? record.attr_name : record.obj_name;
        records << record.line << ": " << status << " " << (name == nullptr ? "-" : name) << " "
                << (isAttribute ? record.attr_index : record.obj_index) << " "
                << (record.value == nullptr ? "-" : record.value) << " " << record.options << "\n";
    }
    // line: status, name, its index, value, options
    EXPECT_EQ(records.str(),
              "1: 1 object 1 - 0\n2: 5 a -1 {\"x\":\"y\"} 1\n3: -1 object 1 - 0\n4: 5 b 0  0\n5: 6 c 1 - 0\n"
              "6: 4 object 1 - 0\n7: 7 object 1 - 0\n8: 2 object 1 - 0\n9: 3 object 1 - 0\n"
              "9: 0 object 1 - 0\n");
}

TEST(SavedObjects, ComeBackAsTheyWereAndWhatIsBrokenIsPassedOver) {
    std::vector<std::vector<std::string>> cases = Cases("saved_objects.txt");
    const std::string many(100, '\n');
    cases.push_back({"/pps/h\n" + many, "", "/pps/h 7 8 666\n@h\n", "many broken lines"});
    for (int line = 2; line <= 51; ++line) {
        cases.back()[1] += "line " + std::to_string(line) + ": an empty write\n";
    }
    cases.back()[1] += "and 50 lines more\n";
    for (const std::vector<std::string>& row : cases) {
        SCOPED_TRACE(row.back());
        ppsd::Quota quota(ppsd::LimitsWith(4096), 0);
        ppsd::ObjectTree tree(quota);
        std::string complaints;
        ppsd::ObjectLoader loader(tree, {7, 8, 0666}, [&](std::string_view text) { complaints.append(text) += "\n"; });
        for (std::string_view text = row[0]; !text.empty();) {
            loader.LoadLine(pps::NextLine(text));
        }
        loader.Finish();
        EXPECT_EQ(complaints.empty() ? "none" : complaints, row[1]);
        std::string scratch;
        std::string saved;
        ppsd::SaveObjects(tree, scratch, [&](std::string_view part) { return !saved.append(part).empty(); });
        EXPECT_EQ(saved.empty() ? "none" : saved, row[2]);
    }
}

} // namespace
