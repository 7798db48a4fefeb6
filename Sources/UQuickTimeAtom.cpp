#include "UQuickTimeAtom.h"

#include <algorithm>
#include <cstring>

#include "StQuickTimeLock.h"
#include "TWLog.h"

namespace TWQuickTime {
namespace {

/// What get and set pass over instead of giving up.
constexpr OSErr kSkipThisChild = -2038;

/// The atom reference does not change while this looks at it: a reference above 65535 is warned of
/// without end, on purpose.
void checkReference(const char* functionName, QTAtom atom) {
    while (static_cast<std::uint32_t>(atom) - 1u > 65534u)
        TWLog("%s: WARNING - illegal atom id %d", functionName, atom);
}

bool isSearchedGroup(OSType type) {
    return type == fourCC("soun") || type == fourCC("vide");
}

/// Walks for get and set; `copy` is given the first matching atom's data.
template <class Copy>
bool copyData(const char* functionName, QTAtomContainer container, OSType wanted, QTAtom parent,
              QTAtom currentChild, Copy copy) {
    const StQuickTimeLock lock;
    QTAtom child = 0;
    OSErr status = QTNextChildAnyType(container, parent, currentChild, &child);
    while (status == noErr && child != 0) {
        checkReference(functionName, child);
        OSType type = 0;
        status = QTGetAtomTypeAndID(container, child, &type, nullptr);
        if (status == noErr && type == wanted) {
            if (QTLockContainer(container) == noErr) {
                Ptr data = nullptr;
                std::int32_t size = 0;
                status = QTGetAtomDataPtr(container, child, &size, &data);
                if (status == noErr)
                    copy(data, static_cast<std::size_t>(size));
                const OSErr unlockStatus = QTUnlockContainer(container);
                if (status == noErr)
                    return true;
                if (unlockStatus != noErr)
                    TWLog("%s: WARNING - unable to unlock atom data of atom %d", functionName,
                          child);
            }
        } else if (status == noErr && isSearchedGroup(type)) {
            if (copyData(functionName, container, wanted, child, 0, copy))
                return true;
        }
        if (status != noErr && status != kSkipThisChild)
            return false;
        QTAtom next = 0;
        status = QTNextChildAnyType(container, parent, child, &next);
        if (next == child)
            return false;
        child = next;
    }
    return false;
}

constexpr OSType kWidthType = fourCC("wdth");
constexpr OSType kHeightType = fourCC("hegt");

/// Between the big-endian word of an atom and the host's.
std::uint32_t swapWord(std::uint32_t word) {
    std::uint8_t bytes[4];
    std::memcpy(bytes, &word, sizeof bytes);
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
           std::uint32_t{bytes[2]} << 8 | bytes[3];
}

int pixelsOf(QTAtomContainer container, OSType type) {
    std::uint32_t word = 0;
    if (!UQuickTimeAtom::GetDataFromAtomContainer(container, type, &word, sizeof word, 0, 0))
        return 0;
    return static_cast<std::int32_t>(swapWord(word) + 32768u) >> 16;
}

bool setPixels(QTAtomContainer container, OSType type, int pixels) {
    const std::uint32_t word = swapWord(static_cast<std::uint32_t>(pixels) << 16);
    return UQuickTimeAtom::SetDataInAtomContainer(container, type, &word, sizeof word, 0, 0);
}

}  // namespace

bool UQuickTimeAtom::AtomContainerContainsAtom(QTAtomContainer inContainer, OSType inAtomType,
                                               QTAtom inParentAtom, QTAtom inCurrentChild) {
    const StQuickTimeLock lock;
    QTAtom child = 0;
    OSErr status = QTNextChildAnyType(inContainer, inParentAtom, inCurrentChild, &child);
    while (status == noErr && child != 0) {
        checkReference("AtomContainerContainsAtom", child);
        OSType type = 0;
        status = QTGetAtomTypeAndID(inContainer, child, &type, nullptr);
        if (status != noErr)
            return false;
        if (type == inAtomType)
            return true;
        if (isSearchedGroup(type) && AtomContainerContainsAtom(inContainer, inAtomType, child, 0))
            return true;
        status = QTNextChildAnyType(inContainer, inParentAtom, child, &child);
    }
    return false;
}

bool UQuickTimeAtom::GetDataFromAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                              void* outData, QTAtom inParentAtom,
                                              QTAtom inCurrentChild) {
    return GetDataFromAtomContainer(inContainer, inAtomType, outData, kAnyRoom, inParentAtom,
                                    inCurrentChild);
}

bool UQuickTimeAtom::SetDataInAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                            const void* inData, QTAtom inParentAtom,
                                            QTAtom inCurrentChild) {
    return SetDataInAtomContainer(inContainer, inAtomType, inData, kAnyRoom, inParentAtom,
                                  inCurrentChild);
}

bool UQuickTimeAtom::GetDataFromAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                              void* outData, std::size_t inRoomInBytes,
                                              QTAtom inParentAtom, QTAtom inCurrentChild) {
    return copyData("GetDataFromAtomContainer", inContainer, inAtomType, inParentAtom,
                    inCurrentChild, [&](const char* data, std::size_t size) {
                        if (const std::size_t count = std::min(size, inRoomInBytes); count > 0)
                            std::memcpy(outData, data, count);
                    });
}

bool UQuickTimeAtom::SetDataInAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                            const void* inData, std::size_t inDataInBytes,
                                            QTAtom inParentAtom, QTAtom inCurrentChild) {
    return copyData("SetDataInAtomContainer", inContainer, inAtomType, inParentAtom, inCurrentChild,
                    [&](char* data, std::size_t size) {
                        if (const std::size_t count = std::min(size, inDataInBytes); count > 0)
                            std::memcpy(data, inData, count);
                    });
}

int UQuickTimeAtom::GetWidthFromAtomContainer(QTAtomContainer inContainer) {
    return pixelsOf(inContainer, kWidthType);
}

int UQuickTimeAtom::GetHeightFromAtomContainer(QTAtomContainer inContainer) {
    return pixelsOf(inContainer, kHeightType);
}

bool UQuickTimeAtom::SetWidthInAtomContainer(QTAtomContainer inContainer, int inWidth) {
    return setPixels(inContainer, kWidthType, inWidth);
}

bool UQuickTimeAtom::SetHeightInAtomContainer(QTAtomContainer inContainer, int inHeight) {
    return setPixels(inContainer, kHeightType, inHeight);
}

double UQuickTimeAtom::GetFrameRateFromAtomContainer(QTAtomContainer inContainer) {
    const SCTemporalSettings settings = GetTemporalSettingsFromAtomContainer(inContainer, true);
    return static_cast<float>(settings.frameRate) * 1.52587890625e-05f;
}

bool UQuickTimeAtom::SetFrameRateInAtomContainer(QTAtomContainer inContainer, double inFrameRate) {
    SCTemporalSettings settings = GetTemporalSettingsFromAtomContainer(inContainer, true);
    settings.frameRate = FixedFrameRate(inFrameRate);
    settings = TemporalSettings_NtoB(settings);
    return SetDataInAtomContainer(inContainer, scTemporalSettingsType, &settings, sizeof settings,
                                  0, 0);
}

Fixed UQuickTimeAtom::FixedFrameRate(double inFrameRate) {
    const float scaled = static_cast<float>(inFrameRate) * 65536.0f;
    // What does not fit, and what is no number, becomes the smallest integer.
    const bool fits = scaled >= -2147483648.0f && scaled < 2147483648.0f;
    return fits ? static_cast<Fixed>(scaled) : INT32_MIN;
}

}  // namespace TWQuickTime
