#include "TWQECSExportRecord.h"

#include "FormatString.h"

namespace TWQuickTime {
namespace {

NSString textOf(const PropertyListValue& identifier) {
    return identifier ? identifier.description() : NSString("a fallback without an identifier");
}

NSString lineFor(const TWQECSExportStep& step, int number) {
    NSString line = formatString("step %d: %@", number,
                                 step.used ? step.used.description() : NSString("nothing to use"));
    if (step.output)
        line = line.stringByAppendingString(formatString(" to %@", step.output));
    const char* before = ", after ";
    for (const TWQECSRejectedFallback& rejected : step.rejected) {
        line = line.stringByAppendingString(formatString("%s%@ (%@, %d)", before,
                                                         textOf(rejected.identifier),
                                                         rejected.reason, rejected.status));
        before = ", ";
    }
    return line;
}

}  // namespace

NSString TWQECSExportRecord::description() const {
    NSString text = "";
    int number = 0;
    for (const TWQECSExportStep& step : steps) {
        if (number > 0)
            text = text.stringByAppendingString("\n");
        text = text.stringByAppendingString(lineFor(step, ++number));
    }
    return text;
}

}  // namespace TWQuickTime
