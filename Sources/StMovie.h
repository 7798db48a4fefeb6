// A movie, and the storage that it was opened from or created in, for the length of a scope.
//
// A constructor that fails logs why and leaves an object without a movie: test GetMovie(). The
// destructor closes the storage, then disposes of the movie. Only a movie with a storage can be
// written back.
//
//     StMovie movie(path);
//     if (!movie.GetMovie()) return;
//     …
//     OSErr status = movie.UpdateMovieFile();
#pragma once

#include "NSString.h"
#include "TWQTExport.h"
#include "ToolboxTypes.h"

namespace TWQuickTime {

class TWQT_EXPORT StMovie {
  public:
    /// A new, empty movie without storage.
    StMovie();
    /// Takes over an existing movie, which may be null; no storage.
    explicit StMovie(Movie inMovie);
    /// Opens a movie file for reading and writing; nil makes an empty object.
    explicit StMovie(const NSString& inPath);
    /// Makes a new movie file, replacing one that is there; nil makes an empty object.
    /// @param inTimeScale  units per second
    /// @param inCreator  creator code of the file
    StMovie(const NSString& inPath, TimeScale inTimeScale, OSType inCreator);
    ~StMovie();
    StMovie(const StMovie&) = delete;
    StMovie& operator=(const StMovie&) = delete;

    Movie GetMovie() const { return mMovie; }
    operator Movie() const { return mMovie; }
    /// Null for a movie without storage.
    ComponentInstance GetDataHandler() const { return mDataHandler; }
    operator ComponentInstance() const { return mDataHandler; }

    /// Writes the movie back into its storage.
    /// @return -2010 without a movie, -2007 without a storage, else the toolbox's status
    OSErr UpdateMovieFile();

    // These are the functions of UQuickTimeMovie on the movie held.
    OSErr CreateNewVideoTrack(int inWidth, int inHeight, int inLayer, TimeScale inTimeScale,
                              Track* outTrack, Media* outMedia);
    OSErr CreateNewAudioTrack(TimeScale inTimeScale, Track* outTrack, Media* outMedia);
    std::int32_t GetTrackCount() const;
    std::int32_t GetTrackCountForMediaType(OSType inMediaType) const;
    Track GetTrackForMediaTypeAtIndex(OSType inMediaType, int inIndex) const;
    std::int32_t GetVideoTrackCount() const;
    Track GetVideoTrackAtIndex(int inIndex) const;
    std::int32_t GetAudioTrackCount() const;
    Track GetAudioTrackAtIndex(int inIndex) const;
    std::int32_t GetTweenTrackCount() const;
    Track GetTweenTrackAtIndex(int inIndex) const;
    /// @param inTime  four times in seconds; see UQuickTimeMovie
    OSErr CreateNewTweenTrackForAudioTrack(Track inAudioTrack, const double* inTime,
                                           double inVolume);

  private:
    Movie mMovie = nullptr;
    ComponentInstance mDataHandler = nullptr;
};

}  // namespace TWQuickTime
