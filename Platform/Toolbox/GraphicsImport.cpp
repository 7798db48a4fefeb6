#include "GraphicsImport.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "Components.h"
#include "NSData.h"
#include "Private/ComponentRegistry.h"
#include "Private/DataReferencePath.h"
#include "Private/ImageOfData.h"
#include "Private/ToolboxCall.h"

namespace TWQuickTime {
namespace {

struct PictureFormat {
    const char* subType;
    const char* name;
    std::array<std::string_view, 5> extensions;
};

// Every format that the picture engine reads, with the extensions that files of it carry.
constexpr PictureFormat kFormats[] = {
    {"PNGf", "PNG", {"png"}},
    {"JPEG", "JPEG", {"jpg", "jpeg", "jpe", "jfif"}},
    {"TIFF", "TIFF", {"tif", "tiff"}},
    {"GIFf", "GIF", {"gif"}},
    {"BMPf", "BMP", {"bmp", "dib"}},
    {"TPIC", "TGA", {"tga", "targa", "vda", "icb", "vst"}},
    {"8BPS", "Photoshop", {"psd"}},
    {"jp2 ", "JPEG 2000", {"jp2", "j2k", "jpx", "j2c"}},
    {".SGI", "SGI", {"sgi", "rgb", "rgba", "bw"}},
    {"PNTM", "Portable Any Map", {"pnm", "ppm", "pgm", "pbm", "pam"}},
    {"PCX ", "PCX", {"pcx"}},
    {"WEBP", "WebP", {"webp"}},
    {"heic", "HEIF", {"heic", "heif", "avif", "hif"}},
    {"PICT", "Picture", {"pict", "pct", "pic"}},
};

constexpr std::string_view kMovieExtensions[] = {
    "mov",  "qt",  "mp4", "m4v",  "m4a",  "3gp", "3g2",  "avi", "mkv", "webm", "dv",  "mpg",
    "mpeg", "wav", "aif", "aiff", "aifc", "mp3", "flac", "au",  "snd", "ogg",  "caf", "mxf"};

const PictureFormat* formatOfExtension(const NSString& path) {
    const std::string extension = path.pathExtension().lowercaseString().utf8();
    const auto* found =
        std::find_if(std::begin(kFormats), std::end(kFormats), [&](const PictureFormat& format) {
            return !extension.empty() &&
                   std::find(format.extensions.begin(), format.extensions.end(), extension) !=
                       format.extensions.end();
        });
    return found == std::end(kFormats) ? nullptr : found;
}

bool hasMovieExtension(const NSString& path) {
    const std::string extension = path.pathExtension().lowercaseString().utf8();
    return std::find(std::begin(kMovieExtensions), std::end(kMovieExtensions), extension) !=
           std::end(kMovieExtensions);
}

/// An open importer; without a file until one is given to it.
class GraphicsImporter : public ComponentStorage {
  public:
    ~GraphicsImporter() override { CGImageRelease(image); }
    CGImageRef image = nullptr;
    std::uint32_t quality = codecLosslessQuality;
};

const ComponentProvider provider(ComponentRank::graphicsImporters, [] {
    for (const PictureFormat& format : kFormats) {
        registerComponent({.description = {.componentType = GraphicsImporterComponentType,
                                           .componentSubType = fourCC(format.subType),
                                           .componentManufacturer = kAppleManufacturer,
                                           .componentFlags = cmpThreadSafe},
                           .name = format.name,
                           .info = std::string("Reads ") + format.name + " pictures.",
                           .open = [] { return std::make_unique<GraphicsImporter>(); }});
    }
});

GraphicsImporter* importerOf(ComponentInstance instance) {
    return componentStorageAs<GraphicsImporter>(instance);
}

}  // namespace

OSErr GetGraphicsImporterForDataRef(Handle dataRef, OSType dataRefType,
                                    ComponentInstance* importer) {
    ToolboxCall call("GetGraphicsImporterForDataRef");
    if (importer)
        *importer = nullptr;
    if (call.faulted())
        return call.fail(call.status());
    if (!importer)
        return call.fail(paramErr);
    const NSString path = dataReferencePath(dataRef, dataRefType);
    if (path.isNil())
        return call.fail(couldNotResolveDataRef);
    const NSData data = NSData::dataWithContentsOfFile(path);
    if (data.isNil())
        return call.fail(std::filesystem::exists(path.utf8()) ? ioErr : fnfErr);
    CGImageRef image = createImageOfData(data, path.utf8());
    if (!image)
        return call.fail(formatOfExtension(path) ? codecBadDataErr : noCodecErr);
    // The contents decide what is read; the extension only which of the alike components it is.
    const PictureFormat* format = formatOfExtension(path);
    ComponentInstance instance =
        OpenDefaultComponent(GraphicsImporterComponentType, format ? fourCC(format->subType) : 0);
    GraphicsImporter* storage = importerOf(instance);
    if (!storage) {
        CGImageRelease(image);
        CloseComponent(instance);
        return call.fail(noCodecErr);
    }
    storage->image = image;
    *importer = instance;
    return call.succeed();
}

OSErr CanQuickTimeOpenDataRef(Handle dataRef, OSType dataRefType,
                              Boolean* canOpenWithGraphicsImporter, Boolean* canOpenAsMovie,
                              Boolean* preferGraphicsImporter, std::uint32_t flags) {
    ToolboxCall call("CanQuickTimeOpenDataRef");
    for (Boolean* place : {canOpenWithGraphicsImporter, canOpenAsMovie, preferGraphicsImporter})
        if (place)
            *place = false;
    if (call.faulted())
        return call.fail(call.status());
    const NSString path = dataReferencePath(dataRef, dataRefType);
    if (path.isNil())
        return call.fail(couldNotResolveDataRef);
    std::error_code none;
    if (!std::filesystem::exists(path.utf8(), none))
        return call.fail(fnfErr);
    bool asPicture = formatOfExtension(path) != nullptr;
    const bool asMovie = hasMovieExtension(path);
    if ((flags & kQTDontUseDataToFindImporter) == 0 && !asPicture && !asMovie) {
        CGImageRef image = createImageOfData(NSData::dataWithContentsOfFile(path), path.utf8());
        asPicture = image != nullptr;
        CGImageRelease(image);
    }
    if (canOpenWithGraphicsImporter)
        *canOpenWithGraphicsImporter = asPicture;
    if (canOpenAsMovie)
        *canOpenAsMovie = asMovie || asPicture;
    if (preferGraphicsImporter)
        *preferGraphicsImporter = asPicture;
    return call.succeed();
}

ComponentResult GraphicsImportSetQuality(ComponentInstance importer, std::uint32_t quality) {
    ToolboxCall call("GraphicsImportSetQuality");
    if (call.faulted())
        return call.status();
    GraphicsImporter* storage = importerOf(importer);
    if (!storage)
        return badInstance;
    if (quality > codecLosslessQuality)
        return call.fail(paramErr);
    storage->quality = quality;
    return call.succeed();
}

ComponentResult GraphicsImportGetQuality(ComponentInstance importer, std::uint32_t* quality) {
    ToolboxCall call("GraphicsImportGetQuality");
    if (call.faulted())
        return call.status();
    const GraphicsImporter* storage = importerOf(importer);
    if (!storage)
        return badInstance;
    if (!quality)
        return call.fail(paramErr);
    *quality = storage->quality;
    return call.succeed();
}

ComponentResult GraphicsImportCreateCGImage(ComponentInstance importer, CGImageRef* image,
                                            std::uint32_t) {
    ToolboxCall call("GraphicsImportCreateCGImage");
    if (image)
        *image = nullptr;
    if (call.faulted())
        return call.status();
    const GraphicsImporter* storage = importerOf(importer);
    if (!storage)
        return badInstance;
    if (!image)
        return call.fail(paramErr);
    if (!storage->image)
        return call.fail(noCodecErr);
    *image = CGImageRetain(storage->image);
    return call.succeed();
}

ComponentResult GraphicsImportGetNaturalBounds(ComponentInstance importer, Rect* bounds) {
    ToolboxCall call("GraphicsImportGetNaturalBounds");
    if (bounds)
        *bounds = Rect();
    if (call.faulted())
        return call.status();
    const GraphicsImporter* storage = importerOf(importer);
    if (!storage)
        return badInstance;
    if (!bounds)
        return call.fail(paramErr);
    if (!storage->image)
        return call.fail(noCodecErr);
    const auto side = [](std::size_t pixels) {
        return static_cast<std::int16_t>(std::min<std::size_t>(pixels, 32767));
    };
    *bounds = {0, 0, side(CGImageGetHeight(storage->image)), side(CGImageGetWidth(storage->image))};
    return call.succeed();
}

}  // namespace TWQuickTime
