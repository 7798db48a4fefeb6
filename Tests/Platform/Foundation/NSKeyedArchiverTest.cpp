#include "NSKeyedArchiver.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "NSKeyedUnarchiver.h"
#include "PropertyList.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

using Kind = PropertyListValue::Kind;

PropertyListValue throughAnArchive(const PropertyListValue& value) {
    return NSKeyedUnarchiver::unarchiveObjectWithData(
        NSKeyedArchiver::archivedDataWithRootObject(value));
}

PropertyListUID reference(std::uint64_t place) {
    return {place};
}

NSArray references(std::initializer_list<std::uint64_t> places) {
    NSArray list = NSArray::array();
    for (const std::uint64_t place : places)
        list.addObject(reference(place));
    return list;
}

NSDictionary classNamed(const char* name) {
    return NSDictionary{
        {"$classname", name},
        {"$classes", NSArray({PropertyListValue(name), PropertyListValue("NSObject")})}};
}

/// An archive put together by hand; its root is object 1.
NSData archiveOf(const std::vector<PropertyListValue>& objectsAfterNull,
                 PropertyListFormat format = PropertyListFormat::binary) {
    NSArray objects({PropertyListValue("$null")});
    for (const PropertyListValue& object : objectsAfterNull)
        objects.addObject(object);
    return dataFromPropertyList(NSDictionary{{"$version", 100000},
                                             {"$archiver", "NSKeyedArchiver"},
                                             {"$top", NSDictionary{{"root", reference(1)}}},
                                             {"$objects", objects}},
                                format);
}

PropertyListValue read(const std::vector<PropertyListValue>& objectsAfterNull) {
    return NSKeyedUnarchiver::unarchiveObjectWithData(archiveOf(objectsAfterNull));
}

TEST(NSKeyedArchiver, WritesTheObjectsOfASmallDictionaryInThePlatformsOrder) {
    const NSData data = NSKeyedArchiver::archivedDataWithRootObject(NSDictionary{{"a", 5}});
    EXPECT_EQ(data.length(), 253u);
    const NSDictionary archive = propertyListFromData(data).dictionaryValue();
    EXPECT_TRUE(
        archive.objectForKey("$objects") ==
        PropertyListValue(NSArray({PropertyListValue("$null"),
                                   PropertyListValue(NSDictionary{{"NS.keys", references({2})},
                                                                  {"NS.objects", references({3})},
                                                                  {"$class", reference(4)}}),
                                   PropertyListValue("a"), PropertyListValue(5),
                                   PropertyListValue(classNamed("NSDictionary"))})));
    EXPECT_EQ(archive.objectForKey("$version").intValue(), 100000);
    EXPECT_EQ(archive.objectForKey("$archiver").stringValue(), "NSKeyedArchiver");
    EXPECT_EQ(archive.objectForKey("$top").dictionaryValue().objectForKey("root").uidValue(),
              reference(1));
}

TEST(NSKeyedArchiver, EveryKindOfValueComesBackAsItWas) {
    const NSDictionary inner{{"deep", NSArray({PropertyListValue(NSDictionary::dictionary()),
                                               PropertyListValue(NSArray::array())})}};
    const NSDictionary value{{"bool", true},
                             {"no", false},
                             {"one", 1},
                             {"real", 1.0},
                             {"largest", std::numeric_limits<std::uint64_t>::max()},
                             {"smallest", std::numeric_limits<std::int64_t>::min()},
                             {"text", "caf\xC3\xA9 \xF0\x9F\x98\x80"},
                             {"empty", ""},
                             {"$null", "$null"},
                             {"data", NSData::dataWithBytes("\0\1\2", 3)},
                             {"date", NSDate{-1234.5}},
                             {"again", NSDate{-1234.5}},
                             {"inner", inner},
                             {"same", inner}};
    const NSDictionary back = throughAnArchive(value).dictionaryValue();
    EXPECT_TRUE(back == value);
    for (const auto& [key, original] : value)
        EXPECT_EQ(back.objectForKey(key).kind(), original.kind()) << key.utf8();
}

TEST(NSKeyedArchiver, RootsThatAreNoContainersComeBackToo) {
    EXPECT_EQ(throughAnArchive("text").stringValue(), "text");
    EXPECT_EQ(throughAnArchive(NSDate{5}).dateValue(), NSDate{5});
    EXPECT_TRUE(throughAnArchive(nullptr).isNull());
    EXPECT_FALSE(NSKeyedArchiver::archivedDataWithRootObject(nullptr).isNil());
    const NSArray list =
        throughAnArchive(NSArray({PropertyListValue(), PropertyListValue(1)})).arrayValue();
    ASSERT_EQ(list.count(), 2u);
    EXPECT_TRUE(list.objectAtIndex(0).isNull());
}

TEST(NSKeyedArchiver, StoresEqualScalarsOnce) {
    NSArray list = NSArray::array();
    for (int i = 0; i < 100; ++i)
        list.addObject("the same long text every time");
    const NSDictionary archive =
        propertyListFromData(NSKeyedArchiver::archivedDataWithRootObject(list)).dictionaryValue();
    EXPECT_EQ(archive.objectForKey("$objects").arrayValue().count(), 4u);
}

TEST(NSKeyedArchiver, RefusesWhatItCannotHold) {
    EXPECT_TRUE(NSKeyedArchiver::archivedDataWithRootObject(PropertyListUID{1}).isNil());
    const NSDate never{std::numeric_limits<double>::quiet_NaN()};
    EXPECT_TRUE(NSKeyedArchiver::archivedDataWithRootObject(NSDictionary{{"a", never}}).isNil());
    PropertyListValue deep = true;
    for (int i = 0; i < 512; ++i)
        deep = NSArray({deep});
    EXPECT_TRUE(throughAnArchive(deep) == deep);
    EXPECT_TRUE(NSKeyedArchiver::archivedDataWithRootObject(NSArray({deep})).isNil());
}

TEST(NSKeyedUnarchiver, ReadsMutableClassesSetsAndNull) {
    const PropertyListValue value = read(
        {NSDictionary{{"NS.objects", references({2, 3, 4, 5, 6, 7})}, {"$class", reference(8)}},
         NSDictionary{{"NS.string", "text"}, {"$class", reference(9)}},
         NSDictionary{{"NS.data", NSData::dataWithBytes("ab", 2)}, {"$class", reference(10)}},
         NSDictionary{{"NS.time", 7.5}, {"$class", reference(11)}},
         NSDictionary{{"$class", reference(12)}},
         NSDictionary{{"NS.objects", references({2})}, {"$class", reference(13)}},
         NSDictionary{{"NS.keys", references({2})},
                      {"NS.objects", references({4})},
                      {"$class", reference(14)}},
         classNamed("NSMutableArray"), classNamed("NSMutableString"), classNamed("NSMutableData"),
         classNamed("NSDate"), classNamed("NSNull"), classNamed("NSMutableSet"),
         classNamed("NSMutableDictionary")});
    const NSDictionary dictionary{{"text", NSDate{7.5}}};
    EXPECT_TRUE(value ==
                PropertyListValue(NSArray({PropertyListValue("text"),
                                           PropertyListValue(NSData::dataWithBytes("ab", 2)),
                                           PropertyListValue(NSDate{7.5}), PropertyListValue(),
                                           PropertyListValue(NSArray({PropertyListValue("text")})),
                                           PropertyListValue(dictionary)})));
}

TEST(NSKeyedUnarchiver, ReadsAnArchiveInXMLForm) {
    const NSData data = archiveOf({NSDictionary{{"NS.keys", references({2})},
                                                {"NS.objects", references({3})},
                                                {"$class", reference(4)}},
                                   "a", 5, classNamed("NSDictionary")},
                                  PropertyListFormat::xml);
    EXPECT_TRUE(NSKeyedUnarchiver::unarchiveObjectWithData(data) ==
                PropertyListValue(NSDictionary{{"a", 5}}));
}

TEST(NSKeyedUnarchiver, AnObjectOfAnotherClassAnywhereEndsTheWholeRead) {
    const auto listOf = [](const char* className) {
        return read({NSDictionary{{"NS.objects", references({2})}, {"$class", reference(3)}},
                     NSDictionary{{"x", 1}, {"$class", reference(4)}}, classNamed("NSArray"),
                     classNamed(className)});
    };
    EXPECT_TRUE(listOf("NSColor").isNull());
    EXPECT_EQ(listOf("NSNull").arrayValue().count(), 1u);
}

TEST(NSKeyedUnarchiver, ObjectsThatContainThemselvesReadAsNone) {
    EXPECT_TRUE(read({NSDictionary{{"NS.objects", references({1})}, {"$class", reference(2)}},
                      classNamed("NSArray")})
                    .isNull());
    EXPECT_TRUE(read({NSDictionary{{"NS.objects", references({2})}, {"$class", reference(3)}},
                      NSDictionary{{"NS.objects", references({1})}, {"$class", reference(3)}},
                      classNamed("NSArray")})
                    .isNull());
}

TEST(NSKeyedUnarchiver, SharedObjectsThatExpandWithoutEndReadAsNone) {
    std::vector<PropertyListValue> objects;
    for (std::uint64_t i = 2; i <= 31; ++i)
        objects.emplace_back(NSDictionary{{"NS.objects", references({i, i, i, i, i, i, i, i})},
                                          {"$class", reference(32)}});
    objects.emplace_back("leaf");
    objects.emplace_back(classNamed("NSArray"));
    EXPECT_TRUE(read(objects).isNull());
}

TEST(NSKeyedUnarchiver, DamagedArchivesReadAsNone) {
    const NSDictionary list{{"NS.objects", references({2})}, {"$class", reference(3)}};
    EXPECT_TRUE(read({list, "x", "no class"}).isNull());
    EXPECT_TRUE(read({list, "x"}).isNull()) << "a reference behind the end";
    EXPECT_TRUE(read({NSDictionary{{"$class", reference(2)}}, classNamed("NSArray")}).isNull());
    EXPECT_TRUE(read({NSDictionary{{"NS.keys", references({2, 2})},
                                   {"NS.objects", references({2})},
                                   {"$class", reference(3)}},
                      "a", classNamed("NSDictionary")})
                    .isNull());
    EXPECT_TRUE(read({NSDictionary{{"NS.keys", references({2})},
                                   {"NS.objects", references({2})},
                                   {"$class", reference(3)}},
                      5, classNamed("NSDictionary")})
                    .isNull())
        << "a key that is no string";
    EXPECT_TRUE(NSKeyedUnarchiver::unarchiveObjectWithData(nullptr).isNull());
    EXPECT_TRUE(NSKeyedUnarchiver::unarchiveObjectWithData(
                    dataFromPropertyList(NSDictionary{{"a", 5}}, PropertyListFormat::binary))
                    .isNull());
}

TEST(NSKeyedUnarchiver, AnotherProgramReadsOurArchivesAsPropertyLists) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("archive.plist");
    ASSERT_TRUE(NSKeyedArchiver::archivedDataWithRootObject(
                    NSDictionary{{"a", 5}, {"list", NSArray({PropertyListValue(NSDate{0})})}})
                    .writeToFile(NSString(path), false));
    const test::ProgramResult result = test::runProgram(
        {"python3", "-c",
         "import plistlib\n"
         "archive = plistlib.load(open('" +
             path +
             "', 'rb'))\n"
             "objects = archive['$objects']\n"
             "root = objects[archive['$top']['root'].data]\n"
             "print([objects[k.data] for k in root['NS.keys']], objects[root['$class'].data])"});
    EXPECT_EQ(result.output,
              "['a', 'list'] {'$classname': 'NSDictionary', '$classes': ['NSDictionary', "
              "'NSObject']}\n")
        << result.errors;
}

}  // namespace
}  // namespace TWQuickTime
