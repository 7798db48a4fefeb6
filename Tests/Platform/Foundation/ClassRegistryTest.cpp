#include "ClassRegistry.h"

#include <gtest/gtest.h>

#include <memory>

namespace TWQuickTime {
namespace {

struct Base {
    virtual ~Base() = default;
    virtual int value() const = 0;
};
template <int number>
struct Concrete : Base {
    int value() const override { return number; }
};
template <int number>
std::shared_ptr<Base> make() {
    return std::make_shared<Concrete<number>>();
}
std::shared_ptr<Base> makeFrom(int) {
    return make<3>();
}

using Registry = ClassRegistry<std::shared_ptr<Base>()>;
using OtherRegistry = ClassRegistry<std::shared_ptr<Base>(int)>;

const bool enteredWhenTheProgramWasLoaded = Registry::add("EnteredEarly", make<1>);

TEST(ClassRegistry, FindsAClassThatEnteredItselfWhenItWasLoaded) {
    EXPECT_TRUE(enteredWhenTheProgramWasLoaded);
    const auto factory = Registry::classNamed("EnteredEarly");
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory()->value(), 1);
}

TEST(ClassRegistry, TheFirstClassOfANameStays) {
    EXPECT_TRUE(Registry::add("Twice", make<1>));
    EXPECT_FALSE(Registry::add("Twice", make<2>));
    EXPECT_EQ(Registry::classNamed("Twice")()->value(), 1);
}

TEST(ClassRegistry, KeepsFamiliesApart) {
    EXPECT_TRUE(Registry::add("InBoth", make<1>));
    EXPECT_EQ(OtherRegistry::classNamed("InBoth"), nullptr);
    EXPECT_TRUE(OtherRegistry::add("InBoth", makeFrom));
    EXPECT_EQ(OtherRegistry::classNamed("InBoth")(0)->value(), 3);
    EXPECT_EQ(Registry::classNamed("InBoth")()->value(), 1);
}

TEST(ClassRegistry, UnknownAndNilNamesHaveNoClass) {
    EXPECT_EQ(Registry::classNamed("Unknown"), nullptr);
    EXPECT_EQ(Registry::classNamed(nullptr), nullptr);
    EXPECT_FALSE(Registry::add(nullptr, make<1>));
    EXPECT_FALSE(Registry::add("NoFactory", nullptr));
}

}  // namespace
}  // namespace TWQuickTime
