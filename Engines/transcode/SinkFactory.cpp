#include "Engines/transcode/SinkFactory.h"

#include "Engines/transcode/ForeignSink.h"
#include "Engines/transcode/ImageSequenceSink.h"
#include "Engines/transcode/MovieFileSink.h"

namespace TWQuickTime::transcode {

result::Expected<std::unique_ptr<MediaSink>> openSink(moviefile::FileStorage& storage,
                                                      FileKind kind,
                                                      const std::string& destination) {
    switch (kind) {
        case FileKind::quickTime:
        case FileKind::mpeg4:
        case FileKind::m4v:
        case FileKind::threeGpp:
        case FileKind::m4a:
            return openMovieFileSink(storage, kind);
        case FileKind::imageSequence:
            return makeImageSequenceSink(storage, destination);
        default:
            return openForeignSink(storage, kind);
    }
}

}  // namespace TWQuickTime::transcode
