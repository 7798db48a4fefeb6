#include "TerminalExportDialog.h"

#include <algorithm>
#include <charconv>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace TWQuickTime {
namespace {

using Fields = std::vector<MovieExportDialogField>;

/// No value is longer; the rest of a longer line is read and forgotten.
constexpr std::size_t kLongestLine = 256;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// None at the end of the input; what stands there without a line end is no line.
std::optional<std::string> readLine(std::istream& input, std::ostream& output) {
    std::string line;
    for (char character = 0; input.get(character);) {
        if (character == '\n')
            return std::string(trimmed(line));
        if (line.size() < kLongestLine)
            line += character;
    }
    output << '\n';
    return std::nullopt;
}

/// Settings come from files: nothing in them may command the terminal.
std::string printable(std::string text) {
    std::ranges::replace_if(
        text,
        [](char character) {
            const auto byte = static_cast<unsigned char>(character);
            return byte < 0x20 || byte >= 0x7f;
        },
        '?');
    return text;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

void show(const MovieExportDialog& dialog, const Fields& fields, std::ostream& output) {
    std::size_t labelWidth = 0;
    std::size_t valueWidth = 0;
    for (const MovieExportDialogField& field : fields) {
        labelWidth = std::max(labelWidth, field.label.size());
        valueWidth = std::max(valueWidth, field.value.size());
    }
    output << printable(dialog.exporterName()) << '\n';
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        output << std::string(number.size() < 2 ? 3 : 2, ' ') << number << "  "
               << padded(fields[i].label, labelWidth) << "  "
               << padded(printable(fields[i].value), valueWidth) << "  " << fields[i].hint << '\n';
    }
}

/// The field that the first word of the line numbers; null for none.
const MovieExportDialogField* fieldNamed(std::string_view word, const Fields& fields) {
    std::size_t number = 0;
    const auto [rest, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || rest != word.data() + word.size() || number < 1 ||
        number > fields.size())
        return nullptr;
    return &fields[number - 1];
}

/// One change as the user typed it; false at the end of the input.
bool change(MovieExportDialog& dialog, const MovieExportDialogField& field, std::string value,
            std::istream& input, std::ostream& output) {
    if (value.empty()) {
        output << field.label << " (" << field.hint << ") [" << printable(field.value)
               << "]: " << std::flush;
        std::optional<std::string> line = readLine(input, output);
        if (!line)
            return false;
        value = std::move(*line);
    }
    if (value.empty())
        return true;
    if (dialog.setValue(field.key, value))
        output << field.label << ": " << printable(value) << '\n';
    else
        output << '"' << printable(value) << "\" is no value for " << field.label << " ("
               << field.hint << ")\n";
    return true;
}

}  // namespace

MovieExportDialogAnswer presentMovieExportDialogInTerminal(MovieExportDialog& dialog,
                                                           std::istream& input,
                                                           std::ostream& output) {
    show(dialog, dialog.fields(), output);
    for (;;) {
        output << "Number and value (\"1 yes\"), s to save, q to cancel: " << std::flush;
        const std::optional<std::string> line = readLine(input, output);
        if (!line || *line == "q")
            return MovieExportDialogAnswer::canceled;
        const Fields fields = dialog.fields();
        if (*line == "s") {
            const ComponentResult status = dialog.apply();
            if (status == noErr)
                return MovieExportDialogAnswer::accepted;
            output << "The exporter refuses these settings (" << status << ").\n";
        } else if (line->empty()) {
            show(dialog, fields, output);
        } else {
            const std::size_t wordEnd = std::min(line->find_first_of(" \t="), line->size());
            const auto* field = fieldNamed(std::string_view(*line).substr(0, wordEnd), fields);
            const std::size_t valueStart = std::min(wordEnd + 1, line->size());
            const std::string value(trimmed(std::string_view(*line).substr(valueStart)));
            if (!field)
                output << "There is no field \"" << printable(line->substr(0, wordEnd)) << "\".\n";
            else if (!change(dialog, *field, value, input, output))
                return MovieExportDialogAnswer::canceled;
        }
    }
}

}  // namespace TWQuickTime
