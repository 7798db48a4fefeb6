// Atom containers for tests, put together atom by atom and gone with the object.
//
//     SettingsContainer settings;
//     const QTAtom video = settings.group("vide");
//     settings.leaf("wdth", big32(640 << 16), video);
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "AtomContainers.h"
#include "Handles.h"
#include "NSData.h"

namespace TWQuickTime::test {

inline std::string big16(std::uint32_t value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

inline std::string big32(std::uint32_t value) {
    return big16(value >> 16) + big16(value);
}

class SettingsContainer {
  public:
    SettingsContainer() { EXPECT_EQ(QTNewAtomContainer(&handle_), noErr); }
    ~SettingsContainer() { QTDisposeAtomContainer(handle_); }
    SettingsContainer(const SettingsContainer&) = delete;
    SettingsContainer& operator=(const SettingsContainer&) = delete;

    operator QTAtomContainer() const { return handle_; }

    QTAtom group(const char* type, QTAtom parent = 0) { return leaf(type, "", parent); }
    QTAtom leaf(const char* type, const std::string& data, QTAtom parent = 0) {
        QTAtom atom = 0;
        EXPECT_EQ(QTInsertChild(handle_, parent, fourCC(type), 0, 0,
                                static_cast<std::int32_t>(data.size()), data.data(), &atom),
                  noErr);
        return atom;
    }

    std::string text() const {
        return {*handle_, static_cast<std::size_t>(GetHandleSize(handle_))};
    }
    NSData data() const {
        return NSData::dataWithBytes(*handle_, static_cast<std::size_t>(GetHandleSize(handle_)));
    }
    std::vector<std::byte> bytes() const {
        const auto* first = reinterpret_cast<const std::byte*>(*handle_);
        return {first, first + GetHandleSize(handle_)};
    }

  private:
    QTAtomContainer handle_ = nullptr;
};

}  // namespace TWQuickTime::test
