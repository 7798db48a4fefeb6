// The compressors and decompressors that the installed codec library really has.
#include <algorithm>
#include <functional>
#include <string>

#include "Engines/codec/CodecNames.h"
#include "Private/ComponentRegistry.h"

namespace TWQuickTime {
namespace {

void registerNamed(OSType type, OSType subType, std::string_view name, std::string info,
                   std::function<bool()> isInstalled) {
    ComponentRegistration component;
    // Everything here works on state of its own instance alone.
    component.description = {.componentType = type,
                             .componentSubType = subType,
                             .componentManufacturer = kAppleManufacturer,
                             .componentFlags = cmpThreadSafe};
    component.name = name;
    component.info = std::move(info);
    component.isInstalled = std::move(isInstalled);
    registerComponent(std::move(component));
}

void registerCodecs(std::span<const codec::CodecName> codecs, OSType decompressor,
                    OSType compressor) {
    for (const codec::CodecName& codec : codecs) {
        const std::string name(codec.name);
        const auto registerDecompressor = [&](std::uint32_t code) {
            registerNamed(decompressor, code, name, "Decompresses " + name + ".",
                          [&codec] { return codec::decoderExists(codec); });
        };
        registerDecompressor(codec.code);
        std::for_each(codec.aliases.begin(), codec.aliases.end(), registerDecompressor);
        // Aliases are codes that others write.
        registerNamed(compressor, codec.code, name, "Compresses " + name + ".",
                      [&codec] { return codec::encoderExists(codec); });
    }
}

const ComponentProvider codecs(ComponentRank::codecs, [] {
    registerCodecs(codec::videoCodecNames(), decompressorComponentType, compressorComponentType);
    registerCodecs(codec::soundCodecNames(), kSoundDecompressor, kSoundCompressor);
});

}  // namespace
}  // namespace TWQuickTime
