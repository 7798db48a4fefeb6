#include "FileReferences.h"
#include "LaunchServices.h"
#include "MovieStorage.h"
#include "QTMovie.h"
#include "StDataRef.h"
#include "TWUQuickTimeMovie.h"

namespace TWQuickTime {

bool TWUQuickTimeMovie::isMovieFile(const NSString& path) {
    FSRef ref;
    if (FSPathMakeRef(path.fileSystemRepresentation(), &ref, nullptr) != noErr)
        return false;
    NSArray names = NSArray::array();
    names.addObject(kLSItemContentType);
    NSDictionary values;
    if (LSCopyItemAttributes(&ref, kLSRolesViewer, names, &values) != noErr)
        return false;
    const NSString type = values.objectForKey(kLSItemContentType).stringValue();
    return type && UTTypeConformsTo(type, kUTTypeMovie);
}

std::shared_ptr<QTMovie> TWUQuickTimeMovie::movieWithPath(const NSString& path,
                                                          const NSString& apertureMode) {
    if (!path)
        return nullptr;
    const std::shared_ptr<QTMovie> movie = QTMovie::movieWithFile(path, nullptr);
    if (!movie)
        return nullptr;
    if (!movie->attributeForKey(QTMovieHasApertureModeDimensionsAttribute).boolValue())
        movie->generateApertureModeDimensions();
    movie->setAttribute(apertureMode, QTMovieApertureModeAttribute);
    return movie;
}

Movie TWUQuickTimeMovie::createMovieFromFSSpec(FSSpec fileSpec, std::int8_t withPermissions,
                                               std::int16_t* outResRefNum, OSErr* outOSError) {
    std::int16_t resRefNum = 0;
    Movie movie = nullptr;
    OSErr status = OpenMovieFile(&fileSpec, &resRefNum, withPermissions);
    if (status == noErr) {
        status = NewMovieFromFile(&movie, resRefNum, nullptr, nullptr, 0, nullptr);
        CloseMovieFile(resRefNum);
    }
    if (status != noErr) {
        if (outOSError)
            *outOSError = status;
        return nullptr;
    }
    // The file is closed already; the number is handed out all the same, on purpose.
    if (outResRefNum)
        *outResRefNum = resRefNum;
    return movie;
}

Movie TWUQuickTimeMovie::createMovieFromPath(const NSString& path, std::int8_t withPermissions,
                                             FSSpec* outFSSPec, std::int16_t* outResRefNum,
                                             OSErr* outOSError) {
    FSSpec fileSpec;
    const OSErr status = FilePathToFSSpec(path, &fileSpec);
    if (status != noErr) {
        if (outOSError)
            *outOSError = status;
        return nullptr;
    }
    if (outFSSPec)
        *outFSSPec = fileSpec;
    return createMovieFromFSSpec(fileSpec, withPermissions, outResRefNum, outOSError);
}

}  // namespace TWQuickTime
