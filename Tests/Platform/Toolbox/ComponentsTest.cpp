#include "Components.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Handles.h"
#include "Platform/Toolbox/Private/ComponentRegistry.h"
#include "ToolboxTrace.h"

namespace TWQuickTime {
namespace {

/// A component of the type 'tcmp' that goes with the object.
class Registered {
  public:
    Registered(const char* subType, std::uint32_t flags, std::string name = "Name",
               std::function<std::unique_ptr<ComponentStorage>()> open = nullptr) {
        ComponentRegistration registration;
        registration.description = {.componentType = fourCC("tcmp"),
                                    .componentSubType = fourCC(subType),
                                    .componentManufacturer = fourCC("test"),
                                    .componentFlags = flags};
        registration.name = std::move(name);
        registration.info = "Information";
        registration.open = std::move(open);
        component = registerComponent(std::move(registration));
    }
    ~Registered() { unregisterComponent(component); }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;
    Component component;
};

std::vector<Component> found(const ComponentDescription& wanted) {
    std::vector<Component> list;
    for (Component c = FindNextComponent(nullptr, &wanted); c; c = FindNextComponent(c, &wanted))
        list.push_back(c);
    EXPECT_EQ(CountComponents(&wanted), static_cast<std::int32_t>(list.size()));
    return list;
}

std::string pascal(Handle handle) {
    const std::string bytes(*handle, static_cast<std::size_t>(GetHandleSize(handle)));
    EXPECT_EQ(bytes.size(), static_cast<unsigned char>(bytes[0]) + 1u);
    return bytes.substr(1);
}

TEST(Components, AreFoundInTheOrderOfTheirRegistration) {
    const Registered first("aaaa", 0);
    const Registered second("bbbb", 0);
    const Registered third("aaaa", 0);
    EXPECT_EQ(found({.componentType = fourCC("tcmp")}),
              (std::vector<Component>{first.component, second.component, third.component}));
    EXPECT_EQ(found({.componentType = fourCC("tcmp"), .componentSubType = fourCC("aaaa")}),
              (std::vector<Component>{first.component, third.component}));
    EXPECT_EQ(found({.componentType = fourCC("tcmp"), .componentManufacturer = fourCC("none")}),
              std::vector<Component>{});
}

TEST(Components, FlagsAreComparedUnderTheMaskOnly) {
    const Registered plain("aaaa", 0x10);
    const Registered both("bbbb", 0x30);
    ComponentDescription wanted{.componentType = fourCC("tcmp"), .componentFlags = 0x30};
    EXPECT_EQ(found(wanted), (std::vector<Component>{plain.component, both.component}));
    wanted.componentFlagsMask = 0x20;
    EXPECT_EQ(found(wanted), std::vector<Component>{both.component});
    wanted.componentFlags = 0;
    EXPECT_EQ(found(wanted), std::vector<Component>{plain.component});
}

TEST(Components, AComponentThatWasTakenAwayEndsAWalkFromIt) {
    auto first = std::make_unique<Registered>("aaaa", 0);
    const Registered second("bbbb", 0);
    const Component gone = first->component;
    first.reset();
    const ComponentDescription wanted{.componentType = fourCC("tcmp")};
    EXPECT_EQ(FindNextComponent(gone, &wanted), nullptr);
    EXPECT_EQ(OpenComponent(gone), nullptr);
    EXPECT_EQ(GetComponentInfo(gone, nullptr, nullptr, nullptr, nullptr), invalidComponentID);
    EXPECT_EQ(FindNextComponent(nullptr, nullptr), nullptr);
    EXPECT_EQ(CountComponents(nullptr), 0);
}

TEST(Components, InstancesAreOpenedAndClosedOnce) {
    const Registered component("aaaa", 0);
    ComponentInstance instance = OpenComponent(component.component);
    ASSERT_TRUE(instance);
    EXPECT_EQ(componentOfInstance(instance), component.component);
    EXPECT_EQ(CloseComponent(instance), noErr);
    EXPECT_EQ(CloseComponent(instance), badInstance);
    EXPECT_EQ(CloseComponent(nullptr), badInstance);
    int foreign = 0;
    EXPECT_EQ(CloseComponent(reinterpret_cast<ComponentInstance>(&foreign)), badInstance);
    EXPECT_EQ(componentStorage(instance), nullptr);
}

TEST(Components, ClosingHandsOutTheInstancesOwnStatusAndRemovesItAllTheSame) {
    struct Stubborn : ComponentStorage {
        OSErr close() override { return ioErr; }
    };
    const Registered component("aaaa", 0, "Name", [] { return std::make_unique<Stubborn>(); });
    ComponentInstance instance = OpenComponent(component.component);
    EXPECT_EQ(CloseComponent(instance), ioErr);
    EXPECT_EQ(CloseComponent(instance), badInstance);
}

TEST(Components, OneThatCannotBeOpenedGivesNoInstance) {
    const Registered broken("aaaa", 0, "Name", [] { return nullptr; });
    EXPECT_EQ(OpenComponent(broken.component), nullptr);
    ComponentInstance instance = nullptr;
    EXPECT_EQ(OpenAComponent(broken.component, &instance), componentDidNotOpen);
    EXPECT_EQ(OpenAComponent(nullptr, &instance), invalidComponentID);
    const Registered working("aaaa", 0);
    EXPECT_EQ(OpenAComponent(working.component, &instance), noErr);
    CloseComponent(instance);
    instance = OpenDefaultComponent(fourCC("tcmp"), fourCC("aaaa"));
    EXPECT_EQ(componentOfInstance(instance), working.component);
    CloseComponent(instance);
}

TEST(Components, AnOpenInstanceOutlivesItsComponentsRegistration) {
    struct Counted : ComponentStorage {
        explicit Counted(int& count) : alive(count) { ++alive; }
        ~Counted() override { --alive; }
        int& alive;
    };
    int alive = 0;
    auto component = std::make_unique<Registered>("aaaa", 0, "Name",
                                                  [&] { return std::make_unique<Counted>(alive); });
    ComponentInstance instance = OpenComponent(component->component);
    component.reset();
    EXPECT_EQ(alive, 1);
    EXPECT_TRUE(componentStorageAs<Counted>(instance));
    EXPECT_EQ(CloseComponent(instance), noErr);
    EXPECT_EQ(alive, 0);
}

TEST(Components, InfoGivesDescriptionNameAndInformationAsPascalStrings) {
    const Registered component("aaaa", 0x10000020, "A name");
    Handle name = NewHandle(0);
    Handle info = NewHandle(0);
    Handle icon = NewHandle(4);
    ComponentDescription description{.componentFlagsMask = 99};
    EXPECT_EQ(GetComponentInfo(component.component, &description, name, info, icon), noErr);
    EXPECT_EQ(description, (ComponentDescription{.componentType = fourCC("tcmp"),
                                                 .componentSubType = fourCC("aaaa"),
                                                 .componentManufacturer = fourCC("test"),
                                                 .componentFlags = 0x10000020}));
    EXPECT_EQ(pascal(name), "A name");
    EXPECT_EQ(pascal(info), "Information");
    EXPECT_EQ(GetHandleSize(icon), 0);
    EXPECT_EQ(GetComponentInfo(component.component, nullptr, nullptr, nullptr, nullptr), noErr);
    DisposeHandle(info);
    EXPECT_EQ(GetComponentInfo(component.component, nullptr, name, info, nullptr), nilHandleErr);
    DisposeHandle(name);
    DisposeHandle(icon);
}

TEST(Components, AComponentWithoutANameLeavesTheHandleWithoutBytes) {
    const Registered component("aaaa", 0, "");
    Handle name = NewHandle(9);
    EXPECT_EQ(GetComponentInfo(component.component, nullptr, name, nullptr, nullptr), noErr);
    EXPECT_EQ(GetHandleSize(name), 0);
    DisposeHandle(name);
}

TEST(Components, AnOverlongNameIsCutBetweenCharacters) {
    std::string longName;
    for (int i = 0; i < 200; ++i)
        longName += "\xC3\xA4";
    const Registered component("aaaa", 0, longName);
    Handle name = NewHandle(0);
    EXPECT_EQ(GetComponentInfo(component.component, nullptr, name, nullptr, nullptr), noErr);
    EXPECT_EQ(pascal(name), longName.substr(0, 254));
    DisposeHandle(name);
}

TEST(Components, ThreadsOpenAndCloseInstancesAtTheSameTime) {
    const Registered component("aaaa", 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                const ComponentDescription wanted{.componentType = fourCC("tcmp")};
                ComponentInstance instance = OpenComponent(FindNextComponent(nullptr, &wanted));
                ASSERT_EQ(CloseComponent(instance), noErr);
                const Registered other("bbbb", 0);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Components, APlannedFaultKeepsTheInstanceOpen) {
    const Registered component("aaaa", 0);
    ComponentInstance instance = OpenComponent(component.component);
    ToolboxTrace::failCall("CloseComponent", 1, -5);
    EXPECT_EQ(CloseComponent(instance), -5);
    EXPECT_EQ(CloseComponent(instance), noErr);
    ToolboxTrace::failCall("OpenComponent", 1, -5);
    EXPECT_EQ(OpenComponent(component.component), nullptr);
    ToolboxTrace::reset();
}

}  // namespace
}  // namespace TWQuickTime
