// The inputs of all capture devices as one flat list for a menu, and switching between them.
//
//     NSArray inputs = TWUSequenceGrabber::createInputDeviceArrayForChannel(channel, grabber,
//     false); show(inputs);                                    // "Device Name Unique" of each
//     OSErr status = TWUSequenceGrabber::switchChannel(
//         channel, grabber, inputs.objectAtIndex(chosen).dictionaryValue());
//
// An entry of the list is a dictionary with the keys
//     "Device Name Unique"   string: the input's name, with the device's in brackets where they
//     differ "Device Name"          string: the device's name "Device Index"         integer: of
//     the input among its device's inputs "Device Selected"      bool: whether the channel uses
//     that input "Device Input Name"    string: the input's name
// and besides, where the device has one,
//     "Device Identity"      string: the device's serial or bus path, by which a host finds it
//     again
//
// Names are read as UTF-8, else in the application's text encoding. One that is neither stands in
// the list with a question mark for each byte that is not ASCII; the grabber knows the device by
// that name too. Used by the thread that uses the grabber.
#pragma once

#include "NSString.h"
#include "PropertyListValue.h"
#include "SequenceGrabber.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT TWUSequenceGrabber {
  public:
    /// The inputs of all available devices; of a device without flags, or of every one with
    /// `ignoreUnavailableDriverFlag`. An input with flags is listed only when it is selected.
    ///     (createInputDeviceArrayForChannel:ofSequenceGrabber:ignoreUnavailableDriverFlag:)
    /// @return nil when there is no list; a missing channel or grabber is logged
    static NSArray createInputDeviceArrayForChannel(SGChannel channel,
                                                    SeqGrabComponent ofSequenceGrabber,
                                                    bool ignoreUnavailableDriverFlag);
    /// The name of the selected input, or of the device when its inputs are not known; nil when
    /// there is no device. Logs nothing.       (dataSourceNameForChannel:inSequenceGrabber:)
    static NSString dataSourceNameForChannel(SGChannel channel, SeqGrabComponent inSequenceGrabber);
    /// The name of the selected device.       (driverSourceNameForChannel:inSequenceGrabber:)
    static NSString driverSourceNameForChannel(SGChannel channel,
                                               SeqGrabComponent inSequenceGrabber);
    /// Stops the grabber, switches, and starts it again if it ran, also when switching failed.
    ///     (switchChannel:ofSequenceGrabber:toDeviceName:atDeviceIndex:)
    /// @param toDeviceName  as many bytes of it are handed on as it has characters, on purpose: a
    ///     name beyond ASCII is cut short
    /// @param atDeviceIndex  of the input
    /// @return 0 also when one of the first three is missing, and then nothing is done
    static OSErr switchChannel(SGChannel channel, SeqGrabComponent ofSequenceGrabber,
                               const NSString& toDeviceName, std::int16_t atDeviceIndex);
    /// The same for an entry of the list.       (switchChannel:ofSequenceGrabber:toDeviceDict:)
    static OSErr switchChannel(SGChannel channel, SeqGrabComponent ofSequenceGrabber,
                               const NSDictionary& toDeviceDict);
};

}  // namespace TWQuickTime
