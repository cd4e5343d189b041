#include <gtest/gtest.h>
#include <sys/pps.h>

#include "platform/pps/Line.h"
#include "platform/pps/Object.h"
#include "tools/ppsd/Backlog.h"
#include "tools/ppsd/SavedObjects.h"

namespace {

TEST(Object, RefusesMalformedWritesWhole) {
    const std::string tooLong = "a::" + std::string(pps::kMaxWrite, 'x');
    for (const std::string& bad :
         {std::string(), std::string("a:b"), std::string("a"), std::string(":n:1"), std::string("1a:n:1"),
          std::string("a b:n:1"), std::string("[n:n:1"), std::string("[1]a:n:1"), std::string("-"), std::string("-a b"),
          std::string("@other\na:n:1"), std::string("a:n:1\n@object"), std::string("#@object"),
          std::string("a:n:1\n\nb:n:1"), std::string("a:n:1\0b", 7), tooLong}) {
        pps::Object object("object");
        object.Apply("kept:n:1");
        EXPECT_NE(object.Apply("good:n:1\n" + bad + (bad.empty() ? "\n" : "")).error, "") << bad.substr(0, 40);
        EXPECT_NE(object.Apply("@other\na:n:1").error, "");
        EXPECT_EQ(object.State(), "@object\nkept:n:1\n") << bad.substr(0, 40);
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
    object.Apply("[-n]a:n:3");
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
}

TEST(Parser, GivesRecordsAndGoesOnBehindMalformedLines) {
    char text[] = "@object\n[n]a:json:{\"x\":\"y\"}\nbroken\nb::\n-c\n#@object\n|@object";
    char* rest = text;
    auto next = [&rest, record = pps_attrib_t{}]() mutable {
        const pps_status_t status = ppsparse(&rest, nullptr, nullptr, &record, 0);
        return std::pair(status, record);
    };
    const auto [first, object] = next();
    EXPECT_EQ(first, PPS_OBJECT);
    EXPECT_STREQ(object.obj_name, "object");
    const auto [second, a] = next();
    EXPECT_EQ(second, PPS_ATTRIBUTE);
    EXPECT_STREQ(a.attr_name, "a");
    EXPECT_STREQ(a.encoding, "json");
    EXPECT_STREQ(a.value, "{\"x\":\"y\"}");
    EXPECT_EQ(a.options, PPS_NOPERSIST);
    EXPECT_EQ(next().first, PPS_ERROR);
    const auto [fourth, b] = next();
    EXPECT_EQ(fourth, PPS_ATTRIBUTE);
    EXPECT_EQ(b.encoding + std::string(b.value), "");
    EXPECT_EQ(b.options, 0);
    for (const pps_status_t status : {PPS_ATTRIBUTE_DELETED, PPS_OBJECT_TRUNCATED, PPS_OBJECT_OVERFLOWED, PPS_END}) {
        EXPECT_EQ(next().first, status);
    }
}

/// Writes into the object and hands the change to the backlog, as the server does.
void Publish(pps::Object& object, ppsd::Backlog& backlog, const std::string& text) {
    backlog.Add(std::make_shared<const std::string>(object.Head() + object.Apply(text).changes));
}

TEST(Backlog, MergesToTheNewestValuesPastItsBound) {
    pps::Object object("object");
    ppsd::Backlog backlog;
    std::string scratch;
    Publish(object, backlog, "a:n:1");
    EXPECT_EQ(backlog.Next(object, scratch), "@object\na:n:1\n");
    Publish(object, backlog, "gone:n:1");
    const std::string big(20000, 'x');
    for (int i = 0; i < 20; ++i) {
        Publish(object, backlog, "b::" + std::to_string(i) + big);
    }
    Publish(object, backlog, "a:n:2");
    Publish(object, backlog, "-gone");
    EXPECT_EQ(backlog.Next(object, scratch), "|@object\na:n:2\n-gone\nb::19" + big + "\n");
    backlog.Taken();
    EXPECT_TRUE(backlog.Empty());
    Publish(object, backlog, "a:n:3");
    EXPECT_EQ(backlog.Next(object, scratch), "@object\na:n:3\n");
}

TEST(Backlog, KeepsADeletionInMind) {
    pps::Object object("object");
    ppsd::Backlog backlog;
    std::string scratch;
    const std::string big(30000, 'x');
    for (int i = 0; i < 20; ++i) {
        Publish(object, backlog, "b::" + std::to_string(i) + big);
    }
    object.Truncate();
    backlog.Add(std::make_shared<const std::string>(object.Head("-")));
    EXPECT_EQ(backlog.Next(object, scratch), "-@object\n");
    backlog.Add(std::make_shared<const std::string>(object.Head("+")));
    Publish(object, backlog, "a:n:1");
    EXPECT_EQ(backlog.Next(object, scratch), "#@object\n@object\na:n:1\n");
}

TEST(Backlog, TellsTheWholeStateWhenTooManyNamesWereMerged) {
    pps::Object object("object");
    ppsd::Backlog backlog;
    std::string scratch;
    for (int i = 0; i < 8000; ++i) {
        const std::string name = "attribute" + std::to_string(i) + std::string(40, 'x');
        Publish(object, backlog, name + ":n:1");
        Publish(object, backlog, "-" + name);
    }
    Publish(object, backlog, "left:n:1");
    EXPECT_EQ(backlog.Next(object, scratch), "#@object\n@object\nleft:n:1\n");
}

TEST(SavedObjects, ComeBackAsTheyWereAndWhatIsBrokenIsPassedOver) {
    ppsd::Quota quota(ppsd::LimitsWith(4096), 0);
    ppsd::ObjectTree tree(quota);
    std::string complaints;
    ppsd::ObjectLoader loader(tree, {7, 8, 0666}, [&](std::string_view text) { complaints.append(text) += "\n"; });
    std::string_view saved = "x:n:1\ny:n:1\n/pps/a/b\n@b\nx:n:1\n/pps/../etc\n@etc\nx:n:1\n/pps/c 1 2 640\n@c\n"
                             "bro\x1bken\nx:n:1\n/pps/d 1 2 8\n/pps/d 1 2\n/pps/e\n/pps/e\n/pps/f 0 0 1000\n";
    while (!saved.empty()) {
        loader.TakeLine(pps::TakeLine(saved));
    }
    EXPECT_EQ(complaints, "line 1: belongs to no object: 'x:n:1'\n"
                          "line 6: not an object's path: '/pps/../etc'\n"
                          "line 11: malformed line 'bro?ken'\n"
                          "line 13: owner, group and mode that don't parse: '/pps/d 1 2 8'\n"
                          "line 14: owner, group and mode that don't parse: '/pps/d 1 2'\n"
                          "line 16: an object that is there already: '/pps/e'\n"
                          "line 17: owner, group and mode that don't parse: '/pps/f 0 0 1000'\n");
    std::string text;
    std::string scratch;
    EXPECT_TRUE(ppsd::SaveObjects(tree, scratch, [&](std::string_view part) { return !text.append(part).empty(); }));
    EXPECT_EQ(text, "/pps/a/b 7 8 666\n@b\nx:n:1\n/pps/c 1 2 640\n@c\nx:n:1\n/pps/e 7 8 666\n@e\n");
    for (const char* path : {"/pps", "/pps/", "/pps//a", "/pps/a/", "/pps/.ppsd", "/dev/a", "pps/a", "/pps/a b"}) {
        EXPECT_FALSE(ppsd::ObjectTree::IsPath(path)) << path;
    }
}

} // namespace
