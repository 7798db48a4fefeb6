#include "CommandFailure.h"

#include "StatusText.h"
#include "ToolboxTypes.h"

namespace twqt {

CommandFailure::CommandFailure(const std::string& what, const std::string& why,
                               ExitStatus exitStatus)
    : std::runtime_error(oneLine(what + " : " + why)), exitStatus_(exitStatus) {}

CommandFailure usageFailure(const std::string& what, const std::string& why) {
    return {what, why, ExitStatus::usage};
}

CommandFailure interruptedFailure(const std::string& what) {
    return {what, "interrupted (" + std::to_string(TWQuickTime::userCanceledErr) + ")",
            ExitStatus::interrupted};
}

CommandFailure failureWithError(const std::string& what, const TWQuickTime::NSError& error) {
    if (error.isNil())
        return {what, "failed for a reason that was not given"};
    if (error.domain() == TWQuickTime::NSOSStatusErrorDomain)
        return failureWithStatus(what, static_cast<std::int32_t>(error.code()));
    std::string why = error.localizedDescription().utf8();
    const std::string code = "(" + std::to_string(error.code()) + ")";
    if (why.find(code) == std::string::npos)
        why += (why.empty() ? "" : " ") + code;
    return {what, why};
}

CommandFailure failureWithStatus(const std::string& what, std::int32_t status) {
    return {what, statusText(status)};
}

std::string oneLine(const std::string& text) {
    std::string line;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        line += byte < 0x20 || byte == 0x7f ? ' ' : character;
    }
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

}  // namespace twqt
