// A preset file that commands change: everything that it holds besides the entry that is changed
// stays as it is, in the form (XML or binary) that the file has.
//
//     PresetFile file = PresetFile::open("remove preset", path);
//     file.remove(PresetKind::setting, identifier);
//     file.save();   // the old file or the new one, whatever happens in between
#pragma once

#include <NSString.h>
#include <PropertyList.h>
#include <PropertyListValue.h>

#include <optional>
#include <string>

namespace twqt {

enum class PresetKind { setting, sequence };

class PresetFile {
  public:
    /// Throws a CommandFailure for a file that is missing, unreadable or no preset file.
    /// @param operation  for the message, without the file: "edit preset"
    static PresetFile open(const std::string& operation, const std::string& path);
    /// The same; where there is no file, one without presets that `save` makes.
    static PresetFile openOrNew(const std::string& operation, const std::string& path);

    const TWQuickTime::NSDictionary& root() const { return root_; }
    /// The identifier of the kind that the text names, as the file has it; null for none.
    TWQuickTime::PropertyListValue identifierNamed(PresetKind kind, const std::string& text) const;
    /// The entry with the identifier (of several the last one, which counts); nil for none.
    TWQuickTime::NSDictionary entry(PresetKind kind,
                                    const TWQuickTime::PropertyListValue& identifier) const;
    /// Puts the entry in the place of the one with its identifier, else behind all others.
    void put(PresetKind kind, const TWQuickTime::NSDictionary& entry);
    /// Takes away all entries with the identifier.
    void remove(PresetKind kind, const TWQuickTime::PropertyListValue& identifier);

    /// Replaces the file in one step; throws a CommandFailure when that fails.
    void save() const;

  private:
    PresetFile(std::string operation, std::string path);
    TWQuickTime::NSArray entries(PresetKind kind) const;
    std::string what() const { return operation_ + " " + path_; }

    std::string operation_;
    std::string path_;
    TWQuickTime::PropertyListFormat format_ = TWQuickTime::PropertyListFormat::xml;
    TWQuickTime::NSDictionary root_;
};

/// The key of the list that entries of the kind stand in.
const TWQuickTime::NSString& listKey(PresetKind kind);
/// The key of their identifiers.
const TWQuickTime::NSString& identifierKey(PresetKind kind);

}  // namespace twqt
