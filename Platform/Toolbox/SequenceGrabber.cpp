#include "SequenceGrabber.h"

#include <new>

#include "Components.h"
#include "Private/DataReferencePath.h"
#include "Private/FileRecords.h"
#include "Private/Grabber.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

/// Makes the call on the instance's grabber, or says why there is none.
template <class Request>
ComponentResult onGrabber(const char* name, ComponentInstance instance, Request request) {
    ToolboxCall call(name);
    if (call.faulted())
        return call.status();
    if (!componentStorage(instance))
        return badInstance;
    auto* grabber = componentStorageAs<Grabber>(instance);
    if (!grabber)
        return badComponentSelector;
    try {
        return call.finish(request(*grabber));
    } catch (const std::bad_alloc&) {
        return call.fail(memFullErr);
    }
}

}  // namespace

ComponentResult SGInitialize(SeqGrabComponent grabber) {
    return onGrabber("SGInitialize", grabber, [](Grabber&) { return noErr; });
}

ComponentResult SGNewChannel(SeqGrabComponent grabber, OSType channelType, SGChannel* channel) {
    if (channel)
        *channel = nullptr;
    return onGrabber("SGNewChannel", grabber, [&](Grabber& each) {
        return channel ? each.addChannel(channelType, channel) : paramErr;
    });
}

ComponentResult SGDisposeChannel(SeqGrabComponent grabber, SGChannel channel) {
    return onGrabber("SGDisposeChannel", grabber,
                     [&](Grabber& each) { return each.disposeChannel(channel); });
}

ComponentResult SGSetDataRef(SeqGrabComponent grabber, Handle dataRef, OSType dataRefType,
                             std::int32_t whereFlags) {
    return onGrabber("SGSetDataRef", grabber, [&](Grabber& each) {
        const NSString path = dataReferencePath(dataRef, dataRefType);
        return path.isNil() ? couldNotResolveDataRef : each.setOutput(path, whereFlags);
    });
}

ComponentResult SGSetDataOutput(SeqGrabComponent grabber, const FSSpec* movieFile,
                                std::int32_t whereFlags) {
    return onGrabber("SGSetDataOutput", grabber, [&](Grabber& each) {
        if (!movieFile)
            return paramErr;
        const NSString path = fileRecordPath(*movieFile);
        return path.isNil() ? fnfErr : each.setOutput(path, whereFlags);
    });
}

ComponentResult SGOfferTestPattern(SeqGrabComponent grabber, Boolean offered) {
    return onGrabber("SGOfferTestPattern", grabber, [&](Grabber& each) {
        each.offerTestPattern(offered);
        return noErr;
    });
}

ComponentResult SGPrepare(SeqGrabComponent grabber, Boolean, Boolean prepareForRecord) {
    return onGrabber("SGPrepare", grabber,
                     [&](Grabber& each) { return prepareForRecord ? each.prepare() : noErr; });
}

ComponentResult SGRelease(SeqGrabComponent grabber) {
    return onGrabber("SGRelease", grabber, [](Grabber& each) {
        each.release();
        return noErr;
    });
}

ComponentResult SGStartRecord(SeqGrabComponent grabber) {
    return onGrabber("SGStartRecord", grabber, [](Grabber& each) { return each.startRecord(); });
}

ComponentResult SGIdle(SeqGrabComponent grabber) {
    return onGrabber("SGIdle", grabber, [](const Grabber& each) { return each.idle(); });
}

ComponentResult SGStop(SeqGrabComponent grabber) {
    return onGrabber("SGStop", grabber, [](Grabber& each) { return each.stop(); });
}

}  // namespace TWQuickTime
