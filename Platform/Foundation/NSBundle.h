// A folder of resources: files, and texts translated into the user's language.
//
// A bundle is described by its Info.plist ("CFBundleIdentifier", "CFBundleDevelopmentRegion") and
// keeps translations in folders named after their language, "de.lproj/Name.strings". Languages come
// from LANGUAGE, LC_ALL, LC_MESSAGES and LANG, read anew whenever a text is looked up; a text that
// the first language lacks is taken from the next, at last from the development region. This
// library's own bundle and those beside the running program are found by their identifiers. A
// bundle is made once for each folder, lives as long as the process, and may be used on any thread.
//
//     auto bundle = NSBundle::bundleWithIdentifier("org.twquicktime.TWQuickTime");
//     NSString text = bundle->localizedStringForKey("Unknown", "", "TWQuickTime_QECS");
#pragma once

#include <memory>

#include "NSString.h"
#include "PropertyListValue.h"
#include "TWQTExport.h"

namespace TWQuickTime {

class TWQT_EXPORT NSBundle {
  public:
    /// Null when there is no such folder.
    static std::shared_ptr<NSBundle> bundleWithPath(const NSString& path);
    /// The bundle among those already made, this library's own and those in the program's share
    /// folders whose description has the identifier; null when there is none.
    static std::shared_ptr<NSBundle> bundleWithIdentifier(const NSString& identifier);
    /// The host's bundle: the one it named, else "../share/<program>" seen from the program, else
    /// the program's own folder. Never null.
    static std::shared_ptr<NSBundle> mainBundle();
    /// Names the main bundle; a null one restores the default.
    static void setMainBundle(std::shared_ptr<NSBundle> bundle);
    /// Names the main bundle by its folder or its identifier; false, and no change, for an unknown
    /// one.
    static bool setMainBundlePath(const NSString& path);
    static bool setMainBundleIdentifier(const NSString& identifier);

    NSBundle(const NSBundle&) = delete;
    NSBundle& operator=(const NSBundle&) = delete;
    ~NSBundle();

    const NSString& bundlePath() const;
    /// The folder that resources lie in: the bundle's own, or "Resources" inside it.
    const NSString& resourcePath() const;
    /// Nil without a description.
    NSString bundleIdentifier() const;
    /// The description; empty without one.
    NSDictionary infoDictionary() const;

    /// Languages that there are translations for, by name.
    NSArray localizations() const;
    /// Those of them that the user wants, most wanted first; the development region comes last.
    NSArray preferredLocalizations() const;

    /// The resource in the user's language, else the one for all languages; nil without one.
    ///       (pathForResource:ofType:)
    NSString pathForResource(const NSString& name, const NSString& ofType) const;
    /// Paths of all resources with the extension, by name: first those for all languages, then
    /// those of the user's languages.       (pathsForResourcesOfType:inDirectory:)
    /// @param type         extension without its dot; nil or empty for every file
    /// @param inDirectory  folder inside the resources; nil or empty for none
    NSArray pathsForResourcesOfType(const NSString& type, const NSString& inDirectory) const;

    /// The translation of the key.       (localizedStringForKey:value:table:)
    /// @param value  what comes back for an untranslated key; nil or empty: the key itself
    /// @param table  name of the strings table without ".strings"; nil or empty: "Localizable"
    NSString localizedStringForKey(const NSString& key, const NSString& value,
                                   const NSString& table) const;
    /// Every translation of a table for the user's languages; nil when no language has the table.
    NSDictionary localizedStringsOfTable(const NSString& table) const;

  private:
    struct Contents;
    explicit NSBundle(std::unique_ptr<Contents> contents);
    friend class BundleRegistry;
    std::unique_ptr<Contents> contents_;
};

}  // namespace TWQuickTime
