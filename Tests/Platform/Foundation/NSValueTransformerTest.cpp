#include "NSValueTransformer.h"

#include <gtest/gtest.h>

#include "NSException.h"

namespace TWQuickTime {
namespace {

class Doubling : public NSValueTransformer {
  public:
    NSString transformedValueClass() const override { return "NSNumber"; }
    PropertyListValue transformedValue(const PropertyListValue& value) const override {
        return value ? PropertyListValue(value.intValue() * 2) : PropertyListValue();
    }
};

class OneWay : public Doubling {
  public:
    bool allowsReverseTransformation() const override { return false; }
};

std::shared_ptr<NSValueTransformer> makeDoubling() {
    return std::make_shared<Doubling>();
}

TEST(NSValueTransformer, IsFoundUnderTheNameItWasGiven) {
    const auto transformer = std::make_shared<Doubling>();
    NSValueTransformer::setValueTransformer(transformer, "Doubling");
    EXPECT_EQ(NSValueTransformer::valueTransformerForName("Doubling"), transformer);
    EXPECT_EQ(transformer->transformedValue(21), 42);
    EXPECT_TRUE(transformer->transformedValue(nullptr).isNull());
    EXPECT_EQ(transformer->transformedValueClass(), "NSNumber");
    NSValueTransformer::setValueTransformer(nullptr, "Doubling");
    EXPECT_EQ(NSValueTransformer::valueTransformerForName("Doubling"), nullptr);
}

TEST(NSValueTransformer, AClassThatEnteredItselfIsMadeOnceWhenItIsFirstAskedFor) {
    NSValueTransformer::Classes::add("DoublingClass", makeDoubling);
    const auto transformer = NSValueTransformer::valueTransformerForName("DoublingClass");
    ASSERT_NE(transformer, nullptr);
    EXPECT_EQ(NSValueTransformer::valueTransformerForName("DoublingClass"), transformer);
}

TEST(NSValueTransformer, AnUnknownNameGivesNone) {
    EXPECT_EQ(NSValueTransformer::valueTransformerForName("Unknown"), nullptr);
    EXPECT_EQ(NSValueTransformer::valueTransformerForName(nullptr), nullptr);
}

TEST(NSValueTransformer, TheReverseIsTheSameUnlessAClassSaysThereIsNone) {
    EXPECT_TRUE(Doubling().allowsReverseTransformation());
    EXPECT_EQ(Doubling().reverseTransformedValue(4), 8);
    EXPECT_THROW(OneWay().reverseTransformedValue(4), NSException);
}

}  // namespace
}  // namespace TWQuickTime
