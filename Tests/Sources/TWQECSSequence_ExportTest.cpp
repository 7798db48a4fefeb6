#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "LogCapture.h"
#include "MovieProgress.h"
#include "Movies.h"
#include "NSTemporaryDirectory.h"
#include "RunProgram.h"
#include "TWQECSReader.h"
#include "TWQECSSequence.h"
#include "TemporaryDirectory.h"

namespace TWQuickTime {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;

/// What the steps were asked, in their order.
struct Call {
    std::string name;
    Movie movie = nullptr;
    TimeValue movieDuration = 0;
    std::string path;
    TimeValue start = 0;
    TimeValue duration = 0;
};

/// A preset that writes a small movie wherever it is told to.
class RecordingStep : public TWQECS {
  public:
    RecordingStep(const char* id, std::vector<Call>& calls, std::string movieBytes)
        : calls_(calls), movieBytes_(std::move(movieBytes)) {
        setQECSDict(NSDictionary{{"SettingID", id}, {"Name", id}});
    }
    bool isInstalled() override { return true; }
    NSString exportedMovieFileExtension() override { return extension; }
    bool exportMovie(Movie movie, const NSString& toFilePath, TimeValue fromStartTime,
                     TimeValue withDuration, NSError* error) override {
        calls_.push_back({name().utf8(), movie, GetMovieDuration(movie), toFilePath.utf8(),
                          fromStartTime, withDuration});
        std::ofstream(toFilePath.utf8(), std::ios::binary) << movieBytes_;
        for (const auto& [message, percent] : progress) {
            NSError reason;
            if (!exportDelegate()->exportCallbackForMovie(movie, message, progressOpExportMovie,
                                                          percent, &reason)) {
                if (error)
                    *error = reason;
                return false;
            }
        }
        whileExporting();
        return succeeds;
    }

    NSString extension = "mov";
    bool succeeds = true;
    std::vector<std::pair<std::int16_t, float>> progress = {{movieProgressOpen, 0.0f},
                                                            {movieProgressUpdatePercent, 0.0f},
                                                            {movieProgressUpdatePercent, 0.5f},
                                                            {movieProgressUpdatePercent, 1.0f},
                                                            {movieProgressClose, 1.0f}};
    std::function<void()> whileExporting = [] {};

  private:
    std::vector<Call>& calls_;
    std::string movieBytes_;
};

class TWQECSSequenceExport : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        const test::TemporaryDirectory folder;
        test::runFfmpeg({"-f", "lavfi", "-i", "testsrc=size=32x32:rate=10:duration=1", "-c:v",
                         "png", folder.file("a.mov")});
        std::ifstream file(folder.file("a.mov"), std::ios::binary);
        movieBytes_.assign(std::istreambuf_iterator<char>(file), {});
    }
    void SetUp() override {
        movie_ = NewMovie(1);
        for (const char* id : {"A", "B", "C"}) {
            steps_[id] = std::make_shared<RecordingStep>(id, calls_, movieBytes_);
            dictionary_.setObject(steps_[id], id);
        }
        reader_->setComponentSettingsDict(std::make_shared<TWQECSDictionary>(dictionary_));
        delegate_->exportCallbackForMovie = [this](Movie, std::int16_t message, std::int16_t,
                                                   float percent, NSError* error) {
            told_.emplace_back(message, percent);
            return answer_(*error);
        };
    }
    void TearDown() override { DisposeMovie(movie_); }

    std::shared_ptr<TWQECSSequence> sequence(std::initializer_list<const char*> steps) {
        NSArray list = NSArray::array();
        for (const char* id : steps)
            list.addObject(NSDictionary{
                {"Fallbacks", NSArray({PropertyListValue(NSDictionary{{"SettingID", id}})})}});
        auto made = TWQECSSequence::initWithDictionary(
            NSDictionary{{"SequenceID", "S"}, {"Steps", list}}, reader_);
        made->setExportDelegate(delegate_);
        return made;
    }
    bool run(const std::shared_ptr<TWQECSSequence>& sequence, NSError* error = nullptr) {
        return sequence->exportMovie(movie_, folder_.file("out.mov"), 20, 100, error);
    }
    static std::vector<std::string> temporaryFiles() {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(NSTemporaryDirectory().utf8()))
            names.push_back(entry.path().filename());
        return names;
    }
    /// The number in ".../EPR<number>.ext".
    static int numberOf(const std::string& path) {
        const std::string name = fs::path(path).stem();
        EXPECT_EQ(name.substr(0, 3), "EPR");
        return std::stoi(name.substr(3));
    }

    static inline std::string movieBytes_;
    test::TemporaryDirectory folder_;
    Movie movie_ = nullptr;
    std::vector<Call> calls_;
    std::map<std::string, std::shared_ptr<RecordingStep>> steps_;
    TWQECSDictionary dictionary_;
    std::shared_ptr<TWQECSReader> reader_ = std::make_shared<TWQECSReader>();
    std::shared_ptr<TWQECSExportDelegate> delegate_ = std::make_shared<TWQECSExportDelegate>();
    std::vector<std::pair<std::int16_t, float>> told_;
    std::function<bool(NSError&)> answer_ = [](NSError&) { return true; };
    test::LogCapture log_;
};

TEST_F(TWQECSSequenceExport, OneStepExportsTheCallersMovieToTheDestination) {
    EXPECT_TRUE(run(sequence({"A"})));
    ASSERT_EQ(calls_.size(), 1u);
    EXPECT_EQ(calls_[0].movie, movie_);
    EXPECT_EQ(calls_[0].path, folder_.file("out.mov"));
    EXPECT_EQ(calls_[0].start, 20);
    EXPECT_EQ(calls_[0].duration, 100);
    EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(TWQECSSequenceExport, ASequenceWithoutStepsExportsExactlyLikeTheSettingOfItsIdentifier) {
    const auto alias =
        TWQECSSequence::initWithDictionary(NSDictionary{{"SequenceID", "A"}}, reader_);
    alias->setExportDelegate(delegate_);
    EXPECT_TRUE(run(alias));
    ASSERT_EQ(calls_.size(), 1u);
    EXPECT_EQ(calls_[0].name, "A");
    EXPECT_EQ(calls_[0].path, folder_.file("out.mov"));
}

TEST_F(TWQECSSequenceExport, EveryLaterStepExportsAllOfTheFileBeforeAndDeletesIt) {
    std::vector<std::size_t> filesWhileExporting;
    for (const auto& [id, step] : steps_)
        step->whileExporting = [&] { filesWhileExporting.push_back(temporaryFiles().size()); };
    EXPECT_TRUE(run(sequence({"A", "B", "C"})));
    ASSERT_EQ(calls_.size(), 3u);
    EXPECT_EQ(calls_[0].movie, movie_);
    EXPECT_EQ(calls_[2].path, folder_.file("out.mov"));
    for (const std::size_t later : {1u, 2u}) {
        EXPECT_NE(calls_[later].movie, nullptr);
        EXPECT_NE(calls_[later].movie, movie_);
        EXPECT_EQ(calls_[later].start, 0);
        EXPECT_GT(calls_[later].duration, 0);
        EXPECT_EQ(calls_[later].duration, calls_[later].movieDuration);
    }
    EXPECT_THAT(filesWhileExporting, ElementsAre(1, 2, 1));
    EXPECT_THAT(temporaryFiles(), IsEmpty());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(TWQECSSequenceExport, TemporaryNamesCountUpThroughTheProcessWithEachStepsExtension) {
    steps_["A"]->extension = "avi";
    steps_["B"]->extension = nullptr;
    EXPECT_TRUE(run(sequence({"A", "B", "C"})));
    ASSERT_EQ(calls_.size(), 3u);
    const int first = numberOf(calls_[0].path);
    EXPECT_EQ(calls_[0].path,
              NSTemporaryDirectory().utf8() + "/EPR" + std::to_string(first) + ".avi");
    EXPECT_EQ(calls_[1].path, NSTemporaryDirectory().utf8() + "/EPR" + std::to_string(first + 1));
    EXPECT_TRUE(run(sequence({"A", "C"})));
    EXPECT_EQ(numberOf(calls_[3].path), first + 2);
}

TEST_F(TWQECSSequenceExport, ThreeStepsReportOneOpenAClimbFromZeroToOneAndOneClose) {
    EXPECT_TRUE(run(sequence({"A", "B", "C"})));
    ASSERT_EQ(told_.size(), 11u);
    EXPECT_EQ(told_.front(), (std::pair<std::int16_t, float>{movieProgressOpen, 0.0f}));
    EXPECT_EQ(told_.back(), (std::pair<std::int16_t, float>{movieProgressClose, 0.0f}));
    const float third = 1.0f / 3.0f;
    const float expected[] = {0.0f,         0.5f / 3.0f,          third,
                              third,        third + 0.5f / 3.0f,  third + third,
                              third * 2.0f, third * 2 + 0.5f / 3, third * 2 + third};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(told_[i + 1].first, movieProgressUpdatePercent);
        EXPECT_THAT(told_[i + 1].second, FloatEq(expected[i])) << i;
    }
}

TEST_F(TWQECSSequenceExport, WithoutACallbackEveryExportStopsAtItsFirstProgressCallOnPurpose) {
    const auto steps = sequence({"A", "B"});
    NSError error = NSError::errorWithDomain("other", 1, nullptr);
    steps->setExportDelegate(nullptr);
    EXPECT_FALSE(run(steps, &error));
    EXPECT_TRUE(error.isNil());
    delegate_->exportCallbackForMovie = nullptr;
    steps->setExportDelegate(delegate_);
    EXPECT_FALSE(run(steps));
    EXPECT_EQ(calls_.size(), 2u);
    for (const std::string& name : temporaryFiles())
        fs::remove(fs::path(NSTemporaryDirectory().utf8()) / name);
}

TEST_F(TWQECSSequenceExport, AStopAtTheSecondStepHandsBackAndKeepsItsReason) {
    answer_ = [&](NSError& error) {
        if (told_.size() < 6)
            return true;
        error = NSError::errorWithDomain("client", 42, nullptr);
        return false;
    };
    const auto steps = sequence({"A", "B", "C"});
    NSError error;
    EXPECT_FALSE(run(steps, &error));
    EXPECT_EQ(error.code(), 42);
    EXPECT_EQ(steps->exportError().code(), 42);
    EXPECT_EQ(calls_.size(), 2u);
    // The step's input is deleted, its own unfinished output stays.
    ASSERT_THAT(temporaryFiles(), ElementsAre(fs::path(calls_[1].path).filename().string()));
    fs::remove(calls_[1].path);
    EXPECT_FALSE(fs::exists(folder_.file("out.mov")));
}

TEST_F(TWQECSSequenceExport, AStopWithoutAReasonLeavesTheErrorOfBefore) {
    answer_ = [](NSError&) { return false; };
    const auto steps = sequence({"A"});
    const NSError before = NSError::errorWithDomain("before", 1, nullptr);
    steps->setExportError(before);
    NSError error = before;
    EXPECT_FALSE(run(steps, &error));
    EXPECT_TRUE(error.isNil());
    EXPECT_EQ(steps->exportError(), before);
}

TEST_F(TWQECSSequenceExport, AFailingStepEndsTheExportAndItsInputIsDeletedAllTheSame) {
    steps_["B"]->succeeds = false;
    EXPECT_FALSE(run(sequence({"A", "B", "C"})));
    EXPECT_EQ(calls_.size(), 2u);
    EXPECT_FALSE(fs::exists(calls_[0].path));
    EXPECT_TRUE(fs::exists(calls_[1].path));
    fs::remove(calls_[1].path);
}

TEST_F(TWQECSSequenceExport, AnIntermediateFileThatIsNoMovieGivesTheNextStepNoMovie) {
    steps_["A"] = std::make_shared<RecordingStep>("A", calls_, "no movie");
    dictionary_.setObject(steps_["A"], "A");
    reader_->setComponentSettingsDict(std::make_shared<TWQECSDictionary>(dictionary_));
    EXPECT_TRUE(run(sequence({"A", "B"})));
    ASSERT_EQ(calls_.size(), 2u);
    EXPECT_EQ(calls_[1].movie, nullptr);
    EXPECT_EQ(calls_[1].duration, 0);
    fs::remove(calls_[0].path);
}

TEST_F(TWQECSSequenceExport, ATemporaryFileThatCannotBeDeletedIsLoggedAndLeft) {
    steps_["B"]->whileExporting = [&] { fs::remove(calls_[0].path); };
    EXPECT_TRUE(run(sequence({"A", "B"})));
    EXPECT_THAT(log_.lines(),
                ElementsAre("Cannot delete temporary export file: " + calls_[0].path));
}

TEST_F(TWQECSSequenceExport, TheStepBeingExportedIsActiveAndHasTheSequenceAsItsDelegate) {
    const auto steps = sequence({"A", "B"});
    std::vector<std::shared_ptr<TWQECS>> active;
    for (const char* id : {"A", "B"})
        steps_[id]->whileExporting = [&] { active.push_back(steps->activeStep()); };
    EXPECT_TRUE(run(steps));
    EXPECT_THAT(active, ElementsAre(steps_["A"], steps_["B"]));
    EXPECT_EQ(steps->activeStep(), nullptr);
    EXPECT_EQ(steps_["A"]->exportDelegate(), nullptr);
}

TEST_F(TWQECSSequenceExport, TheSamePresetMayBeEveryStep) {
    EXPECT_TRUE(run(sequence({"A", "A"})));
    ASSERT_EQ(calls_.size(), 2u);
    EXPECT_NE(calls_[0].path, folder_.file("out.mov"));
    EXPECT_EQ(calls_[1].path, folder_.file("out.mov"));
}

TEST_F(TWQECSSequenceExport, WithoutStepsNothingIsExportedAndNoErrorHandedBack) {
    NSError error = NSError::errorWithDomain("before", 1, nullptr);
    EXPECT_FALSE(run(sequence({"unknown"}), &error));
    EXPECT_EQ(error.code(), 1);
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(TWQECSSequenceExport, OutsideAnExportTheCallbackAnswersNo) {
    const auto steps = sequence({"A"});
    EXPECT_FALSE(steps->exportCallbackForMovie(movie_, movieProgressOpen, 12, 0, nullptr));
    EXPECT_THAT(told_, IsEmpty());
}

}  // namespace
}  // namespace TWQuickTime
