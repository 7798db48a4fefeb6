// The class methods for atoms of settings, under the names that callers who work with objects know;
// each forwards to UQuickTimeAtom.
//
//     if (TWUQuickTimeAtom::atomContainer(settings, fourCC("wdth"), 0, 0))
//         TWUQuickTimeAtom::setWidth(1280, settings);
#pragma once

#include "AtomContainers.h"
#include "NSString.h"
#include "StandardCompression.h"

namespace TWQuickTime {

class TWQT_EXPORT TWUQuickTimeAtom {
  public:
    /// (atomContainer:containsAtomType:parentAtom:currentChild:)
    static bool atomContainer(QTAtomContainer container, OSType containsAtomType, QTAtom parentAtom,
                              QTAtom currentChild);
    /// @param outAtomData  must have room for as many bytes as the atom holds
    ///     (dataFromAtomContainer:atomType:outAtomData:parentAtom:currentChild:)
    static bool dataFromAtomContainer(QTAtomContainer container, OSType atomType, void* outAtomData,
                                      QTAtom parentAtom, QTAtom currentChild);
    /// @param inAtomData  must hold as many bytes as the atom
    ///     (setDataInAtomContainer:atomType:inAtomData:parentAtom:currentChild:)
    static bool setDataInAtomContainer(QTAtomContainer container, OSType atomType,
                                       const void* inAtomData, QTAtom parentAtom,
                                       QTAtom currentChild);

    /// Pixels; 0 without such an atom.       (getWidthFromAtomContainer:)
    static int getWidthFromAtomContainer(QTAtomContainer container);
    /// (getHeightFromAtomContainer:)
    static int getHeightFromAtomContainer(QTAtomContainer container);
    /// The value comes first, the container second.       (setWidth:inAtomContainer:)
    static bool setWidth(int width, QTAtomContainer inAtomContainer);
    /// (setHeight:inAtomContainer:)
    static bool setHeight(int height, QTAtomContainer inAtomContainer);
    /// Frames per second in single precision.       (getFrameRateFromAtomContainer:)
    static double getFrameRateFromAtomContainer(QTAtomContainer container);
    /// (setFrameRate:inAtomContainer:)
    static bool setFrameRate(double frameRate, QTAtomContainer inAtomContainer);

    /// Between the big-endian order of atoms (B) and the host's (N).       (spatialSettings_BtoN:)
    static SCSpatialSettings spatialSettings_BtoN(SCSpatialSettings settings);
    static SCSpatialSettings spatialSettings_NtoB(SCSpatialSettings settings);
    static SCTemporalSettings temporalSettings_BtoN(SCTemporalSettings settings);
    static SCTemporalSettings temporalSettings_NtoB(SCTemporalSettings settings);
    static SCDataRateSettings dataRateSettings_BtoN(SCDataRateSettings settings);
    static SCDataRateSettings dataRateSettings_NtoB(SCDataRateSettings settings);

    /// All zero without such an atom.
    ///     (getSpatialSettingsFromAtomContainer:inConvertToNative:)
    static SCSpatialSettings getSpatialSettingsFromAtomContainer(QTAtomContainer container,
                                                                 bool inConvertToNative);
    ///     (getTemporalSettingsFromAtomContainer:inConvertToNative:)
    static SCTemporalSettings getTemporalSettingsFromAtomContainer(QTAtomContainer container,
                                                                   bool inConvertToNative);
    ///     (getDataRateSettingsFromAtomContainer:inConvertToNative:)
    static SCDataRateSettings getDataRateSettingsFromAtomContainer(QTAtomContainer container,
                                                                   bool inConvertToNative);

    /// (getCodecName:)
    static NSString getCodecName(CodecType codecType);
    /// (logAtomContainer:prefix:parentAtom:currentChild:)
    static void logAtomContainer(QTAtomContainer container, const NSString& prefix,
                                 QTAtom parentAtom, QTAtom currentChild);
};

}  // namespace TWQuickTime
