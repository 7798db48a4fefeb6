// Property lists as bytes: the XML and the binary form, read and written, and the old text form,
// read.
//
// Reading never trusts the bytes: damaged input, nesting beyond 512 levels, containers that reach
// themselves, lists whose expansion has many more values than the file has bytes, entity
// declarations and text that is not well-formed Unicode all read as the null value. Memory stays in
// proportion to the input. All functions may be called on any thread.
//
//     PropertyListValue list = propertyListFromData(NSData::dataWithContentsOfFile(path));
//     NSData bytes = dataFromPropertyList(list, PropertyListFormat::binary);
#pragma once

#include "NSData.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

enum class PropertyListFormat {
    xml,     ///< version 1.0, UTF-8, tab-indented, keys in their order
    binary,  ///< version "bplist00", equal scalars stored once
};

/// The list in XML (UTF-8, UTF-16, ISO 8859-1; byte-order mark and document type optional) or
/// binary form; null when the bytes are neither, damaged or hostile. A dictionary whose one key is
/// "CF$UID" with an integer reads as a UID, since XML has no other form for it.
TWQT_EXPORT PropertyListValue propertyListFromData(const NSData& data);

/// The list in the old text form: braces, brackets and quotes, or the bare `key = value;` lines of
/// a strings table; UTF-8, or UTF-16 with a byte-order mark. Every scalar is a string or data.
TWQT_EXPORT PropertyListValue propertyListFromOldStyleText(const NSData& data);

/// Nil for a value that the form cannot hold: a null (also inside a container), nesting beyond 512
/// levels, a date that is not finite, and in XML a string with control characters. XML keeps whole
/// seconds of dates. Ill-formed text is written as U+FFFD.
TWQT_EXPORT NSData dataFromPropertyList(const PropertyListValue& value, PropertyListFormat format);

}  // namespace TWQuickTime
