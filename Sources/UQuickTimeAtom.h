// Atoms of exporter and compressor settings: searching, reading and overwriting their data, the
// standard compression records, names of codecs, and a dump for people.
//
// A search walks the children of a parent depth-first in stored order, behind a given child, and
// descends into 'soun' and 'vide' groups only; the first atom of the type wins. Data are big-endian
// as they stand in the container. Nothing here makes or resizes an atom.
//
//     UQuickTimeAtom::SetWidthInAtomContainer(settings, 1280);
//     SCSpatialSettings video = UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(settings,
//     true); show(UQuickTimeAtom::GetCodecName(video.codecType));
//
// Contains, get and set hold the QuickTime lock while they run. A container in which the search
// meets an atom reference above 65535 makes it log a warning again and again and never return; this
// is on purpose.
#pragma once

#include <cstddef>

#include "AtomContainers.h"
#include "NSString.h"
#include "StandardCompression.h"

namespace TWQuickTime {

class TWQT_EXPORT UQuickTimeAtom {
  public:
    /// Room that ends a copy only with the atom's data.
    static constexpr std::size_t kAnyRoom = static_cast<std::size_t>(-1);

    /// @param inParentAtom    0 for the container itself
    /// @param inCurrentChild  the search begins behind this child; 0 begins at the first
    static bool AtomContainerContainsAtom(QTAtomContainer inContainer, OSType inAtomType,
                                          QTAtom inParentAtom, QTAtom inCurrentChild);
    /// Copies the whole data of the first atom of the type.
    /// @param outData  must have room for as many bytes as the atom holds
    static bool GetDataFromAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                         void* outData, QTAtom inParentAtom, QTAtom inCurrentChild);
    /// Overwrites the whole data of the first atom of the type; its size stays. False when there is
    /// no such atom.
    /// @param inData  must hold as many bytes as the atom
    static bool SetDataInAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                       const void* inData, QTAtom inParentAtom,
                                       QTAtom inCurrentChild);
    /// The same two, which copy no more bytes than there is room for (or data given), so that a
    /// container may come from anywhere.
    static bool GetDataFromAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                         void* outData, std::size_t inRoomInBytes,
                                         QTAtom inParentAtom, QTAtom inCurrentChild);
    static bool SetDataInAtomContainer(QTAtomContainer inContainer, OSType inAtomType,
                                       const void* inData, std::size_t inDataInBytes,
                                       QTAtom inParentAtom, QTAtom inCurrentChild);

    /// Pixels, rounded to the nearest whole number, halves up; 0 without such an atom.
    static int GetWidthFromAtomContainer(QTAtomContainer inContainer);
    static int GetHeightFromAtomContainer(QTAtomContainer inContainer);
    static bool SetWidthInAtomContainer(QTAtomContainer inContainer, int inWidth);
    static bool SetHeightInAtomContainer(QTAtomContainer inContainer, int inHeight);
    /// Frames per second in single precision; 0.0 without temporal settings.
    static double GetFrameRateFromAtomContainer(QTAtomContainer inContainer);
    /// The other temporal settings keep their values.
    static bool SetFrameRateInAtomContainer(QTAtomContainer inContainer, double inFrameRate);

    /// The rate in 16.16 as it is stored: through single precision, cut toward zero.
    static Fixed FixedFrameRate(double inFrameRate);

    /// Between the big-endian order of atoms (B) and the host's (N).
    static SCSpatialSettings SpatialSettings_BtoN(SCSpatialSettings inSettings);
    static SCSpatialSettings SpatialSettings_NtoB(SCSpatialSettings inSettings);
    static SCTemporalSettings TemporalSettings_BtoN(SCTemporalSettings inSettings);
    static SCTemporalSettings TemporalSettings_NtoB(SCTemporalSettings inSettings);
    static SCDataRateSettings DataRateSettings_BtoN(SCDataRateSettings inSettings);
    static SCDataRateSettings DataRateSettings_NtoB(SCDataRateSettings inSettings);

    /// All zero without such an atom.
    static SCSpatialSettings GetSpatialSettingsFromAtomContainer(QTAtomContainer inContainer,
                                                                 bool inConvertToNative);
    static SCTemporalSettings GetTemporalSettingsFromAtomContainer(QTAtomContainer inContainer,
                                                                   bool inConvertToNative);
    static SCDataRateSettings GetDataRateSettingsFromAtomContainer(QTAtomContainer inContainer,
                                                                   bool inConvertToNative);

    /// The installed codec's name, else the known name of the compression type, else the localised
    /// "Unknown".
    static NSString GetCodecName(CodecType inCodecType);

    /// Writes a tree of the children behind a given one to the log, with the values of known atoms.
    /// @param inPrefix  begins every line; empty at the top
    static void LogAtomContainer(const NSString& inPrefix, QTAtomContainer inContainer,
                                 QTAtom inParentAtom, QTAtom inCurrentChild);
};

}  // namespace TWQuickTime
