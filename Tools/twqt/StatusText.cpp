#include "StatusText.h"

#include <array>
#include <string_view>
#include <utility>

#include "SequenceGrabber.h"
#include "ToolboxTypes.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

constexpr auto texts = std::to_array<std::pair<std::int32_t, std::string_view>>({
    {noErr, "no error"},
    {ioErr, "input or output failed"},
    {eofErr, "end of file"},
    {fnfErr, "file not found"},
    {dupFNErr, "file exists already"},
    {opWrErr, "file is open for writing elsewhere"},
    {paramErr, "wrong argument"},
    {permErr, "not permitted"},
    {memFullErr, "not enough memory"},
    {nilHandleErr, "empty handle"},
    {userCanceledErr, "cancelled"},
    {couldNotResolveDataRef, "file or data not found"},
    {badImageDescription, "damaged image description"},
    {cantFindHandler, "no handler for this"},
    {badComponentType, "wrong kind of component"},
    {noMediaHandler, "no media handler for this kind of track"},
    {noDataHandler, "no data handler for this kind of storage"},
    {invalidMedia, "not a media"},
    {invalidTrack, "not a track"},
    {invalidMovie, "not a movie"},
    {invalidSampleTable, "damaged sample table"},
    {invalidDataRef, "not a data reference"},
    {invalidHandler, "not a handler"},
    {invalidDuration, "wrong duration"},
    {invalidTime, "time outside of the movie"},
    {badEditList, "damaged edit list"},
    {progressProcAborted, "cancelled"},
    {movieToolboxUninitialized, "movie toolbox not entered"},
    {userDataItemNotFound, "no such user data"},
    {badTrackIndex, "no such track"},
    {trackIDNotFound, "no such track"},
    {invalidSampleDescription, "damaged sample description"},
    {dataNotOpenForRead, "data not open for reading"},
    {dataNotOpenForWrite, "data not open for writing"},
    {noMovieFound, "no movie found in the file"},
    {featureUnsupported, "not supported"},
    {cannotFindAtomErr, "no such atom"},
    {invalidAtomErr, "not an atom"},
    {invalidAtomContainerErr, "not an atom container"},
    {codecErr, "codec failed"},
    {noCodecErr, "no such codec on this machine"},
    {codecUnimpErr, "the codec cannot do this"},
    {codecBadDataErr, "damaged compressed data"},
    {noDeviceForChannel, "no such capture device"},
    {cantDoThatInCurrentMode, "not possible in the grabber's present mode"},
    {deviceCantMeetRequest, "the device is in use elsewhere or delivers nothing to record"},
    {badInstance, "not a component instance"},
    {badComponentSelector, "the component cannot do this"},
});

}  // namespace

std::string statusText(std::int32_t status) {
    const std::string number = std::to_string(status);
    for (const auto& [known, text] : texts) {
        if (known == status)
            return std::string(text) + " (" + number + ")";
    }
    return "status " + number;
}

}  // namespace twqt
