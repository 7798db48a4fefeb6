// The sequence grabber: recording from capture devices into a movie.
//
// A grabber has channels, one for pictures and one for sound as a rule; a channel has a device, and
// a device inputs. What a device delivers is recorded as it comes.
//
//     SeqGrabComponent grabber = OpenDefaultComponent(SeqGrabComponentType, 0);
//     SGChannel channel = nullptr;
//     SGInitialize(grabber);
//     SGNewChannel(grabber, SGVideoMediaType, &channel);
//     SGSetDataRef(grabber, reference, referenceType, seqGrabToDisk);
//     SGStartRecord(grabber);
//     while (wanted && SGIdle(grabber) == noErr) …
//     SGStop(grabber);
//     CloseComponent(grabber);                    // its channels go with it
//
// The file is a movie at every moment of a recording, and an ordinary one after SGStop. Recording
// again without another SGSetDataRef goes on behind what was recorded before.
//
// A grabber and its channels are used by one thread at a time. Threads of the recording live from
// SGStartRecord to SGStop and call nothing of the host's.
#pragma once

#include <cstdint>

#include "FSSpec.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

using SeqGrabComponent = ComponentInstance;
using SGChannel = ComponentInstance;

constexpr OSType SeqGrabComponentType = fourCC("barg");
constexpr OSType SeqGrabChannelType = fourCC("sgch");
constexpr OSType SGVideoMediaType = fourCC("vide");
constexpr OSType SGSoundMediaType = fourCC("soun");

// Where a recording goes.
constexpr std::int32_t seqGrabToDisk = 1;

// What a channel is used for.
constexpr std::int32_t seqGrabRecord = 1;
constexpr std::int32_t seqGrabPreview = 2;

// What a device list shall hold.
constexpr std::int32_t sgDeviceListWithIcons = 1;
/// Do not ask every device whether it is in use.
constexpr std::int32_t sgDeviceListDontCheckAvailability = 2;
constexpr std::int32_t sgDeviceListIncludeInputs = 4;

// Flags of devices and inputs.
constexpr std::int32_t sgDeviceNameFlagDeviceUnavailable = 1;
constexpr std::int32_t sgDeviceInputNameFlagInputUnavailable = 1;

// Statuses of the grabber.
constexpr OSErr noDeviceForChannel = -9400;
/// The grabber is idle, or is recording, and the call needs the other.
constexpr OSErr cantDoThatInCurrentMode = -9402;
/// The device is in use elsewhere, or delivers nothing that can be recorded.
constexpr OSErr deviceCantMeetRequest = -9408;

struct SGDeviceInputName {
    std::uint8_t name[64] = {};  ///< a Pascal string
    Handle icon = nullptr;       ///< devices here have no icons
    std::int32_t flags = 0;
    std::int32_t reserved = 0;
};

struct SGDeviceInputListRecord {
    std::int16_t count = 0;
    std::int16_t selectedIndex = 0;
    std::int32_t reserved = 0;
    SGDeviceInputName entry[1];  ///< `count` of them
};
using SGDeviceInputList = SGDeviceInputListRecord**;

struct SGDeviceName {
    /// A Pascal string, no two alike in one list: a later device of the same name has " #2" and so
    /// on behind it. Names of more than 63 bytes are cut at the end of a character.
    std::uint8_t name[64] = {};
    Handle icon = nullptr;
    std::int32_t flags = 0;
    std::int32_t refCon = 0;
    SGDeviceInputList inputs = nullptr;  ///< null without sgDeviceListIncludeInputs
    /// UTF-8 text that names the same device again later, when it has another name or place in the
    /// list: its serial or bus path.
    Handle identity = nullptr;
};

struct SGDeviceListRecord {
    std::int16_t count = 0;
    std::int16_t selectedIndex = 0;
    std::int32_t reserved = 0;
    SGDeviceName entry[1];  ///< `count` of them
};
using SGDeviceList = SGDeviceListRecord**;

/// Brings a grabber that was just opened into working order.
TWQT_EXPORT ComponentResult SGInitialize(SeqGrabComponent grabber);

/// A channel that uses the first available device of its kind, whenever one is there.
/// @param channelType  SGVideoMediaType or SGSoundMediaType; others give featureUnsupported
/// @param channel  belongs to the grabber; see SGDisposeChannel
TWQT_EXPORT ComponentResult SGNewChannel(SeqGrabComponent grabber, OSType channelType,
                                         SGChannel* channel);
/// @return cantDoThatInCurrentMode while the grabber records
TWQT_EXPORT ComponentResult SGDisposeChannel(SeqGrabComponent grabber, SGChannel channel);
/// @param usage  with seqGrabRecord (the default) the channel takes part in recordings
TWQT_EXPORT ComponentResult SGSetChannelUsage(SGChannel channel, std::int32_t usage);
TWQT_EXPORT ComponentResult SGGetChannelUsage(SGChannel channel, std::int32_t* usage);

/// Names the file to record into, which is made or emptied when the recording starts.
/// @param whereFlags  seqGrabToDisk; others give featureUnsupported
/// @return cantDoThatInCurrentMode while the grabber records
TWQT_EXPORT ComponentResult SGSetDataRef(SeqGrabComponent grabber, Handle dataRef,
                                         OSType dataRefType, std::int32_t whereFlags);
TWQT_EXPORT ComponentResult SGSetDataOutput(SeqGrabComponent grabber, const FSSpec* movieFile,
                                            std::int32_t whereFlags);

/// Lists what is plugged in now.
/// @param selectionFlags  sgDeviceList… flags
/// @param list  disposed of by SGDisposeDeviceList; null on failure
TWQT_EXPORT ComponentResult SGGetChannelDeviceList(SGChannel channel, std::int32_t selectionFlags,
                                                   SGDeviceList* list);
/// nilHandleErr for no list.
TWQT_EXPORT ComponentResult SGDisposeDeviceList(SeqGrabComponent grabber, SGDeviceList list);
/// @param name  Pascal string: a name of the device list; the beginning of one, when only one
///     device's name begins so; with question marks for bytes of a name that are no ASCII
/// @return noDeviceForChannel, cantDoThatInCurrentMode while the grabber records
TWQT_EXPORT ComponentResult SGSetChannelDevice(SGChannel channel, const std::uint8_t* name);
/// @param inputNumber  index in the input list of the channel's device; paramErr outside
TWQT_EXPORT ComponentResult SGSetChannelDeviceInput(SGChannel channel, std::int16_t inputNumber);
/// @param deviceName, inputName  room for 256 bytes each, set to Pascal strings; may be null
/// @param inputNumber  may be null
TWQT_EXPORT ComponentResult SGGetChannelDeviceAndInputNames(SGChannel channel,
                                                            std::uint8_t* deviceName,
                                                            std::uint8_t* inputName,
                                                            std::int16_t* inputNumber);
/// Adds the built-in test pattern to the lists of the grabber's channels, or takes it out. It is
/// in them from the start when the environment has TWQT_TEST_PATTERN=1.
TWQT_EXPORT ComponentResult SGOfferTestPattern(SeqGrabComponent grabber, Boolean offered);

/// Opens the devices of all channels, so that starting takes no time.
/// @param prepareForPreview  pictures are not shown here; true alone opens nothing
TWQT_EXPORT ComponentResult SGPrepare(SeqGrabComponent grabber, Boolean prepareForPreview,
                                      Boolean prepareForRecord);
/// Closes devices that are open but do not record.
TWQT_EXPORT ComponentResult SGRelease(SeqGrabComponent grabber);
/// @return paramErr without a file to record into, noDeviceForChannel without channels or devices,
///     cantDoThatInCurrentMode while recording, dupFNErr when the file of an earlier recording was
///     changed or moved since
TWQT_EXPORT ComponentResult SGStartRecord(SeqGrabComponent grabber);
/// To be called now and then while recording.
/// @return noErr when idle; noDeviceForChannel once a device has gone, a status of the file system
///     once nothing can be written. The recording goes on with what is left until SGStop.
TWQT_EXPORT ComponentResult SGIdle(SeqGrabComponent grabber);
/// Returns when everything that was captured is in the file.
/// @return cantDoThatInCurrentMode when the grabber is idle
TWQT_EXPORT ComponentResult SGStop(SeqGrabComponent grabber);

}  // namespace TWQuickTime
