#include <gtest/gtest.h>

#include "ProgressDisplay.h"
#include "StatusText.h"
#include "TextTable.h"

namespace twqt {
namespace {

TEST(TextTable, AlignsItsColumns) {
    TextTable table({{"ID"}, {"Name"}, {"Width", TextTable::Align::right}});
    table.addRow({"1", "DV PAL", "720"});
    table.addRow({"22", "HD", "1920"});
    EXPECT_EQ(table.text(),
              "ID  Name    Width\n"
              "--  ------  -----\n"
              "1   DV PAL    720\n"
              "22  HD       1920\n");
}

TEST(TextTable, CountsCharactersAndNotBytes) {
    TextTable table({{"Name"}, {"X"}});
    table.addRow({"Größe", "1"});
    table.addRow({"日本", "2"});
    EXPECT_EQ(table.text(),
              "Name   X\n"
              "-----  -\n"
              "Größe  1\n"
              "日本   2\n");
}

TEST(TextTable, KeepsARowOnOneLine) {
    TextTable table({{"A"}, {"B"}});
    table.addRow({"a\nb\tc", "d"});
    EXPECT_EQ(table.text(), "A      B\n-----  -\na b c  d\n");
}

TEST(TextTable, MeasuresCombiningAndBrokenText) {
    EXPECT_EQ(displayWidth("e\xcc\x81"), 1u);
    EXPECT_EQ(displayWidth("\xf0\x9f\x8e\xac"), 2u);
    EXPECT_EQ(displayWidth("\xf0"), 1u);
    EXPECT_EQ(displayWidth(""), 0u);
}

TEST(ProgressBar, ShowsPercentSpeedAndTimeLeft) {
    EXPECT_EQ(progressBarText(0.5, 10.0, 60.0),
              "[###############---------------]  50 %  3.0x  0:10 left");
    EXPECT_EQ(progressBarText(0.01, 100.0, 0.0),
              "[------------------------------]   1 %  2:45:00 left");
}

TEST(ProgressBar, SaysNothingOfSpeedBeforeItHasBegun) {
    EXPECT_EQ(progressBarText(0.0, 0.0, 60.0), "[------------------------------]   0 %");
}

TEST(ProgressBar, LimitsWhatItIsTold) {
    EXPECT_EQ(progressBarText(7.0, 1.0, 0.0), "[##############################] 100 %  0:00 left");
    EXPECT_EQ(progressBarText(std::numeric_limits<double>::quiet_NaN(), 1.0, 0.0),
              "[------------------------------]   0 %");
}

TEST(StatusText, NamesKnownStatusesAndGivesTheNumberOfAll) {
    EXPECT_EQ(statusText(-43), "file not found (-43)");
    EXPECT_EQ(statusText(-2010), "not a movie (-2010)");
    EXPECT_EQ(statusText(-12345), "status -12345");
}

}  // namespace
}  // namespace twqt
