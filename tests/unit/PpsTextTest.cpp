#include <gtest/gtest.h>
#include <sys/pps.h>

#include "platform/pps/Line.h"
#include "platform/pps/Object.h"
#include "tools/ppsd/Backlog.h"
#include "tools/ppsd/SavedObjects.h"

namespace {

using namespace std::string_literals;

TEST(Object, RefusesMalformedWritesWhole) {
    const std::string most = "a::" + std::string(pps::kMaxWrite - 3, 'x');
    EXPECT_EQ(pps::Object("object").Apply(most).error, "");
    for (const std::string& bad :
         {""s, "a:b"s, "a"s, ":n:1"s, "1a:n:1"s, "a b:n:1"s, "[n:n:1"s, "[1]a:n:1"s, "-"s, "-a b"s, "@other\na:n:1"s,
          "a:n:1\n@object"s, "#@object"s, "a:n:1\n\nb:n:1"s, "good:n:1\n\n"s, "a:n:1\0b"s, most + "x"}) {
        pps::Object object("object");
        object.Apply("_kept.1:n:1");
        EXPECT_NE(object.Apply(bad).error, "") << bad.substr(0, 40);
        EXPECT_EQ(object.State(), "@object\n_kept.1:n:1\n") << bad.substr(0, 40);
    }
}

std::string PersistentStateOf(const pps::Object& object) {
    std::string text;
    object.AppendPersistentState(text);
    return text;
}

TEST(Object, KeepsOrderQualifiersAndColons) {
    pps::Object object("object");
    EXPECT_EQ(object.Apply("@object\n[n]a:json:{\"x\":1}\nb::one:two").error, "");
    EXPECT_EQ(object.Apply("a:n:2").changes, "[n]a:n:2\n");
    EXPECT_EQ(object.Apply("c::\n-b\n-unknown").changes, "c::\n-b\n");
    EXPECT_EQ(object.State(), "@object\n[n]a:n:2\nc::\n");
    EXPECT_EQ(PersistentStateOf(object), "@object\nc::\n");
    EXPECT_EQ(object.Apply("[-n]a:n:3\n-c\nc::").changes, "a:n:3\n-c\nc::\n");
    EXPECT_EQ(PersistentStateOf(object), "@object\na:n:3\nc::\n");
    EXPECT_EQ(object.Apply("a:n:1\na:n:1").changes, "a:n:1\na:n:1\n");
    object.Apply("[n]@object\na:n:4");
    EXPECT_EQ(object.State(), "[n]@object\na:n:4\nc::\n");
    EXPECT_EQ(PersistentStateOf(object), "");
}

TEST(Object, IsBoundedButRewritable) {
    pps::Object object("object");
    const std::string big(30000, 'x');
    for (const char* name : {"a", "b", "c", "d"}) {
        EXPECT_EQ(object.Apply(std::string(name) + "::" + big).error, "");
    }
    EXPECT_NE(object.Apply("e::" + big).error, "");
    EXPECT_EQ(object.Apply("d::" + big).error, "");
    EXPECT_EQ(object.Apply("-a\ne::" + big).error, "");
    EXPECT_EQ(object.Apply("e::" + big).error, "") << "what was deleted takes no room";
    EXPECT_EQ(object.Apply("e::x", 0).error, "") << "a smaller object needs no room";
    EXPECT_NE(object.Apply("e::xx", 0).error, "");
}

TEST(Parser, GivesRecordsAndGoesOnAfterMalformedLines) {
    char text[] = "@object\n[n]a:json:{\"x\":\"y\"}\nbroken\nb::\n-c\n#@object\n|@object\n+@object\n-@object";
    const char* const objects[] = {"other", "object", nullptr};
    const char* const attributes[] = {"b", "c", nullptr};
    const struct {
        pps_status_t status;
        const char* name;
        int index;
        const char* value;
        int options;
    } records[] = {{PPS_OBJECT, "object", 1, nullptr, 0},
                   {PPS_ATTRIBUTE, "a", -1, "{\"x\":\"y\"}", PPS_NOPERSIST},
                   {PPS_ERROR, nullptr, -1, nullptr, 0},
                   {PPS_ATTRIBUTE, "b", 0, "", 0},
                   {PPS_ATTRIBUTE_DELETED, "c", 1, nullptr, 0},
                   {PPS_OBJECT_TRUNCATED, "object", 1, nullptr, 0},
                   {PPS_OBJECT_OVERFLOWED, "object", 1, nullptr, 0},
                   {PPS_OBJECT_CREATED, "object", 1, nullptr, 0},
                   {PPS_OBJECT_DELETED, "object", 1, nullptr, 0}};
    char* rest = text;
    pps_attrib_t record{};
    for (const auto& expected : records) {
        EXPECT_EQ(ppsparse(&rest, objects, attributes, &record, 0), expected.status);
        const bool isAttribute = record.attr_name != nullptr;
        EXPECT_STREQ(isAttribute || expected.name == nullptr ? record.attr_name : record.obj_name, expected.name);
        EXPECT_EQ(isAttribute || expected.name == nullptr ? record.attr_index : record.obj_index, expected.index);
        EXPECT_STREQ(record.value, expected.value);
        EXPECT_EQ(record.options, expected.options);
    }
    EXPECT_EQ(record.line, 9);
    EXPECT_EQ(ppsparse(&rest, nullptr, nullptr, &record, 0), PPS_END);
}

/// A subscriber's backlog and the object that it is about.
struct BacklogTest : testing::Test {
    /// Writes into the object and hands the change to the backlog, as the server does.
    void Publish(const std::string& text) { Add(object.Head() + object.Apply(text).changes); }
    void Add(const std::string& group) { backlog.Add(std::make_shared<const std::string>(group)); }
    /// More than is kept as it is.
    void PublishMuch() {
        for (int i = 0; i < 20; ++i) {
            Publish("b::" + std::to_string(i) + big);
        }
    }
    std::string Next() {
        std::string scratch;
        std::string next(backlog.Next(object, scratch));
        backlog.Taken();
        return next;
    }

    const std::string big = std::string(20000, 'x');
    pps::Object object{"object"};
    ppsd::Backlog backlog;
};

TEST_F(BacklogTest, MergesToTheNewestValuesPastItsBound) {
    Publish("a:n:1\ngone:n:1");
    EXPECT_EQ(Next(), "@object\na:n:1\ngone:n:1\n");
    PublishMuch();
    Publish("a:n:2\n-gone");
    EXPECT_EQ(Next(), "|@object\nb::19" + big + "\na:n:2\n-gone\n");
    EXPECT_TRUE(backlog.Empty());
    Publish("a:n:3");
    EXPECT_EQ(Next(), "@object\na:n:3\n");
}

TEST_F(BacklogTest, KeepsADeletionInMind) {
    PublishMuch();
    object.Truncate();
    Add(object.Head("-"));
    EXPECT_EQ(Next(), "-@object\n");
    PublishMuch();
    object.Truncate();
    Add(object.Head("-"));
    Add(object.Head("+"));
    Publish("a:n:1");
    EXPECT_EQ(Next(), "#@object\n@object\na:n:1\n");
    PublishMuch();
    EXPECT_EQ(Next().substr(0, 12), "|@object\nb::") << "the deletion is over";
    backlog.AddState();
    Add(object.Head("-"));
    EXPECT_EQ(Next(), "-@object\n");
    EXPECT_TRUE(backlog.Empty()) << "of a deleted object no state is due";
}

TEST_F(BacklogTest, TellsTheWholeStateWhenTooManyNamesWereMerged) {
    for (int i = 0; i < 8000; ++i) {
        const std::string name = "attribute" + std::to_string(i) + std::string(40, 'x');
        Publish(name + ":n:1");
        Publish("-" + name);
    }
    Publish("left:n:1");
    EXPECT_EQ(Next(), "#@object\n@object\nleft:n:1\n");
}

TEST(SavedObjects, ComeBackAsTheyWereAndWhatIsBrokenIsPassedOver) {
    ppsd::Quota quota(ppsd::LimitsWith(4096), 0);
    ppsd::ObjectTree tree(quota);
    std::string complaints;
    ppsd::ObjectLoader loader(tree, {7, 8, 0666}, [&](std::string_view text) { complaints.append(text) += "\n"; });
    const std::string many(100, '\n');
    const std::string text = "x:n:1\ny:n:1\n/pps/a/b\n@b\nx:n:1\n/pps/../etc\n@etc\nx:n:1\n/pps/c 1 2 640\n@c\n"
                             "bro\x1bken\nx:n:1\n/pps/d 1 2 8\n/pps/d 1 2\n/pps/e\n/pps/e\n/pps/f 0 0 1000\n"
                             "/pps/g 4294967295 0 600\n/pps/h\n" +
                             many;
    for (std::string_view saved = text; !saved.empty();) {
        loader.TakeLine(pps::TakeLine(saved));
    }
    loader.Finish();
    const std::string first = "line 1: belongs to no object: 'x:n:1'\n"
                              "line 6: not an object's path: '/pps/../etc'\n"
                              "line 11: malformed line 'bro?ken'\n"
                              "line 13: owner, group and mode that don't parse: '/pps/d 1 2 8'\n"
                              "line 14: owner, group and mode that don't parse: '/pps/d 1 2'\n"
                              "line 16: an object that is there already: '/pps/e'\n"
                              "line 17: owner, group and mode that don't parse: '/pps/f 0 0 1000'\n"
                              "line 18: owner, group and mode that don't parse: '/pps/g 4294967295 0 600'\n";
    EXPECT_EQ(complaints.substr(0, first.size()), first);
    const std::string last = "line 61: an empty write\nand 58 lines more\n";
    EXPECT_EQ(complaints.substr(complaints.size() - last.size()), last);
    std::string scratch;
    std::string saved;
    EXPECT_TRUE(ppsd::SaveObjects(tree, scratch, [&](std::string_view part) { return !saved.append(part).empty(); }));
    EXPECT_EQ(saved,
              "/pps/a/b 7 8 666\n@b\nx:n:1\n/pps/c 1 2 640\n@c\nx:n:1\n/pps/e 7 8 666\n@e\n/pps/h 7 8 666\n@h\n");
    for (const char* path : {"/pps", "/pps/", "/pps//a", "/pps/a/", "/pps/.ppsd", "/dev/a", "pps/a", "/pps/a b"}) {
        EXPECT_FALSE(ppsd::ObjectTree::IsPath(path)) << path;
    }
    const std::string longest = "/pps/" + std::string(1019, 'a');
    EXPECT_TRUE(ppsd::ObjectTree::IsPath(longest));
    EXPECT_FALSE(ppsd::ObjectTree::IsPath(longest + "a"));
}

} // namespace
