// Results for programs: exactly one JSON document on standard output.
//
//     Json result = {{"movie", seconds}, {"audio", nullptr}};
//     printJson(result);
#pragma once

#include <nlohmann/json.hpp>

#include "NSData.h"
#include "NSString.h"
#include "PropertyListValue.h"

namespace twqt {

/// Keeps its keys in the order in which they were added.
using Json = nlohmann::ordered_json;

/// Prints the document, indented, with a line end. Bytes that are no UTF-8 become U+FFFD.
void printJson(const Json& document);
/// Prints a document on one line, for commands whose output is one document a line.
void printJsonLine(const Json& document);

/// The string, or null for nil.
Json jsonFromString(const TWQuickTime::NSString& string);
/// The bytes as lower-case hex digits, or null for nil.
Json jsonFromData(const TWQuickTime::NSData& data);
/// A property list as JSON: data as lower-case hex digits, dates as ISO 8601 in UTC.
Json jsonFromPropertyList(const TWQuickTime::PropertyListValue& value);

}  // namespace twqt
