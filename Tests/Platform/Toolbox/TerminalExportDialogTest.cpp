#include "TerminalExportDialog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "MovieExport.h"
#include "SettingsContainer.h"

namespace TWQuickTime {
namespace {

using test::big16;
using test::big32;
using test::SettingsContainer;
using testing::HasSubstr;
using testing::Not;

std::span<const std::byte> bytesOf(const NSData& data) {
    return data.bytes();
}

/// A container with every leaf that exporters' settings are known to have.
NSData everyLeaf() {
    SettingsContainer settings;
    const QTAtom video = settings.group("vide");
    settings.leaf("sptl", "avc1" + big32(0) + big16(24) + big32(512), video);
    settings.leaf("tprl", big32(512) + big32(25 << 16) + big32(50), video);
    settings.leaf("drat", big32(1000) + big32(0) + big32(0) + big32(0), video);
    const QTAtom sound = settings.group("soun");
    settings.leaf("ssct", "mp4a", sound);
    settings.leaf("ssrt", big32(0xAC440000), sound);
    settings.leaf("ssss", big16(16), sound);
    settings.leaf("sscc", big16(2), sound);
    for (const char* flag : {"enso", "envi", "lock", "dvcv"})
        settings.leaf(flag, std::string(1, '\1'));
    settings.leaf("wdth", big32(640 << 16));
    settings.leaf("hegt", big32(360 << 16));
    return settings.data();
}

class TerminalExportDialog : public testing::Test {
  protected:
    MovieExportDialogAnswer present(const std::string& typed) {
        std::istringstream input(typed);
        std::ostringstream output;
        const MovieExportDialogAnswer answer =
            presentMovieExportDialogInTerminal(dialog_, input, output);
        shown_ = output.str();
        return answer;
    }
    std::string valueOf(const std::string& key) const {
        for (const MovieExportDialogField& field : dialog_.fields())
            if (field.key == key)
                return field.value;
        return "no such field";
    }

    NSData settings_ = everyLeaf();
    ComponentResult refusal_ = noErr;
    int applied_ = 0;
    MovieExportDialog dialog_{"Test exporter", bytesOf(settings_),
                              [this](std::span<const std::byte>) {
                                  ++applied_;
                                  return refusal_;
                              }};
    std::string shown_;
};

TEST_F(TerminalExportDialog, ShowsEveryFieldWithItsValueAndWhatMayBeEntered) {
    EXPECT_EQ(present("q\n"), MovieExportDialogAnswer::canceled);
    EXPECT_THAT(shown_, HasSubstr("Test exporter\n"));
    EXPECT_EQ(dialog_.fields().size(), 21u);
    for (const MovieExportDialogField& field : dialog_.fields()) {
        EXPECT_THAT(shown_, HasSubstr(field.label));
        EXPECT_THAT(shown_, HasSubstr(field.value));
        EXPECT_THAT(shown_, HasSubstr(field.hint));
    }
}

TEST_F(TerminalExportDialog, EditsEveryField) {
    for (std::size_t i = 0; i < dialog_.fields().size(); ++i) {
        const MovieExportDialogField field = dialog_.fields()[i];
        const std::string value = field.value == "yes"        ? "no"
                                  : field.key == "videoCodec" ? "jpeg"
                                  : field.key == "soundCodec" ? "sowt"
                                  : field.value == "48"       ? "12"
                                                              : "48";
        EXPECT_EQ(present(std::to_string(i + 1) + " " + value + "\ns\n"),
                  MovieExportDialogAnswer::accepted);
        EXPECT_EQ(valueOf(field.key), value) << field.key;
    }
    EXPECT_EQ(dialog_.settings().size(), settings_.length());
}

TEST_F(TerminalExportDialog, TakesTheValueOnTheSameLineOrOnTheNextOne) {
    EXPECT_EQ(present("2 jpeg\n13 \n320\n14=200\n s \n"), MovieExportDialogAnswer::accepted);
    EXPECT_EQ(valueOf("videoCodec"), "jpeg");
    EXPECT_EQ(valueOf("width"), "320");
    EXPECT_EQ(valueOf("height"), "200");
    EXPECT_EQ(applied_, 1);
}

TEST_F(TerminalExportDialog, AnEmptyValueKeepsTheOldOne) {
    EXPECT_EQ(present("13\n\ns\n"), MovieExportDialogAnswer::accepted);
    EXPECT_EQ(valueOf("width"), "640");
    EXPECT_THAT(shown_, HasSubstr("Width (pixels, 0: as the movie) [640]: "));
}

TEST_F(TerminalExportDialog, RefusesWhatIsNoValueOrNoFieldAndGoesOn) {
    EXPECT_EQ(present("13 wide\n1 maybe\n99 1\nx\n0 1\n-1 1\ns\n"),
              MovieExportDialogAnswer::accepted);
    EXPECT_THAT(shown_, HasSubstr("\"wide\" is no value for Width"));
    EXPECT_THAT(shown_, HasSubstr("\"maybe\" is no value for Pictures"));
    for (const char* word : {"99", "x", "0", "-1"})
        EXPECT_THAT(shown_, HasSubstr("There is no field \"" + std::string(word) + "\""));
    EXPECT_EQ(NSData::dataWithBytes(dialog_.settings().data(), dialog_.settings().size()),
              settings_);
}

TEST_F(TerminalExportDialog, IsCancelledByQAndByTheEndOfTheInput) {
    for (const char* typed : {"q\n", "13 320\nq\n", "", "13 320\n", "13\n", "13 320\ns"})
        EXPECT_EQ(present(typed), MovieExportDialogAnswer::canceled) << typed;
    EXPECT_EQ(applied_, 0);
}

TEST_F(TerminalExportDialog, AsksAgainWhenTheExporterRefusesTheSettings) {
    refusal_ = codecUnimpErr;
    EXPECT_EQ(present("2 zzzz\ns\nq\n"), MovieExportDialogAnswer::canceled);
    EXPECT_THAT(shown_, HasSubstr("The exporter refuses these settings (-8962)."));
    EXPECT_EQ(applied_, 1);
}

TEST_F(TerminalExportDialog, AnEmptyLineShowsTheFieldsAgain) {
    present("13 321\n\nq\n");
    EXPECT_THAT(shown_, HasSubstr("Width                 321"));
}

TEST_F(TerminalExportDialog, LetsNothingInTheSettingsCommandTheTerminal) {
    SettingsContainer hostile;
    hostile.leaf("sptl", "\x1b[2J" + big32(0) + big16(24) + big32(512));
    dialog_ = MovieExportDialog("Name\x1b[31m", bytesOf(hostile.data()));
    present("\x1b[5m 1\n1 \x1b]0;\n\xff\xfe\nq\n");
    EXPECT_THAT(shown_, Not(HasSubstr("\x1b")));
    EXPECT_THAT(shown_, Not(HasSubstr("\xff")));
}

TEST_F(TerminalExportDialog, ALineWithoutEndTakesNoMemoryWithoutEnd) {
    EXPECT_EQ(present("13 " + std::string(5'000'000, '1') + "\nq\n"),
              MovieExportDialogAnswer::canceled);
    EXPECT_LT(shown_.size(), 10'000u);
    EXPECT_EQ(valueOf("width"), "640");
}

TEST_F(TerminalExportDialog, ServesAsThePresenterOfAnExporterAndCanBeReplaced) {
    const ComponentInstance exporter = OpenDefaultComponent(MovieExportType, fourCC("MooV"));
    ASSERT_TRUE(exporter);
    std::istringstream input("2 jpeg\ns\n");
    std::ostringstream output;
    SetMovieExportDialogPresenter([&](MovieExportDialog& dialog) {
        return presentMovieExportDialogInTerminal(dialog, input, output);
    });
    Boolean canceled = true;
    EXPECT_EQ(MovieExportDoUserDialog(exporter, nullptr, nullptr, 0, 0, &canceled), noErr);
    EXPECT_FALSE(canceled);
    std::string codec;
    SetMovieExportDialogPresenter([&](MovieExportDialog& dialog) {
        codec = dialog.fields().at(1).value;
        return MovieExportDialogAnswer::canceled;
    });
    EXPECT_EQ(MovieExportDoUserDialog(exporter, nullptr, nullptr, 0, 0, &canceled), noErr);
    EXPECT_TRUE(canceled);
    EXPECT_EQ(codec, "jpeg");
    SetMovieExportDialogPresenter({});
    CloseComponent(exporter);
}

}  // namespace
}  // namespace TWQuickTime
