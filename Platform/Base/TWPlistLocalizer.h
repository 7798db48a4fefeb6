// Translates the texts of a property list that users see.
//
// In preset files these are the values of "Name" and "Comment", wherever they stand. Keys of the
// strings table are the texts as they stand in the list; a text without a translation stays.
//
//     NSDictionary shown =
//         TWPlistLocalizer::localizePlist(list, "PresetsQecs", NSBundle::mainBundle());
#pragma once

#include <memory>

#include "NSBundle.h"
#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT TWPlistLocalizer {
  public:
    /// A dictionary of the same shape with translated texts; nil only for nil.
    ///       (localizePlist:withTable:inBundle:)
    /// @param withTable  name of the strings table without ".strings"
    /// @param inBundle   null: nothing is translated
    static NSDictionary localizePlist(const NSDictionary& plist, const NSString& withTable,
                                      const std::shared_ptr<NSBundle>& inBundle);
};

}  // namespace TWQuickTime
