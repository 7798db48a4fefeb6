// Property lists against an independent reader and writer: the plistlib of Python.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <limits>
#include <string>

#include "NSData.h"
#include "PropertyList.h"
#include "RunProgram.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

using Kind = PropertyListValue::Kind;

constexpr const char* pythonValue = R"({
    'integer': 5, 'largest': 2**64 - 1, 'high': 2**63, 'smallest': -2**63, 'negative': -1,
    'real': 1.6, 'tiny': 5e-324, 'whole': 3.0, 'true': True, 'false': False,
    'text': 'caf\u00e9 \U0001F600 <&>"', 'empty': '', 'lines': 'a\n\tb ',
    'long': 'x' * 70000, 'data': bytes(range(256)) * 3, 'no data': b'',
    'date': datetime.datetime(1981, 5, 16, 11, 32, 6),
    'list': [1, [2, [3, []]], {}], 'many': list(range(300)),
    'k\u00e9y &': {'nested': {'deep': 'yes'}},
})";

NSDictionary sameValue() {
    std::vector<std::byte> bytes;
    for (int i = 0; i < 768; ++i)
        bytes.push_back(static_cast<std::byte>(i));
    NSArray many = NSArray::array();
    for (int i = 0; i < 300; ++i)
        many.addObject(i);
    const NSArray innermost({PropertyListValue(3), PropertyListValue(NSArray::array())});
    const NSArray inner({PropertyListValue(2), PropertyListValue(innermost)});
    return NSDictionary{{"integer", 5},
                        {"largest", std::numeric_limits<std::uint64_t>::max()},
                        {"high", std::uint64_t{1} << 63},
                        {"smallest", std::numeric_limits<std::int64_t>::min()},
                        {"negative", -1},
                        {"real", 1.6},
                        {"tiny", 5e-324},
                        {"whole", 3.0},
                        {"true", true},
                        {"false", false},
                        {"text", "caf\xC3\xA9 \xF0\x9F\x98\x80 <&>\""},
                        {"empty", ""},
                        {"lines", "a\n\tb "},
                        {"long", NSString(std::string(70000, 'x'))},
                        {"data", NSData(bytes)},
                        {"no data", NSData(std::vector<std::byte>())},
                        {"date", NSDate{-619446474}},
                        {"list", NSArray({PropertyListValue(1), PropertyListValue(inner),
                                          PropertyListValue(NSDictionary::dictionary())})},
                        {"many", many},
                        {"k\xC3\xA9y &", NSDictionary{{"nested", NSDictionary{{"deep", "yes"}}}}}};
}

void expectSameKinds(const NSDictionary& a, const NSDictionary& b) {
    for (const auto& [key, value] : a)
        EXPECT_EQ(value.kind(), b.objectForKey(key).kind()) << key.utf8();
}

/// Runs the script with plistlib, datetime and `value` at hand; what it prints comes back.
std::string python(const std::string& script) {
    const test::ProgramResult result = test::runProgram(
        {"python3", "-c",
         "import plistlib, datetime\nvalue = " + std::string(pythonValue) + "\n" + script});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return result.output;
}

TEST(PropertyListInterchange, ReadsWhatPythonWritesInBothForms) {
    const test::TemporaryDirectory directory;
    for (const std::string format : {"XML", "BINARY"}) {
        const std::string path = directory.file(format + ".plist");
        python("plistlib.dump(value, open('" + path + "', 'wb'), fmt=plistlib.FMT_" + format + ")");
        const NSDictionary read = NSDictionary::dictionaryWithContentsOfFile(path);
        EXPECT_TRUE(read == sameValue()) << format;
        expectSameKinds(sameValue(), read);
    }
}

TEST(PropertyListInterchange, WritesWhatPythonReadsInBothForms) {
    const test::TemporaryDirectory directory;
    for (const PropertyListFormat format : {PropertyListFormat::xml, PropertyListFormat::binary}) {
        const std::string path = directory.file("ours.plist");
        ASSERT_TRUE(dataFromPropertyList(sameValue(), format).writeToFile(path, false));
        EXPECT_EQ(python("ours = plistlib.load(open('" + path +
                         "', 'rb'))\n"
                         "same = ours == value and all(type(ours[k]) is type(value[k]) for k in "
                         "value)\n"
                         "print('same' if same else ours)"),
                  "same\n");
    }
}

TEST(PropertyListInterchange, SurvivesARoundTripThroughBothFormsWithItsKinds) {
    for (const PropertyListFormat format : {PropertyListFormat::xml, PropertyListFormat::binary}) {
        NSDictionary value = sameValue();
        value.setObject(PropertyListUID{70000}, "uid");
        const NSDictionary back =
            propertyListFromData(dataFromPropertyList(value, format)).dictionaryValue();
        EXPECT_TRUE(back == value);
        expectSameKinds(value, back);
        EXPECT_EQ(back.objectForKey("uid").uidValue(), PropertyListUID{70000});
    }
}

TEST(PropertyListInterchange, SharedContainersOfPythonAreRead) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("shared.plist");
    python("inner = [1, 2]\nplistlib.dump([inner, inner], open('" + path +
           "', 'wb'), fmt=plistlib.FMT_BINARY)");
    const NSArray outer = propertyListFromData(NSData::dataWithContentsOfFile(path)).arrayValue();
    ASSERT_EQ(outer.count(), 2u);
    EXPECT_TRUE(outer.objectAtIndex(0) == outer.objectAtIndex(1));
}

TEST(PropertyListInterchange, ADictionaryIsWrittenToAFileAndReadFromIt) {
    const test::TemporaryDirectory directory;
    const std::string path = directory.file("a.plist");
    EXPECT_TRUE(sameValue().writeToFile(path, true));
    EXPECT_TRUE(NSDictionary::dictionaryWithContentsOfFile(path) == sameValue());
    EXPECT_FALSE(sameValue().writeToFile(directory.file("no/such/folder.plist"), true));
    EXPECT_FALSE(NSDictionary().writeToFile(directory.file("nil.plist"), true));
}

TEST(PropertyListInterchange, AFileThatIsMissingOrHoldsNoDictionaryReadsAsNone) {
    const test::TemporaryDirectory directory;
    EXPECT_TRUE(
        NSDictionary::dictionaryWithContentsOfFile(directory.file("missing.plist")).isNil());
    EXPECT_TRUE(NSDictionary::dictionaryWithContentsOfFile(nullptr).isNil());
    EXPECT_TRUE(NSDictionary::dictionaryWithContentsOfFile(directory.path().string()).isNil());
    std::ofstream(directory.file("list.plist")) << "<plist><array/></plist>";
    EXPECT_TRUE(NSDictionary::dictionaryWithContentsOfFile(directory.file("list.plist")).isNil());
}

class SamplePropertyLists : public testing::TestWithParam<const char*> {};

TEST_P(SamplePropertyLists, HoldTheValuesThatAreKnownOfThem) {
    const std::string folder = test::sampleMediaFolder();
    if (folder.empty())
        GTEST_SKIP() << "TWQT_MEDIA names no folder of sample media";
    const NSDictionary list =
        NSDictionary::dictionaryWithContentsOfFile(NSString(folder + "/" + GetParam()));
    ASSERT_EQ(list.count(), 13u);
    EXPECT_EQ(list.objectForKey("Author").stringValue(), "William Shakespeare");
    EXPECT_EQ(list.objectForKey("Birthdate").dateValue(), NSDate{-619446474});
    EXPECT_EQ(list.objectForKey("Height").doubleValue(), 1.6);
    EXPECT_EQ(list.objectForKey("Height").kind(), Kind::real);
    EXPECT_EQ(list.objectForKey("Death").longLongValue(), 1564);
    EXPECT_EQ(list.objectForKey("BiggestNumber").unsignedLongLongValue(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(list.objectForKey("SmallestNumber").longLongValue(),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(list.objectForKey("Data").dataValue(),
              NSData::dataWithBytes("\0\0\0\xBE\0\0\0\3\0\0\0\x1E\0\0\0", 15));
    EXPECT_EQ(list.objectForKey("Lines").arrayValue().count(), 2u);
    EXPECT_EQ(list.objectForKey("Blank").kind(), Kind::string);
    EXPECT_TRUE(list.objectForKey("IsTrue").boolValue());
    EXPECT_EQ(list.objectForKey("IsNotFalse").kind(), Kind::boolean);
    if (list.hasKey("Pets")) {
        EXPECT_EQ(list.objectForKey("Pets").stringValue(), "A cat & a dog.");
        EXPECT_EQ(list.objectForKey("HexademicalNumber").longLongValue(), 0xDEADBEEF);
    } else {
        EXPECT_EQ(list.objectForKey("EmptyArray").arrayValue().count(), 0u);
        EXPECT_EQ(list.objectForKey("EmptyDictionary").kind(), Kind::dictionary);
    }
}

INSTANTIATE_TEST_SUITE_P(PropertyListInterchange, SamplePropertyLists,
                         testing::Values("rustplist--xml.plist", "rustplist--binary.plist"));

}  // namespace
}  // namespace TWQuickTime
