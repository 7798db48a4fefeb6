#include "TWUQuickTimeAtom.h"

#include "UQuickTimeAtom.h"

namespace TWQuickTime {

bool TWUQuickTimeAtom::atomContainer(QTAtomContainer container, OSType containsAtomType,
                                     QTAtom parentAtom, QTAtom currentChild) {
    return UQuickTimeAtom::AtomContainerContainsAtom(container, containsAtomType, parentAtom,
                                                     currentChild);
}

bool TWUQuickTimeAtom::dataFromAtomContainer(QTAtomContainer container, OSType atomType,
                                             void* outAtomData, QTAtom parentAtom,
                                             QTAtom currentChild) {
    return UQuickTimeAtom::GetDataFromAtomContainer(container, atomType, outAtomData, parentAtom,
                                                    currentChild);
}

bool TWUQuickTimeAtom::setDataInAtomContainer(QTAtomContainer container, OSType atomType,
                                              const void* inAtomData, QTAtom parentAtom,
                                              QTAtom currentChild) {
    return UQuickTimeAtom::SetDataInAtomContainer(container, atomType, inAtomData, parentAtom,
                                                  currentChild);
}

int TWUQuickTimeAtom::getWidthFromAtomContainer(QTAtomContainer container) {
    return UQuickTimeAtom::GetWidthFromAtomContainer(container);
}

int TWUQuickTimeAtom::getHeightFromAtomContainer(QTAtomContainer container) {
    return UQuickTimeAtom::GetHeightFromAtomContainer(container);
}

bool TWUQuickTimeAtom::setWidth(int width, QTAtomContainer inAtomContainer) {
    return UQuickTimeAtom::SetWidthInAtomContainer(inAtomContainer, width);
}

bool TWUQuickTimeAtom::setHeight(int height, QTAtomContainer inAtomContainer) {
    return UQuickTimeAtom::SetHeightInAtomContainer(inAtomContainer, height);
}

double TWUQuickTimeAtom::getFrameRateFromAtomContainer(QTAtomContainer container) {
    return UQuickTimeAtom::GetFrameRateFromAtomContainer(container);
}

bool TWUQuickTimeAtom::setFrameRate(double frameRate, QTAtomContainer inAtomContainer) {
    return UQuickTimeAtom::SetFrameRateInAtomContainer(inAtomContainer, frameRate);
}

SCSpatialSettings TWUQuickTimeAtom::spatialSettings_BtoN(SCSpatialSettings settings) {
    return UQuickTimeAtom::SpatialSettings_BtoN(settings);
}

SCSpatialSettings TWUQuickTimeAtom::spatialSettings_NtoB(SCSpatialSettings settings) {
    return UQuickTimeAtom::SpatialSettings_NtoB(settings);
}

SCTemporalSettings TWUQuickTimeAtom::temporalSettings_BtoN(SCTemporalSettings settings) {
    return UQuickTimeAtom::TemporalSettings_BtoN(settings);
}

SCTemporalSettings TWUQuickTimeAtom::temporalSettings_NtoB(SCTemporalSettings settings) {
    return UQuickTimeAtom::TemporalSettings_NtoB(settings);
}

SCDataRateSettings TWUQuickTimeAtom::dataRateSettings_BtoN(SCDataRateSettings settings) {
    return UQuickTimeAtom::DataRateSettings_BtoN(settings);
}

SCDataRateSettings TWUQuickTimeAtom::dataRateSettings_NtoB(SCDataRateSettings settings) {
    return UQuickTimeAtom::DataRateSettings_NtoB(settings);
}

SCSpatialSettings TWUQuickTimeAtom::getSpatialSettingsFromAtomContainer(QTAtomContainer container,
                                                                        bool inConvertToNative) {
    return UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(container, inConvertToNative);
}

SCTemporalSettings TWUQuickTimeAtom::getTemporalSettingsFromAtomContainer(QTAtomContainer container,
                                                                          bool inConvertToNative) {
    return UQuickTimeAtom::GetTemporalSettingsFromAtomContainer(container, inConvertToNative);
}

SCDataRateSettings TWUQuickTimeAtom::getDataRateSettingsFromAtomContainer(QTAtomContainer container,
                                                                          bool inConvertToNative) {
    return UQuickTimeAtom::GetDataRateSettingsFromAtomContainer(container, inConvertToNative);
}

NSString TWUQuickTimeAtom::getCodecName(CodecType codecType) {
    return UQuickTimeAtom::GetCodecName(codecType);
}

void TWUQuickTimeAtom::logAtomContainer(QTAtomContainer container, const NSString& prefix,
                                        QTAtom parentAtom, QTAtom currentChild) {
    UQuickTimeAtom::LogAtomContainer(prefix, container, parentAtom, currentChild);
}

}  // namespace TWQuickTime
