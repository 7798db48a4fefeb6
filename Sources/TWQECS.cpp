#include "TWQECS.h"

#include "ClassRegistry.h"
#include "Movies.h"
#include "TWLog.h"
#include "TWQECSFormat.h"
#include "TWQECSReader.h"

namespace TWQuickTime {
namespace {

constexpr const char* kBaseClass = "TWQECS";
constexpr const char* kSettingClass = "TWQECSSetting";
constexpr const char* kSequenceClass = "TWQECSSequence";

std::shared_ptr<TWQECS> makeBase(const NSDictionary& dictionary,
                                 const std::shared_ptr<TWQECSReader>& reader) {
    return TWQECS::initWithDictionary(dictionary, reader);
}
[[maybe_unused]] const bool isRegistered = ClassRegistry<TWQECSClass>::add(kBaseClass, makeBase);

std::shared_ptr<TWQECS> makeOfClass(const char* name, const NSDictionary& dictionary,
                                    const std::shared_ptr<TWQECSReader>& reader) {
    TWQECSClass* const make = ClassRegistry<TWQECSClass>::classNamed(name);
    return make ? make(dictionary, reader) : nullptr;
}

}  // namespace

TWQECS::~TWQECS() = default;

std::shared_ptr<TWQECS> TWQECS::makeFor(const NSString& receivingClass,
                                        const NSDictionary& dictionary,
                                        const std::shared_ptr<TWQECSReader>& reader) {
    if (dictionary.hasKey(TWQECSFormatSequenceID))
        return makeOfClass(kSequenceClass, dictionary, reader);
    if (dictionary.hasKey(TWQECSFormatSettingID))
        return makeOfClass(kSettingClass, dictionary, reader);
    // The sense is inverted on purpose: the abstract class itself does make an object.
    if (receivingClass == kBaseClass)
        return makeOfClass(kBaseClass, dictionary, reader);
    TWLog("Trying to init abstract TWQECS class");
    return nullptr;
}

std::shared_ptr<TWQECS> TWQECS::makeWithoutReaderFor(const NSString& receivingClass,
                                                     const NSDictionary& dictionary) {
    if (dictionary.hasKey(TWQECSFormatSequenceID)) {
        TWLog("Cannot init a QECS-Sequence without a QECS-Reader.");
        return nullptr;
    }
    return makeFor(receivingClass, dictionary, nullptr);
}

std::shared_ptr<TWQECS> TWQECS::QECSWithDictionary(const NSDictionary& dictionary,
                                                   const std::shared_ptr<TWQECSReader>& reader) {
    return makeFor(kBaseClass, dictionary, reader);
}

std::shared_ptr<TWQECS> TWQECS::QECSWithDictionary(const NSDictionary& dictionary) {
    return makeWithoutReaderFor(kBaseClass, dictionary);
}

std::shared_ptr<TWQECS> TWQECS::initWithDictionary(const NSDictionary& dictionary) {
    return initWithDictionary(dictionary, nullptr);
}

std::shared_ptr<TWQECS> TWQECS::initWithDictionary(const NSDictionary& dictionary,
                                                   const std::shared_ptr<TWQECSReader>& reader) {
    auto preset = std::make_shared<TWQECS>();
    return preset->fillWith(dictionary, reader) ? preset : nullptr;
}

bool TWQECS::fillWith(const NSDictionary& dictionary, const std::shared_ptr<TWQECSReader>& reader) {
    if (dictionary.isNil())
        return false;
    setQECSDict(dictionary);
    setReader(reader);
    return true;
}

std::shared_ptr<TWQECS> TWQECS::copy() const {
    return QECSWithDictionary(_QECSDict, reader());
}

PropertyListValue TWQECS::objectForKey(const NSString& key) const {
    return _QECSDict.objectForKey(key);
}

void TWQECS::setObject(const PropertyListValue& object, const NSString& forKey) {
    _QECSDict.setObject(object, forKey);
}

void TWQECS::removeObjectForKey(const NSString& key) {
    _QECSDict.removeObjectForKey(key);
}

PropertyListValue TWQECS::valueForUndefinedKey(const NSString& key) const {
    const PropertyListValue& value = _QECSDict.objectForKey(key);
    return value ? value : NSObject::valueForUndefinedKey(key);
}

PropertyListValue TWQECS::identifier() const {
    return objectForKey(TWQECSFormatSettingID);
}

NSString TWQECS::name() const {
    return objectForKey(TWQECSFormatSettingName).stringValue();
}

NSString TWQECS::comment() const {
    return objectForKey(TWQECSFormatSettingComment).stringValue();
}

NSString TWQECS::description() const {
    return formatString("%@ -> ID: %@\tName: %@\tComment: %@", NSObject::description(),
                        identifier(), name(), comment());
}

void TWQECS::setExportDelegate(const std::shared_ptr<TWQECSExportDelegate>& exportDelegate) {
    _exportDelegate = exportDelegate;
}

void TWQECS::setReader(const std::shared_ptr<TWQECSReader>& reader) {
    _reader = reader;
}

void TWQECS::setExportError(const NSError& exportError) {
    _exportError = exportError;
}

void TWQECS::setExportRecord(TWQECSExportRecord exportRecord) {
    _exportRecord = std::move(exportRecord);
}

void TWQECS::setQECSDict(const NSDictionary& QECSDict) {
    _QECSDict = QECSDict;
}

bool TWQECS::exportMovie(Movie, const NSString&, TimeValue, TimeValue, NSError*) {
    return false;
}

bool TWQECS::exportMovie(Movie movie, const NSString& toFilePath, NSError* error) {
    return exportMovie(movie, toFilePath, 0, GetMovieDuration(movie), error);
}

bool TWQECS::exportQTMovie(const std::shared_ptr<QTMovie>&, const NSString&, NSError*) {
    return false;
}

bool TWQECS::componentHasUserInterface() {
    return false;
}

OSStatus TWQECS::customizeComponentSettingsWithComponentDialogForMovie(Movie) {
    return noErr;
}

bool TWQECS::isInstalled() {
    return false;
}

ComponentInstallationFault TWQECS::installationFault() const {
    return {};
}

bool TWQECS::isThreadSafe() {
    return false;
}

bool TWQECS::usesExportComponentWithSubtype(OSType, OSType) {
    return false;
}

NSString TWQECS::exportedMovieFileExtension() {
    return "mov";
}

std::int32_t TWQECS::exportedMovieHeight() {
    return 0;
}

void TWQECS::setExportedMovieHeight(std::int32_t) {}

std::int32_t TWQECS::exportedMovieWidth() {
    return 0;
}

void TWQECS::setExportedMovieWidth(std::int32_t) {}

double TWQECS::exportedMovieFrameRate() {
    return 0.0;
}

void TWQECS::setExportedMovieFrameRate(double) {}

const KeyValueTable& TWQECS::keyValueTable() const {
    // Answers that may open an exporter are not const, and no key changes what it reads.
    static const auto asking = [](auto method) {
        return [method](const NSObject& object) -> PropertyListValue {
            return (const_cast<TWQECS&>(dynamic_cast<const TWQECS&>(object)).*method)();
        };
    };
    static const KeyValueTable table{
        {"identifier", &TWQECS::identifier},
        {"name", &TWQECS::name},
        {"comment", &TWQECS::comment},
        {"description", &TWQECS::description},
        {"QECSDict",
         [](const NSObject& object) -> PropertyListValue {
             return dynamic_cast<const TWQECS&>(object).QECSDict();
         }},
        {"componentHasUserInterface", asking(&TWQECS::componentHasUserInterface)},
        {"isInstalled", asking(&TWQECS::isInstalled)},
        {"installed", asking(&TWQECS::isInstalled)},
        {"isThreadSafe", asking(&TWQECS::isThreadSafe)},
        {"threadSafe", asking(&TWQECS::isThreadSafe)},
        {"exportedMovieFileExtension", asking(&TWQECS::exportedMovieFileExtension)},
        {"exportedMovieHeight", asking(&TWQECS::exportedMovieHeight)},
        {"exportedMovieWidth", asking(&TWQECS::exportedMovieWidth)},
        {"exportedMovieFrameRate", asking(&TWQECS::exportedMovieFrameRate)}};
    return table;
}

}  // namespace TWQuickTime
