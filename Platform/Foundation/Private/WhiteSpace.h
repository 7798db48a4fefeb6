// The white space of XML and of text property lists.
#pragma once

#include <string_view>

namespace TWQuickTime {

inline std::string_view withoutOuterWhiteSpace(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace TWQuickTime
