// `twqt userdata`: typed user data of a movie, in place.
#include <Handles.h>
#include <NSData.h>
#include <PropertyListValue.h>
#include <TWUQuickTimeMovie.h>
#include <UserData.h>

#include <iostream>

#include "Command.h"
#include "CommandFailure.h"
#include "FourCharCodeText.h"
#include "JsonOutput.h"
#include "MovieArgument.h"
#include "TextTable.h"

namespace twqt {
namespace {

using namespace TWQuickTime;

struct UserdataOptions {
    std::string file;
    std::string key;
    std::optional<std::int32_t> integer;
    std::optional<bool> boolean;
    std::optional<float> real;
    std::string dataFile;
    std::string plistFile;
    bool wantsInteger = false, wantsBoolean = false, wantsReal = false, wantsPlist = false;
    std::string wantsDataFile;
    bool json = false;
};

OSType keyOf(const UserdataOptions& options) {
    const std::optional<OSType> key = parseFourCharCode(options.key);
    if (!key)
        throw usageFailure(options.key, "a key has four characters");
    return *key;
}

void list(const UserdataOptions& options) {
    const QuietLog quiet;
    const OpenedMovie movie(options.file);
    const UserData items = GetMovieUserData(movie.movie());
    Json document = Json::array();
    TextTable table({{"type"}, {"count", TextTable::Align::right}});
    for (OSType type = GetNextUserDataType(items, 0); type != 0;
         type = GetNextUserDataType(items, type)) {
        const int count = CountUserDataType(items, type);
        document.push_back({{"type", fourCharCodeText(type)}, {"count", count}});
        table.addRow({fourCharCodeText(type), std::to_string(count)});
    }
    if (options.json)
        printJson(document);
    else
        table.print();
}

/// The first item of a type as it stands, for items of other programs.
NSData rawItem(Movie movie, OSType key) {
    const Handle handle = NewHandle(0);
    const OSErr status = GetUserData(GetMovieUserData(movie), handle, key, 1);
    const NSData data =
        status == noErr
            ? NSData::dataWithBytes(*handle, static_cast<std::size_t>(GetHandleSize(handle)))
            : NSData();
    DisposeHandle(handle);
    return data;
}

/// The value under the key in the kind that was asked for; data when none was.
Json valueOf(const UserdataOptions& options, Movie movie, OSType key) {
    if (options.wantsInteger)
        return TWUQuickTimeMovie::getUserDataIntForKey(key, movie);
    if (options.wantsBoolean)
        return TWUQuickTimeMovie::getUserDataBOOLForKey(key, movie);
    if (options.wantsReal)
        return TWUQuickTimeMovie::getUserDataFloatForKey(key, movie);
    if (options.wantsPlist) {
        const NSDictionary value = TWUQuickTimeMovie::getMovieUserDictionaryForKey(key, movie);
        return value ? jsonFromPropertyList(value) : Json(nullptr);
    }
    const NSData data = TWUQuickTimeMovie::getMovieUserDataForKey(key, movie);
    return jsonFromData(data ? data : rawItem(movie, key));
}

void get(const UserdataOptions& options) {
    const QuietLog quiet;
    const OSType key = keyOf(options);
    const OpenedMovie movie(options.file);
    if (!TWUQuickTimeMovie::existsUserDataForKey(key, movie.movie()))
        throw failureWithStatus("get " + options.key + " of " + options.file, userDataItemNotFound);
    const Json value = valueOf(options, movie.movie(), key);
    if (value.is_null())
        throw CommandFailure("get " + options.key + " of " + options.file,
                             "the item is of another kind (-50)");
    if (options.json)
        printJson(value);
    else
        std::cout << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
}

OSErr setValue(const UserdataOptions& options, Movie movie, OSType key) {
    if (options.integer)
        return TWUQuickTimeMovie::setUserDataInt(*options.integer, key, movie);
    if (options.boolean)
        return TWUQuickTimeMovie::setUserDataBOOL(*options.boolean, key, movie);
    if (options.real)
        return TWUQuickTimeMovie::setUserDataFloat(*options.real, key, movie);
    if (!options.dataFile.empty()) {
        const NSData data = NSData::dataWithContentsOfFile(NSString(options.dataFile));
        if (!data)
            throw failureWithStatus("read " + options.dataFile, fnfErr);
        return TWUQuickTimeMovie::setMovieUserData(data, key, movie);
    }
    const NSDictionary dictionary =
        NSDictionary::dictionaryWithContentsOfFile(NSString(options.plistFile));
    if (!dictionary)
        throw CommandFailure("read " + options.plistFile,
                             "it is no property list with a dictionary (-50)");
    return TWUQuickTimeMovie::setMovieUserDictionary(dictionary, key, movie);
}

void set(const UserdataOptions& options) {
    const QuietLog quiet;
    const OSType key = keyOf(options);
    EditedMovie movie(options.file);
    const OSErr status = setValue(options, movie.movie(), key);
    if (status != noErr)
        throw failureWithStatus("set " + options.key + " of " + options.file, status);
    movie.save();
}

void remove(const UserdataOptions& options) {
    const QuietLog quiet;
    const OSType key = keyOf(options);
    EditedMovie movie(options.file);
    const OSErr status = RemoveUserData(GetMovieUserData(movie.movie()), key, 1);
    if (status != noErr)
        throw failureWithStatus("remove " + options.key + " of " + options.file, status);
    movie.save();
}

using Options = std::shared_ptr<UserdataOptions>;

CLI::App* addAction(CLI::App& parent, const char* name, const char* description,
                    const char* example, const Options& options, bool withKey,
                    void (*action)(const UserdataOptions&)) {
    CLI::App* command = addCommand(parent, name, description, example);
    command->add_option("FILE", options->file, "the movie")->required();
    if (withKey)
        command->add_option("KEY", options->key, "four characters")->required();
    command->callback([options, action] { action(*options); });
    return command;
}

const CommandRegistration registration("userdata", [](CLI::App& program) {
    CLI::App* userdata = addCommand(program, "userdata", "Typed user data of a movie",
                                    "twqt userdata list movie.mov");
    userdata->require_subcommand(1);

    auto options = std::make_shared<UserdataOptions>();
    CLI::App* command = addAction(*userdata, "list", "All items by type",
                                  "twqt userdata list movie.mov", options, false, list);
    addJsonFlag(*command, options->json);

    options = std::make_shared<UserdataOptions>();
    command =
        addAction(*userdata, "get", "Value of an item; its bytes as hex digits if not told else",
                  "twqt userdata get movie.mov ©swr", options, true, get);
    CLI::Option_group* kind = command->add_option_group("kind");
    kind->add_flag("--int", options->wantsInteger, "as an integer");
    kind->add_flag("--bool", options->wantsBoolean, "as true or false");
    kind->add_flag("--float", options->wantsReal, "as a number");
    kind->add_flag("--plist", options->wantsPlist, "as a dictionary");
    kind->require_option(0, 1);
    addJsonFlag(*command, options->json);

    options = std::make_shared<UserdataOptions>();
    command = addAction(*userdata, "set", "Sets an item, in place",
                        "twqt userdata set movie.mov abcd --int 5", options, true, set);
    CLI::Option_group* value = command->add_option_group("value");
    value->add_option("--int", options->integer, "an integer");
    value->add_option("--bool", options->boolean, "true or false");
    value->add_option("--float", options->real, "a number, stored as the library stores them");
    value->add_option("--data", options->dataFile, "the contents of a file");
    value->add_option("--plist", options->plistFile, "the dictionary of a property list");
    value->require_option(1);

    options = std::make_shared<UserdataOptions>();
    addAction(*userdata, "remove", "Removes the first item of a type, in place",
              "twqt userdata remove movie.mov ©swr", options, true, remove);
});

}  // namespace
}  // namespace twqt
