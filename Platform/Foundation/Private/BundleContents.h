// What one bundle knows of itself: its description, its languages and the tables read so far.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "NSBundle.h"

namespace TWQuickTime {

struct NSBundle::Contents {
    explicit Contents(const std::string& folder);

    /// The folders of the user's languages, most wanted first, that of the development region last.
    std::vector<std::string> wantedLanguages() const;
    /// Merged over the wanted languages; nil when none has the table. Kept until the user's
    /// languages change.
    NSDictionary table(const std::string& name);

    const NSString path;
    const NSString resources;
    const NSDictionary information;
    /// Names of the ".lproj" folders without that ending, sorted.
    const std::vector<std::string> languages;

  private:
    NSDictionary readTable(const std::string& name) const;

    std::mutex mutex_;
    std::string tablesEnvironment_;
    std::map<std::string, NSDictionary> tables_;
};

}  // namespace TWQuickTime
