#include <cstring>

#include "NSLog.h"
#include "TWLog.h"
#include "UQuickTimeAtom.h"

namespace TWQuickTime {
namespace {

/// An atom's data; bytes beyond their end read as 0.
class AtomData {
  public:
    AtomData(const char* bytes, std::int32_t size)
        : bytes_(bytes), size_(bytes ? static_cast<std::size_t>(size) : 0) {}

    std::size_t size() const { return size_; }
    std::uint8_t byte(std::size_t at) const {
        return at < size_ ? static_cast<std::uint8_t>(bytes_[at]) : 0;
    }
    char character(std::size_t at) const { return static_cast<char>(byte(at)); }
    std::uint16_t unsigned16(std::size_t at) const {
        return static_cast<std::uint16_t>(byte(at) << 8 | byte(at + 1));
    }
    std::int16_t signed16(std::size_t at) const {
        return static_cast<std::int16_t>(unsigned16(at));
    }
    std::uint32_t unsigned32(std::size_t at) const {
        return std::uint32_t{unsigned16(at)} << 16 | unsigned16(at + 2);
    }
    std::int32_t signed32(std::size_t at) const {
        return static_cast<std::int32_t>(unsigned32(at));
    }
    /// A 16.16 number rounded to a whole one.
    std::int32_t rounded(std::size_t at) const {
        return static_cast<std::int32_t>(unsigned32(at) + 32768u) >> 16;
    }
    float real(std::size_t at) const {
        const std::uint32_t word = unsigned32(at);
        float value = 0;
        std::memcpy(&value, &word, sizeof value);
        return value;
    }
    /// Cut toward zero; what does not fit becomes the smallest integer.
    std::int32_t truncated(std::size_t at) const {
        const float value = real(at);
        const bool fits = value >= -2147483648.0f && value < 2147483648.0f;
        return fits ? static_cast<std::int32_t>(value) : INT32_MIN;
    }
    NSString pascalString(std::size_t at) const {
        std::string text;
        for (std::size_t i = 0; i < byte(at) && at + 1 + i < size_; ++i)
            text.push_back(character(at + 1 + i));
        return text;
    }

  private:
    const char* bytes_;
    std::size_t size_;
};

void logCode(const char* format, const NSString& prefix, const AtomData& data, std::size_t at) {
    NSLog(format, prefix, data.character(at), data.character(at + 1), data.character(at + 2),
          data.character(at + 3));
}

void logSpatialSettings(const NSString& prefix, const AtomData& data) {
    logCode("%@    -- codecType: %c%c%c%c\n", prefix, data, 0);
    NSLog("%@    -- depth: %d\n", prefix, data.signed16(8));
    NSLog("%@    -- spatialQuality: %d\n", prefix, data.signed32(10));
}

void logTemporalSettings(const NSString& prefix, const AtomData& data) {
    NSLog("%@    -- temporalQuality: %d\n", prefix, data.signed32(0));
    NSLog("%@    -- frameRate: %d\n", prefix, data.rounded(4));
    NSLog("%@    -- keyFrameRate: %d\n", prefix, data.signed32(8));
}

void logVersion(const NSString& prefix, const AtomData& data) {
    NSLog("%@    -- version: %d \n", prefix, data.signed32(0));
    NSLog("%@    -- flags: %d \n", prefix, data.signed16(4));
    NSLog("%@    -- reserved: %d \n", prefix, data.signed16(6));
}

void logFeature(const NSString& prefix, const AtomData& data) {
    logCode("%@    ----> feature:%c%c%c%c \n", prefix, data, 0);
    logCode("%@    ----> group:%c%c%c%c \n", prefix, data, 4);
    logCode("%@    ----> atomType:%c%c%c%c \n", prefix, data, 264);
    NSLog("%@    -- name: %@ \n", prefix, data.pascalString(8));
}

struct FlagLine {
    std::uint8_t bit;
    const char* format;
};

void logFlags(const NSString& prefix, std::uint8_t flags, std::initializer_list<FlagLine> lines) {
    for (const FlagLine& line : lines)
        if (flags & line.bit)
            NSLog(line.format, prefix);
}

// Order, spellings and the missing line feeds of the flags' lines differ on purpose.
void logFeatureSettings(const NSString& prefix, const AtomData& data) {
    logFlags(prefix, data.byte(3),
             {{0x04, "%@     FlagCapabilities - Manual"},
              {0x08, "%@     FlagCapabilities - Auto"},
              {0x10, "%@     FlagCapabilities - Tune"},
              {0x01, "%@     FlagCapabilities - On"},
              {0x02, "%@     FlagCapabilities - Off"},
              {0x20, "%@     FlagCapabilities - Raw Control"},
              {0x40, "%@     FlagCapabilities - Absolut Control"}});
    NSLog("%@    rawMinimum:%d \n", prefix, data.unsigned16(4));
    NSLog("%@    rawMaximum:%d \n", prefix, data.unsigned16(6));
    NSLog("%@    absoluteMinimum:%d \n", prefix, data.truncated(8));
    NSLog("%@    absoluteMaximum:%d \n", prefix, data.truncated(12));
    NSLog("%@    value:%f \n", prefix, static_cast<double>(data.real(20)));
    logFlags(prefix, data.byte(19),
             {{0x04, "%@     FlagValue - Manual"},
              {0x08, "%@     FlagValue - Auto"},
              {0x01, "%@     FlagValue - On"},
              {0x02, "%@     FlagValue - Off"},
              {0x10, "%@     FlagValue - tune"},
              {0x20, "%@     FlagValue - Raw Control"},
              {0x40, "%@     FlagValue - Absolut Control"}});
}

/// The lines below the header of an atom that is no group.
void logData(const NSString& prefix, OSType type, const AtomData& data) {
    switch (type) {
        case fourCC("cdec"):
            NSLog("%@    ----> Size %d byte\n", prefix, data.size());
            break;
        case fourCC("dvcf"):
        case fourCC("ssct"):
            logCode("%@    ----> %c%c%c%c \n", prefix, data, 0);
            break;
        case fourCC("dvcv"):
        case fourCC("enso"):
        case fourCC("envi"):
        case fourCC("lock"):
            NSLog(data.byte(0) == 1 ? "%@    ----> yes\n" : "%@    ----> no\n", prefix);
            break;
        case fourCC("wdth"):
        case fourCC("hegt"):
            NSLog("%@    ----> %d \n", prefix, data.rounded(0));
            break;
        case fourCC("sscc"):
        case fourCC("ssss"):
            NSLog("%@    ----> %d \n", prefix, data.signed16(0));
            break;
        case fourCC("ssrt"):
            // As a signed number: 32768 Hz and more print negative, on purpose.
            NSLog("%@    ----> %d \n", prefix, data.signed32(0) >> 16);
            break;
        case fourCC("sptl"):
            logSpatialSettings(prefix, data);
            break;
        case fourCC("tprl"):
            logTemporalSettings(prefix, data);
            break;
        case fourCC("vers"):
            logVersion(prefix, data);
            break;
        case fourCC("t&id"):
            logFeature(prefix, data);
            break;
        case fourCC("fstg"):
            logFeatureSettings(prefix, data);
            break;
        default:
            break;
    }
}

bool isGroup(OSType type) {
    return type == fourCC("feat") || type == fourCC("soun") || type == fourCC("vide");
}

}  // namespace

void UQuickTimeAtom::LogAtomContainer(const NSString& inPrefix, QTAtomContainer inContainer,
                                      QTAtom inParentAtom, QTAtom inCurrentChild) {
    QTAtom child = 0;
    OSErr status = QTNextChildAnyType(inContainer, inParentAtom, inCurrentChild, &child);
    while (status == noErr && child != 0) {
        // The reference does not change: one above 65535 is warned of without end, on purpose.
        while (static_cast<std::uint32_t>(child) - 1u > 65534u)
            TWLog("%s: WARNING - illegal atom id %d", "LogAtomContainer", child);
        OSType type = 0;
        if (QTGetAtomTypeAndID(inContainer, child, &type, nullptr) != noErr)
            return;
        NSLog("%@  %c%c%c%c \n", inPrefix, static_cast<char>(type >> 24),
              static_cast<char>(type >> 16), static_cast<char>(type >> 8), static_cast<char>(type));
        QTLockContainer(inContainer);
        Ptr data = nullptr;
        std::int32_t size = 0;
        QTGetAtomDataPtr(inContainer, child, &size, &data);
        if (isGroup(type)) {
            NSLog("%@    >>> ", inPrefix);
            LogAtomContainer(inPrefix.stringByAppendingString("   "), inContainer, child, 0);
        } else {
            logData(inPrefix, type, AtomData(data, size));
        }
        QTUnlockContainer(inContainer);
        status = QTNextChildAnyType(inContainer, inParentAtom, child, &child);
    }
}

}  // namespace TWQuickTime
