// twqt image info FILE, twqt image load FILE: still pictures through the image loader.
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "CGColorSpace.h"
#include "Command.h"
#include "CommandFailure.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "OutputFile.h"
#include "ReadableFile.h"
#include "SizeArgument.h"
#include "StBitmapContext.h"
#include "TWPathUtils.h"
#include "TextTable.h"
#include "UQuickTimeImage.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct InfoOptions {
    std::string file;
    bool json = false;
};

struct LoadOptions {
    std::string file;
    std::string output;
    std::string profile;
    std::optional<SizeArgument> size;
    bool force = false;
    bool json = false;
};

/// A profile for the length of a scope.
class ProfileFile {
  public:
    explicit ProfileFile(const std::string& path) {
        if (path.empty())
            return;
        requireReadableFile("read profile", path);
        profile_ = CMOpenProfile(NSData::dataWithContentsOfFile(NSString(path)));
        if (!profile_)
            throw failureWithStatus("read profile " + path, paramErr);
    }
    ~ProfileFile() { CMCloseProfile(profile_); }
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;
    CMProfileRef profile() const { return profile_; }

  private:
    CMProfileRef profile_ = nullptr;
};

SizeArgument naturalSize(const std::string& file) {
    SizeArgument size;
    const OSErr status =
        UQuickTimeImage::GetImageSize(NSString(file), &size.widthInPixels, &size.heightInPixels);
    if (status != noErr)
        throw failureWithStatus("open picture " + file, codecBadDataErr);
    return size;
}

void runInfo(const InfoOptions& options) {
    const QuietLog quiet;
    requireReadableFile("open picture", options.file);
    const SizeArgument size = naturalSize(options.file);
    const bool canOpen = UQuickTimeImage::CanOpenImageFile(NSString(options.file));
    if (options.json) {
        printJson(
            {{"width", size.widthInPixels}, {"height", size.heightInPixels}, {"canOpen", canOpen}});
        return;
    }
    TextTable table({{"Picture"}, {"Size"}, {"Opens by its name"}});
    table.addRow({options.file,
                  std::to_string(size.widthInPixels) + "x" + std::to_string(size.heightInPixels),
                  canOpen ? "yes" : "no"});
    table.print();
}

void runLoad(const LoadOptions& options) {
    const QuietLog quiet;
    requireReadableFile("open picture", options.file);
    requireFreeOutput(options.output, options.force);
    const ProfileFile profile(options.profile);
    const SizeArgument size = options.size ? *options.size : naturalSize(options.file);
    StBitmapContext context(nullptr, size.widthInPixels, size.heightInPixels,
                            size.widthInPixels * 4, profile.profile());
    if (!context.GetContext())
        throw failureWithStatus("load picture " + options.file, memFullErr);
    // Pictures with transparent places show white behind them.
    context.EraseToColor(NSColor::colorWithCalibratedWhite(1, 1));
    const OSErr status = UQuickTimeImage::LoadImageFile(NSString(options.file), context.GetBuffer(),
                                                        size.widthInPixels, size.heightInPixels, 0,
                                                        0, 0, 0, profile.profile());
    if (status != noErr)
        throw failureWithStatus("load picture " + options.file, status);
    context.SavePNG(NSString(options.output));
    if (!TWPathUtils::fileExists(NSString(options.output)))
        throw failureWithStatus("write picture " + options.output, ioErr);
    if (options.json)
        printJson({{"width", size.widthInPixels}, {"height", size.heightInPixels}});
    else
        std::cout << options.output << ": " << size.widthInPixels << "x" << size.heightInPixels
                  << '\n';
}

const CommandRegistration registration("image", [](CLI::App& program) {
    CLI::App* image =
        addCommand(program, "image", "Still pictures: their size, loading them as PNG",
                   "twqt image info photo.jpg");
    image->require_subcommand(1);

    CLI::App* info =
        addCommand(*image, "info", "Natural size of a picture, and whether its name is one to open",
                   "twqt image info photo.jpg --json");
    auto infoOptions = std::make_shared<InfoOptions>();
    info->add_option("FILE", infoOptions->file, "the picture")->required();
    addJsonFlag(*info, infoOptions->json);
    info->callback([infoOptions] { runInfo(*infoOptions); });

    CLI::App* load =
        addCommand(*image, "load", "Loads a picture, stretched to a size, and writes it as PNG",
                   "twqt image load photo.jpg --size 320x240 -o small.png");
    auto loadOptions = std::make_shared<LoadOptions>();
    load->add_option("FILE", loadOptions->file, "the picture")->required();
    addSizeOption(*load, "--size", loadOptions->size,
                  "size of the result; the picture's own when left out");
    load->add_option("-o,--output", loadOptions->output, "the PNG file")->required();
    load->add_option("--profile", loadOptions->profile,
                     "ICC profile of the result (default: sRGB)");
    addForceFlag(*load, loadOptions->force);
    addJsonFlag(*load, loadOptions->json);
    load->callback([loadOptions] { runLoad(*loadOptions); });
});

}  // namespace
}  // namespace twqt
