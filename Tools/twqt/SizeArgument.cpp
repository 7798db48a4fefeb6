#include "SizeArgument.h"

#include <charconv>

namespace twqt {
namespace {

std::optional<int> edgeLength(std::string_view text) {
    int length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (error != std::errc() || end != text.data() + text.size() || length < 1 || length > 32767)
        return std::nullopt;
    return length;
}

}  // namespace

std::optional<SizeArgument> parseSize(std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos)
        return std::nullopt;
    const std::optional<int> width = edgeLength(text.substr(0, cross));
    const std::optional<int> height = edgeLength(text.substr(cross + 1));
    if (!width || !height)
        return std::nullopt;
    return SizeArgument{*width, *height};
}

CLI::Option* addSizeOption(CLI::App& command, const std::string& name,
                           std::optional<SizeArgument>& size, const std::string& description) {
    return command
        .add_option_function<std::string>(
            name,
            [name, &size](const std::string& text) {
                size = parseSize(text);
                if (!size)
                    throw CLI::ValidationError(name, "\"" + text + "\" is no size (1280x720)");
            },
            description)
        ->type_name("WxH");
}

}  // namespace twqt
