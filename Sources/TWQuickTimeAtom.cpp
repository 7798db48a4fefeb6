#include "TWQuickTimeAtom.h"

#include "Handles.h"
#include "UQuickTimeAtom.h"

namespace TWQuickTime {

TWQuickTimeAtom::~TWQuickTimeAtom() {
    disposeAtomContainer();
}

std::shared_ptr<TWQuickTimeAtom> TWQuickTimeAtom::initWithQTAtomContainer(
    QTAtomContainer container) {
    if (!container)
        return nullptr;
    auto atom = std::make_shared<TWQuickTimeAtom>();
    atom->_atomContainer = container;
    return atom;
}

std::shared_ptr<TWQuickTimeAtom> TWQuickTimeAtom::initWithQTAtomContainerData(const NSData& data) {
    if (!data)
        return nullptr;
    auto atom = std::make_shared<TWQuickTimeAtom>();
    atom->_atomContainer = NewHandleClear(static_cast<Size>(data.length()));
    if (atom->_atomContainer) {
        HLock(atom->_atomContainer);
        data.getBytes(*atom->_atomContainer);
        HUnlock(atom->_atomContainer);
        atom->_handleAtomContainerMemory = true;
    }
    return atom;
}

NSData TWQuickTimeAtom::getData() const {
    HLock(_atomContainer);
    const Size size = GetHandleSize(_atomContainer);
    const NSData data =
        NSData::dataWithBytes(size > 0 ? *_atomContainer : nullptr, static_cast<std::size_t>(size));
    HUnlock(_atomContainer);
    return data;
}

int TWQuickTimeAtom::width() const {
    return UQuickTimeAtom::GetWidthFromAtomContainer(_atomContainer);
}

void TWQuickTimeAtom::setWidth(int width) {
    UQuickTimeAtom::SetWidthInAtomContainer(_atomContainer, width);
}

int TWQuickTimeAtom::height() const {
    return UQuickTimeAtom::GetHeightFromAtomContainer(_atomContainer);
}

void TWQuickTimeAtom::setHeight(int height) {
    UQuickTimeAtom::SetHeightInAtomContainer(_atomContainer, height);
}

double TWQuickTimeAtom::frameRate() const {
    return UQuickTimeAtom::GetFrameRateFromAtomContainer(_atomContainer);
}

void TWQuickTimeAtom::setFrameRate(double frameRate) {
    UQuickTimeAtom::SetFrameRateInAtomContainer(_atomContainer, frameRate);
}

NSString TWQuickTimeAtom::codecName() const {
    if (!_atomContainer)
        return nullptr;
    const SCSpatialSettings settings =
        UQuickTimeAtom::GetSpatialSettingsFromAtomContainer(_atomContainer, true);
    return UQuickTimeAtom::GetCodecName(settings.codecType);
}

void TWQuickTimeAtom::logAtomContainer(QTAtomContainer container, QTAtom parentAtom,
                                       QTAtom currentChild, const NSString& depth) {
    UQuickTimeAtom::LogAtomContainer(depth, container, parentAtom, currentChild);
}

void TWQuickTimeAtom::disposeAtomContainer() {
    if (_handleAtomContainerMemory)
        DisposeHandle(_atomContainer);
}

}  // namespace TWQuickTime
