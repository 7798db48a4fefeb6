#include "NSObject.h"

#include <gmock/gmock.h>

#include "FormatString.h"
#include "NSException.h"

namespace TWQuickTime {
namespace {

class Preset : public NSObject {
  public:
    NSString name() const { return "H.264"; }
    std::int32_t width() const { return 640; }
    NSString comment() const { return nullptr; }

  protected:
    const KeyValueTable& keyValueTable() const override {
        static const KeyValueTable table{
            {"name", &Preset::name}, {"width", &Preset::width}, {"comment", &Preset::comment}};
        return table;
    }
};

class SizedPreset : public Preset {
  public:
    NSString name() const { return "sized"; }
    PropertyListValue valueForUndefinedKey(const NSString& key) const override {
        if (key == "Extra")
            return "from the entry";
        return Preset::valueForUndefinedKey(key);
    }

  protected:
    const KeyValueTable& keyValueTable() const override {
        static const KeyValueTable table{
            &Preset::keyValueTable(),
            {{"name", &SizedPreset::name}, {"answer", KeyValueTable::Getter([](const NSObject&) {
                                                return PropertyListValue(42);
                                            })}}};
        return table;
    }
};

TEST(NSObject, DescribesItselfByClassAndAddress) {
    const Preset preset;
    EXPECT_EQ(preset.className(), "Preset");
    EXPECT_EQ(preset.description(),
              formatString("<Preset: 0x%lx>", reinterpret_cast<std::uintptr_t>(&preset)));
    EXPECT_EQ(formatString("%@", preset), preset.description());
}

TEST(NSObject, GivesTheValuesOfItsListedKeys) {
    const Preset preset;
    EXPECT_EQ(preset.valueForKey("name"), "H.264");
    EXPECT_EQ(preset.valueForKey("width"), 640);
    EXPECT_TRUE(preset.valueForKey("comment").isNull());
}

TEST(NSObject, ASubclassAddsKeysReplacesThemAndKeepsTheOthers) {
    const SizedPreset preset;
    EXPECT_EQ(preset.valueForKey("name"), "sized");
    EXPECT_EQ(preset.valueForKey("width"), 640);
    EXPECT_EQ(preset.valueForKey("answer"), 42);
}

TEST(NSObject, AClassMayAnswerKeysThatItDoesNotList) {
    EXPECT_EQ(SizedPreset().valueForKey("Extra"), "from the entry");
}

TEST(NSObject, AnUnknownKeyRaisesTheUndefinedKeyException) {
    const SizedPreset preset;
    try {
        preset.valueForKey("nothing");
        FAIL() << "no exception";
    } catch (const NSException& exception) {
        EXPECT_EQ(exception.name(), NSUndefinedKeyException);
        EXPECT_EQ(exception.reason(),
                  formatString("[<SizedPreset 0x%lx> valueForUndefinedKey:]: this class is not key "
                               "value coding-compliant for the key nothing.",
                               reinterpret_cast<std::uintptr_t>(&preset)));
    }
    EXPECT_THROW(NSObject().valueForKey("x"), NSException);
    EXPECT_THROW(preset.valueForKey(nullptr), NSException);
}

}  // namespace
}  // namespace TWQuickTime
