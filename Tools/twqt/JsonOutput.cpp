#include "JsonOutput.h"

#include <iostream>

namespace twqt {

void printJson(const Json& document) {
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void printJsonLine(const Json& document) {
    std::cout << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n'
              << std::flush;
}

Json jsonFromString(const TWQuickTime::NSString& string) {
    return string.isNil() ? Json(nullptr) : Json(string.utf8());
}

}  // namespace twqt
