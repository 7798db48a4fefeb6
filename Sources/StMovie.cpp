#include "StMovie.h"

#include "MovieStorage.h"
#include "Movies.h"
#include "StDataRef.h"
#include "TWLog.h"
#include "UQuickTimeMovie.h"

namespace TWQuickTime {
namespace {

constexpr const char* kSourceFile = "Sources/StMovie";

}  // namespace

StMovie::StMovie() : mMovie(NewMovie(newMovieActive)) {
    TWLogError(GetMoviesError(), "NewMovie", kSourceFile, __LINE__);
}

StMovie::StMovie(Movie inMovie) : mMovie(inMovie) {}

StMovie::StMovie(const NSString& inPath) {
    if (!inPath)
        return;
    const StDataRef dataRef(inPath);
    OSErr status = OpenMovieStorage(dataRef.GetDataRef(), dataRef.GetType(),
                                    kDataHCanRead | kDataHCanWrite, &mDataHandler);
    TWLogError(status, "OpenMovieStorage", kSourceFile, __LINE__);
    if (status != noErr)
        return;
    std::int16_t resourceID = 0;
    status = NewMovieFromDataRef(&mMovie, newMovieActive, &resourceID, dataRef.GetDataRef(),
                                 dataRef.GetType());
    TWLogError(status, "NewMovieFromDataRef", kSourceFile, __LINE__);
}

StMovie::StMovie(const NSString& inPath, TimeScale inTimeScale, OSType inCreator) {
    if (!inPath)
        return;
    const StDataRef dataRef(inPath);
    // The flags of "delete an existing file", "no resource fork" and "active movie".
    constexpr std::uint32_t kFlags =
        createMovieFileDeleteCurFile | createMovieFileDontCreateResFile | newMovieActive;
    OSErr status = CreateMovieStorage(dataRef.GetDataRef(), dataRef.GetType(), inCreator,
                                      smSystemScript, kFlags, &mDataHandler, &mMovie);
    TWLogError(status, "CreateMovieStorage", kSourceFile, __LINE__);
    if (status != noErr) {
        TWLog("inPath=%@", inPath);
        return;
    }
    if (!mMovie)
        return;
    SetMovieTimeScale(mMovie, inTimeScale);
    status = GetMoviesError();
    TWLogError(status, "SetMovieTimeScale", kSourceFile, __LINE__);
    if (status != noErr)
        TWLog("inTimeScale=%d", inTimeScale);
}

StMovie::~StMovie() {
    if (mDataHandler)
        TWLogError(CloseMovieStorage(mDataHandler), "CloseMovieStorage", kSourceFile, __LINE__);
    if (mMovie) {
        DisposeMovie(mMovie);
        TWLogError(GetMoviesError(), "DisposeMovie", kSourceFile, __LINE__);
    }
}

OSErr StMovie::UpdateMovieFile() {
    if (!mMovie) {
        TWLog("%s: Cannot update file of a NULL movie...", "UpdateMovieFile");
        return invalidMovie;
    }
    if (!mDataHandler) {
        TWLog("%s: Cannot update file with a NULL data handler...", "UpdateMovieFile");
        return noDataHandler;
    }
    const OSErr status = UpdateMovieInStorage(mMovie, mDataHandler);
    TWLogError(status, "UpdateMovieInStorage", kSourceFile, __LINE__);
    return status;
}

OSErr StMovie::CreateNewVideoTrack(int inWidth, int inHeight, int inLayer, TimeScale inTimeScale,
                                   Track* outTrack, Media* outMedia) {
    return UQuickTimeMovie::CreateNewVideoTrack(mMovie, inWidth, inHeight, inLayer, inTimeScale,
                                                outTrack, outMedia);
}

OSErr StMovie::CreateNewAudioTrack(TimeScale inTimeScale, Track* outTrack, Media* outMedia) {
    return UQuickTimeMovie::CreateNewAudioTrack(mMovie, inTimeScale, outTrack, outMedia);
}

std::int32_t StMovie::GetTrackCount() const {
    return UQuickTimeMovie::GetTrackCount(mMovie);
}

std::int32_t StMovie::GetTrackCountForMediaType(OSType inMediaType) const {
    return UQuickTimeMovie::GetTrackCountForMediaType(mMovie, inMediaType);
}

Track StMovie::GetTrackForMediaTypeAtIndex(OSType inMediaType, int inIndex) const {
    return UQuickTimeMovie::GetTrackForMediaTypeAtIndex(mMovie, inMediaType, inIndex);
}

std::int32_t StMovie::GetVideoTrackCount() const {
    return UQuickTimeMovie::GetVideoTrackCount(mMovie);
}

Track StMovie::GetVideoTrackAtIndex(int inIndex) const {
    return UQuickTimeMovie::GetVideoTrackAtIndex(mMovie, inIndex);
}

std::int32_t StMovie::GetAudioTrackCount() const {
    return UQuickTimeMovie::GetAudioTrackCount(mMovie);
}

Track StMovie::GetAudioTrackAtIndex(int inIndex) const {
    return UQuickTimeMovie::GetAudioTrackAtIndex(mMovie, inIndex);
}

std::int32_t StMovie::GetTweenTrackCount() const {
    return UQuickTimeMovie::GetTweenTrackCount(mMovie);
}

Track StMovie::GetTweenTrackAtIndex(int inIndex) const {
    return UQuickTimeMovie::GetTweenTrackAtIndex(mMovie, inIndex);
}

OSErr StMovie::CreateNewTweenTrackForAudioTrack(Track inAudioTrack, const double* inTime,
                                                double inVolume) {
    return UQuickTimeMovie::CreateNewTweenTrackForAudioTrack(mMovie, inAudioTrack, inTime,
                                                             inVolume);
}

}  // namespace TWQuickTime
