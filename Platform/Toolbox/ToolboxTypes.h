// The toolbox's plain types: four-character codes, statuses, fixed-point numbers, handles.
//
// Statuses are 0 for success. Handles are pointers to pointers, so that their bytes can move when
// they grow; they are made and disposed of by the calls in Handles.h.
#pragma once

#include <cstdint>

#include "TWQTExport.h"

namespace TWQuickTime {

using OSErr = std::int16_t;
using OSStatus = std::int32_t;
using ComponentResult = std::int32_t;
using OSType = std::uint32_t;
using ResType = OSType;
using Boolean = bool;
/// Signed 16.16 fixed point.
using Fixed = std::int32_t;
/// Signed 2.30 fixed point.
using Fract = std::int32_t;
using TimeValue = std::int32_t;
using TimeScale = std::int32_t;
using Ptr = char*;
/// A relocatable block of bytes.
using Handle = char**;
/// A handle to the flat bytes of an atom container; see AtomContainers.h.
using QTAtomContainer = Handle;
/// The byte offset of an atom inside its container; 0 stands for the container itself.
using QTAtom = std::int32_t;

/// A four-character code from its text, most significant byte first: fourCC("vide").
/// Shorter texts are filled with blanks, so fourCC("raw") is 'raw '.
constexpr OSType fourCC(const char* text) {
    OSType code = 0;
    for (int i = 0; i < 4; ++i) {
        const unsigned char byte = *text ? static_cast<unsigned char>(*text++) : ' ';
        code = (code << 8) | byte;
    }
    return code;
}

constexpr OSErr noErr = 0;
constexpr OSErr ioErr = -36;
constexpr OSErr eofErr = -39;
constexpr OSErr fnfErr = -43;
constexpr OSErr dupFNErr = -48;
constexpr OSErr opWrErr = -49;
constexpr OSErr paramErr = -50;
constexpr OSErr permErr = -54;
constexpr OSErr memFullErr = -108;
constexpr OSErr nilHandleErr = -109;
constexpr OSErr userCanceledErr = -128;
constexpr OSErr couldNotResolveDataRef = -2000;
constexpr OSErr badImageDescription = -2001;
constexpr OSErr cantFindHandler = -2003;
constexpr OSErr badComponentType = -2005;
constexpr OSErr noMediaHandler = -2006;
constexpr OSErr noDataHandler = -2007;
constexpr OSErr invalidMedia = -2008;
constexpr OSErr invalidTrack = -2009;
constexpr OSErr invalidMovie = -2010;
constexpr OSErr invalidSampleTable = -2011;
constexpr OSErr invalidDataRef = -2012;
constexpr OSErr invalidHandler = -2013;
constexpr OSErr invalidDuration = -2014;
constexpr OSErr invalidTime = -2015;
constexpr OSErr badEditList = -2017;
constexpr OSErr progressProcAborted = -2019;
constexpr OSErr movieToolboxUninitialized = -2020;
constexpr OSErr userDataItemNotFound = -2026;
constexpr OSErr badTrackIndex = -2028;
constexpr OSErr trackIDNotFound = -2029;
constexpr OSErr invalidSampleDescription = -2041;
constexpr OSErr dataNotOpenForRead = -2042;
constexpr OSErr dataNotOpenForWrite = -2043;
constexpr OSErr noMovieFound = -2048;
constexpr OSErr featureUnsupported = -2053;
constexpr OSErr cannotFindAtomErr = -2101;
constexpr OSErr notLeafAtomErr = -2102;
constexpr OSErr atomIndexInvalidErr = -2104;
constexpr OSErr duplicateAtomTypeAndIDErr = -2105;
constexpr OSErr invalidAtomErr = -2106;
constexpr OSErr invalidAtomContainerErr = -2107;
constexpr OSErr notALeafAtomErr = -2109;
constexpr OSErr codecErr = -8960;
constexpr OSErr noCodecErr = -8961;
constexpr OSErr codecUnimpErr = -8962;
constexpr OSErr codecBadDataErr = -8969;
constexpr ComponentResult badInstance = static_cast<ComponentResult>(0x80008001);
constexpr ComponentResult badComponentSelector = static_cast<ComponentResult>(0x80008002);

struct Rect {
    std::int16_t top = 0, left = 0, bottom = 0, right = 0;
    friend bool operator==(const Rect&, const Rect&) = default;
};

// Opaque objects of the toolbox, made and disposed of by its calls.
using Movie = struct MovieRecord*;
using Track = struct TrackRecord*;
using Media = struct MediaRecord*;
using UserData = struct UserDataRecord*;
using Component = struct ComponentRecord*;
using ComponentInstance = struct ComponentInstanceRecord*;
using MediaHandler = ComponentInstance;
using DataHandler = ComponentInstance;

/// Status of the last toolbox call on this thread.
TWQT_EXPORT OSErr GetMoviesError();

}  // namespace TWQuickTime
