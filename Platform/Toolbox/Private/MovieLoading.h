// A movie file on its way into a movie that exists already, a slice of work at a time.
//
//     auto loading = MovieLoading::begin(path, flags);
//     while ((*loading)->state() != kMovieLoadStateComplete) (*loading)->takeTurn(record);
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Engines/result/Result.h"
#include "Engines/transcode/MovieImport.h"

namespace TWQuickTime {

struct MovieRecord;

class MovieLoading {
  public:
    /// Fails at once for what is no file that can be read; whether there is a movie in it shows
    /// later.
    /// @param flags  newMovie… flags
    static result::Expected<std::unique_ptr<MovieLoading>> begin(const std::string& path,
                                                                 std::int32_t flags);

    /// One of the kMovieLoadState… values. All data of a file are there once its tables are read,
    /// so each turn after that one goes up one state.
    std::int32_t state() const { return state_; }
    /// Does a few milliseconds of work, or as much as reading the headers of one file needs;
    /// nothing once the movie is complete or has failed.
    void takeTurn(MovieRecord& record);

  private:
    MovieLoading(std::string path, std::int32_t flags);
    void readHeaders(MovieRecord& record);
    void readPackets(MovieRecord& record);
    void adopt(MovieRecord& record, std::unique_ptr<timeline::Movie> loaded);

    std::string path_;
    std::int32_t flags_;
    std::int32_t state_;
    std::unique_ptr<transcode::MovieImport> import_;
};

}  // namespace TWQuickTime
