#include "NSBundle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "EnvironmentVariables.h"
#include "PropertyList.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;

constexpr const char* ownIdentifier = "org.twquicktime.TWQuickTime";
constexpr const char* ownTable = "TWQuickTime_QECS";

/// A bundle made of files of a temporary folder, and an environment that asks for no language.
class NSBundleTest : public testing::Test {
  protected:
    NSBundleTest() { askFor(std::nullopt, std::nullopt); }
    ~NSBundleTest() override { NSBundle::setMainBundle(nullptr); }

    void askFor(std::optional<std::string> languageList, std::optional<std::string> locale) {
        environment_.set("LANGUAGE", languageList);
        environment_.set("LC_ALL", std::nullopt);
        environment_.set("LC_MESSAGES", locale);
        environment_.set("LANG", "fr_FR.UTF-8");
        if (!locale)
            environment_.set("LANG", std::nullopt);
    }
    void write(const std::string& file, const std::string& content) {
        fs::create_directories(fs::path(directory_.file(file)).parent_path());
        std::ofstream(directory_.file(file), std::ios::binary) << content;
    }
    std::shared_ptr<NSBundle> bundle() {
        return NSBundle::bundleWithPath(NSString(directory_.path().string()));
    }
    std::vector<std::string> names(const NSArray& paths) {
        std::vector<std::string> result;
        for (const PropertyListValue& path : paths)
            result.push_back(
                fs::relative(path.stringValue().utf8(), fs::canonical(directory_.path())).string());
        return result;
    }
    std::string greeting() {
        return bundle()->localizedStringForKey("hello", "", "Greetings").utf8();
    }

    test::TemporaryDirectory directory_;
    test::EnvironmentVariables environment_;
};

TEST_F(NSBundleTest, TheFrameworksBundleIsFoundByItsIdentifierFromThePlaceOfTheLibrary) {
    const auto framework = NSBundle::bundleWithIdentifier(ownIdentifier);
    ASSERT_TRUE(framework);
    EXPECT_EQ(framework->bundleIdentifier(), ownIdentifier);
    EXPECT_EQ(NSBundle::bundleWithIdentifier(ownIdentifier), framework) << "made once";
    EXPECT_EQ(framework->localizations(),
              NSArray({PropertyListValue("de"), PropertyListValue("en"), PropertyListValue("es"),
                       PropertyListValue("fr"), PropertyListValue("ja")}));
}

TEST_F(NSBundleTest, EveryShippedLanguageTranslatesTheSameTexts) {
    const auto framework = NSBundle::bundleWithIdentifier(ownIdentifier);
    ASSERT_TRUE(framework);
    const std::vector<std::string> keys = {
        "Can't export, because the requested QuickTime exporter is not installed.",
        "While exporting a internal QuickTime error occured.", "Unknown"};
    for (const std::string language : {"en", "de", "fr", "es", "ja"}) {
        askFor(std::nullopt, language);
        EXPECT_EQ(framework->localizedStringsOfTable(ownTable).count(), keys.size());
        for (const std::string& key : keys) {
            const NSString text = framework->localizedStringForKey(NSString(key), "", ownTable);
            EXPECT_EQ(text == NSString(key), language == "en") << language << ": " << key;
        }
    }
    askFor(std::nullopt, "de_DE.UTF-8");
    EXPECT_EQ(framework->localizedStringForKey("Unknown", "", ownTable), "Unbekannt");
}

TEST_F(NSBundleTest, AnUntranslatedKeyComesBackUnchangedOrAsTheGivenValue) {
    write("en.lproj/Greetings.strings", "hello = Hi;");
    EXPECT_EQ(bundle()->localizedStringForKey("other", "", "Greetings"), "other");
    EXPECT_EQ(bundle()->localizedStringForKey("other", nullptr, "Greetings"), "other");
    EXPECT_EQ(bundle()->localizedStringForKey("other", "fallback", "Greetings"), "fallback");
    EXPECT_EQ(bundle()->localizedStringForKey("hello", "fallback", "NoTable"), "fallback");
    EXPECT_EQ(bundle()->localizedStringForKey(nullptr, nullptr, "Greetings"), "");
    EXPECT_EQ(bundle()->localizedStringForKey("hello", "fallback", "Greetings"), "Hi");
}

TEST_F(NSBundleTest, TheTableWithoutANameIsLocalizable) {
    write("en.lproj/Localizable.strings", "hello = Hi;");
    EXPECT_EQ(bundle()->localizedStringForKey("hello", "", nullptr), "Hi");
    EXPECT_EQ(bundle()->localizedStringForKey("hello", "", ""), "Hi");
}

TEST_F(NSBundleTest, TheLanguageListComesBeforeTheLocale) {
    for (const std::string language : {"en", "de", "fr", "ja"})
        write(language + ".lproj/Greetings.strings", "hello = " + language + ";");
    askFor("ja:fr", "de_DE.UTF-8");
    EXPECT_EQ(greeting(), "ja");
    askFor("sv:fr:ja", "de_DE.UTF-8");
    EXPECT_EQ(greeting(), "fr") << "the first of the list that there is";
    askFor("sv", "de_DE.UTF-8");
    EXPECT_EQ(greeting(), "de");
    askFor("", "de_DE.UTF-8");
    EXPECT_EQ(greeting(), "de");
    askFor("fr", std::nullopt);
    EXPECT_EQ(greeting(), "fr");
}

TEST_F(NSBundleTest, LocaleVariablesCountInTheirOrder) {
    for (const std::string language : {"en", "de", "fr", "ja"})
        write(language + ".lproj/Greetings.strings", "hello = " + language + ";");
    environment_.set("LANG", "fr_FR");
    EXPECT_EQ(greeting(), "fr");
    environment_.set("LC_MESSAGES", "de_DE");
    EXPECT_EQ(greeting(), "de");
    environment_.set("LC_ALL", "ja_JP");
    EXPECT_EQ(greeting(), "ja");
}

TEST_F(NSBundleTest, ARegionFallsBackToItsLanguage) {
    write("de.lproj/Greetings.strings", "hello = Hallo; bye = Tschau;");
    write("en.lproj/Greetings.strings", "hello = Hi;");
    askFor(std::nullopt, "de_AT.UTF-8@euro");
    EXPECT_EQ(greeting(), "Hallo");

    write("other/de_CH.lproj/Greetings.strings", "hello = Gruezi;");
    write("other/de.lproj/Greetings.strings", "hello = Hallo; bye = Adieu;");
    askFor("de-ch", std::nullopt);
    const auto swiss = NSBundle::bundleWithPath(NSString(directory_.file("other")));
    EXPECT_EQ(swiss->localizedStringForKey("hello", "", "Greetings"), "Gruezi");
    EXPECT_EQ(swiss->localizedStringForKey("bye", "", "Greetings"), "Adieu");
}

TEST_F(NSBundleTest, ThePlainLocaleMeansEnglishWhateverTheListSays) {
    write("de.lproj/Greetings.strings", "hello = Hallo;");
    write("en.lproj/Greetings.strings", "hello = Hi;");
    for (const std::string plain : {"C", "POSIX", "C.UTF-8"}) {
        askFor("de", plain);
        EXPECT_EQ(greeting(), "Hi") << plain;
    }
    askFor(std::nullopt, std::nullopt);
    EXPECT_EQ(greeting(), "Hi");
}

TEST_F(NSBundleTest, AnUnknownLanguageFallsBackToTheDevelopmentRegion) {
    write("Info.plist",
          "<plist><dict><key>CFBundleDevelopmentRegion</key><string>fr</string></dict></plist>");
    write("fr.lproj/Greetings.strings", "hello = Bonjour;");
    write("de.lproj/Greetings.strings", "hello = Hallo;");
    askFor(std::nullopt, "sv_SE");
    EXPECT_EQ(greeting(), "Bonjour");
}

TEST_F(NSBundleTest, ReadsTablesInEveryFormOfPropertyList) {
    const NSDictionary table{{"hello", "Gr\xC3\xBC\xC3\x9F Gott"}};
    fs::create_directories(directory_.file("en.lproj"));
    ASSERT_TRUE(dataFromPropertyList(table, PropertyListFormat::binary)
                    .writeToFile(NSString(directory_.file("en.lproj/Binary.strings")), false));
    ASSERT_TRUE(table.writeToFile(NSString(directory_.file("en.lproj/XML.strings")), false));
    write("en.lproj/Text.strings", "/* c */ \"hello\" = \"Gr\\U00fc\xC3\x9F\\040Gott\";");
    std::string wide;
    for (const char16_t unit : std::u16string(u"\uFEFFhello = \"Gr\u00FC\u00DF Gott\";"))
        wide += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    write("en.lproj/Wide.strings", wide);
    for (const char* name : {"Binary", "XML", "Text", "Wide"})
        EXPECT_EQ(bundle()->localizedStringForKey("hello", "", name), "Gr\xC3\xBC\xC3\x9F Gott")
            << name;
}

TEST_F(NSBundleTest, ADamagedTableTranslatesNothing) {
    write("en.lproj/Greetings.strings", "hello = \"Hi");
    EXPECT_EQ(greeting(), "hello");
    EXPECT_TRUE(bundle()->localizedStringsOfTable("Greetings").isNil());
}

TEST_F(NSBundleTest, ListsResourcesOfATypeWithTheUsersLanguageLast) {
    write("b.png", "");
    write("a.png", "");
    write("c.txt", "");
    write(".hidden.png", "");
    write("de.lproj/d.png", "");
    write("fr.lproj/e.png", "");
    write("pictures/f.png", "");
    write("de.lproj/pictures/g.png", "");
    askFor(std::nullopt, "de_DE");
    using Names = std::vector<std::string>;
    EXPECT_EQ(names(bundle()->pathsForResourcesOfType("png", nullptr)),
              (Names{"a.png", "b.png", "de.lproj/d.png"}));
    EXPECT_EQ(names(bundle()->pathsForResourcesOfType("png", "pictures")),
              (Names{"pictures/f.png", "de.lproj/pictures/g.png"}));
    EXPECT_EQ(
        names(bundle()->pathsForResourcesOfType("", "")),
        (Names{"a.png", "b.png", "c.txt", "pictures", "de.lproj/d.png", "de.lproj/pictures"}));
    EXPECT_EQ(bundle()->pathsForResourcesOfType("mov", nullptr).count(), 0u);
    EXPECT_EQ(bundle()->pathsForResourcesOfType("png", "no/such").count(), 0u);
}

TEST_F(NSBundleTest, FindsAResourceInTheUsersLanguageFirst) {
    write("Presets.qecs", "");
    write("de.lproj/Presets.qecs", "");
    write("Other.qecs", "");
    const NSString folder(fs::canonical(directory_.path()).string());
    askFor(std::nullopt, "de_DE");
    EXPECT_EQ(bundle()->pathForResource("Presets", "qecs"),
              folder.stringByAppendingPathComponent("de.lproj/Presets.qecs"));
    EXPECT_EQ(bundle()->pathForResource("Other.qecs", nullptr),
              folder.stringByAppendingPathComponent("Other.qecs"));
    EXPECT_TRUE(bundle()->pathForResource("Missing", "qecs").isNil());
    EXPECT_TRUE(bundle()->pathForResource(nullptr, "qecs").isNil());
}

TEST_F(NSBundleTest, AHostNamesItsMainBundleByPathOrIdentifier) {
    ASSERT_TRUE(NSBundle::mainBundle());
    write("Info.plist",
          "<plist><dict><key>CFBundleIdentifier</key><string>com.example.host"
          "</string></dict></plist>");
    EXPECT_TRUE(NSBundle::setMainBundlePath(NSString(directory_.path().string())));
    EXPECT_EQ(NSBundle::mainBundle(), bundle());
    EXPECT_EQ(NSBundle::bundleWithIdentifier("com.example.host"), bundle());

    EXPECT_TRUE(NSBundle::setMainBundleIdentifier(ownIdentifier));
    EXPECT_EQ(NSBundle::mainBundle(), NSBundle::bundleWithIdentifier(ownIdentifier));
    EXPECT_FALSE(NSBundle::setMainBundleIdentifier("com.example.nobody"));
    EXPECT_FALSE(NSBundle::setMainBundlePath("/no/such/folder"));
    EXPECT_EQ(NSBundle::mainBundle(), NSBundle::bundleWithIdentifier(ownIdentifier));
}

TEST_F(NSBundleTest, ThereIsNoBundleForAnUnknownIdentifierAMissingFolderOrAFile) {
    write("file", "");
    EXPECT_FALSE(NSBundle::bundleWithIdentifier("com.example.nobody"));
    EXPECT_FALSE(NSBundle::bundleWithIdentifier(nullptr));
    EXPECT_FALSE(NSBundle::bundleWithPath("/no/such/folder"));
    EXPECT_FALSE(NSBundle::bundleWithPath(NSString(directory_.file("file"))));
    EXPECT_FALSE(NSBundle::bundleWithPath(nullptr));
}

TEST_F(NSBundleTest, ResourcesMayLieInAFolderOfTheirOwn) {
    write("Resources/Info.plist",
          "<plist><dict><key>CFBundleIdentifier</key><string>com.example."
          "boxed</string></dict></plist>");
    write("Resources/en.lproj/Greetings.strings", "hello = Hi;");
    EXPECT_EQ(bundle()->bundleIdentifier(), "com.example.boxed");
    EXPECT_EQ(greeting(), "Hi");
}

}  // namespace
}  // namespace TWQuickTime
