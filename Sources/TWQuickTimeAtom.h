// One atom container with picture size, frame rate and codec name as properties.
//
//     auto settings = TWQuickTimeAtom::initWithQTAtomContainerData(data);   // owns a copy
//     settings->setWidth(1280);
//     data = settings->getData();
//
// The object takes no lock; one thread uses it at a time.
#pragma once

#include <memory>

#include "AtomContainers.h"
#include "NSData.h"
#include "NSString.h"

namespace TWQuickTime {

class TWQT_EXPORT TWQuickTimeAtom {
  public:
    /// Without a container.
    TWQuickTimeAtom() = default;
    /// Disposes of the container if this object owns it.
    ~TWQuickTimeAtom();
    TWQuickTimeAtom(const TWQuickTimeAtom&) = delete;
    TWQuickTimeAtom& operator=(const TWQuickTimeAtom&) = delete;

    /// Borrows the container, which must outlive the object; none for null.
    ///     (initWithQTAtomContainer:)
    static std::shared_ptr<TWQuickTimeAtom> initWithQTAtomContainer(QTAtomContainer container);
    /// Owns a copy of the bytes; none for nil. Without memory the object has no container.
    ///     (initWithQTAtomContainerData:)
    static std::shared_ptr<TWQuickTimeAtom> initWithQTAtomContainerData(const NSData& data);

    /// All bytes of the container; empty without one.
    NSData getData() const;

    /// Pixels; 0 without such an atom. Setting does nothing when there is none.
    int width() const;
    void setWidth(int width);
    int height() const;
    void setHeight(int height);
    /// Frames per second in single precision; 0.0 without temporal settings.
    double frameRate() const;
    void setFrameRate(double frameRate);
    /// Name of the codec of the spatial settings; nil without a container.
    NSString codecName() const;

    /// @param depth  begins every line, as the prefix does elsewhere
    ///     (logAtomContainer:parentAtom:currentChild:depth:)
    static void logAtomContainer(QTAtomContainer container, QTAtom parentAtom, QTAtom currentChild,
                                 const NSString& depth);

    /// Disposes of an owned container. The object does not forget it (on purpose): after a call by
    /// hand its destructor disposes a second time.
    void disposeAtomContainer();

  private:
    QTAtomContainer _atomContainer = nullptr;
    bool _handleAtomContainerMemory = false;
};

}  // namespace TWQuickTime
