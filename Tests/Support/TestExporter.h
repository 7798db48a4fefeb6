// A movie exporter whose every answer a test can choose, and which remembers what it was asked.
//
//     TestExporterComponent exporter({.subType = fourCC("tst1"), .flags = canMovieExportFiles});
//     exporter.behaviour().settings = someContainer;
//     …find, open and use it through the toolbox…
//     EXPECT_EQ(exporter.behaviour().exports.size(), 1u);
#pragma once

#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Toolbox/Private/MovieExporter.h"

namespace TWQuickTime::test {

/// What one TestExporterComponent answers and has seen, shared by all its instances.
struct TestExporterBehaviour {
    bool opens = true;
    std::vector<std::byte> settings;  ///< what a fresh instance gives
    ComponentResult getSettingsStatus = noErr;
    ComponentResult setSettingsStatus = noErr;
    bool keepsSettings = true;  ///< a fresh instance's settings are replaced by those it is given
    OSType mediaType = 0;
    ComponentResult mediaTypeStatus = noErr;
    OSType extension = fourCC("tst ");
    ComponentResult extensionStatus = noErr;
    ComponentResult dialogStatus = noErr;
    bool dialogCancels = false;
    std::vector<std::byte> settingsFromDialog;
    ComponentResult exportStatus = noErr;
    std::string exportedBytes = "exported";
    std::vector<double> progress = {0.0, 0.5, 1.0};  ///< told between open and close

    struct Export {
        std::string path;
        Movie movie = nullptr;
        Track track = nullptr;
        TimeValue start = 0;
        TimeValue duration = 0;
        std::vector<std::byte> settings;
    };
    struct Dialog {
        Movie movie = nullptr;
        Track track = nullptr;
        TimeValue start = 0;
        TimeValue duration = 0;
    };
    std::vector<Export> exports;
    std::vector<Dialog> dialogs;
    std::vector<std::vector<std::byte>> settingsGiven;
    int opened = 0;
    int closed = 0;
};

class TestExporter : public MovieExporter {
  public:
    explicit TestExporter(std::shared_ptr<TestExporterBehaviour> behaviour)
        : behaviour_(std::move(behaviour)), settings_(behaviour_->settings) {
        ++behaviour_->opened;
    }
    ~TestExporter() override { ++behaviour_->closed; }

    ComponentResult getSettings(std::vector<std::byte>& container) override {
        container = settings_;
        return behaviour_->getSettingsStatus;
    }
    ComponentResult setSettings(std::span<const std::byte> container) override {
        behaviour_->settingsGiven.emplace_back(container.begin(), container.end());
        if (behaviour_->setSettingsStatus == noErr && behaviour_->keepsSettings &&
            !container.empty())
            settings_.assign(container.begin(), container.end());
        return behaviour_->setSettingsStatus;
    }
    ComponentResult sourceMediaType(OSType& mediaType) override {
        mediaType = behaviour_->mediaType;
        return behaviour_->mediaTypeStatus;
    }
    ComponentResult fileNameExtension(OSType& extension) override {
        extension = behaviour_->extension;
        return behaviour_->extensionStatus;
    }
    ComponentResult doUserDialog(Movie movie, Track onlyThisTrack, TimeValue start,
                                 TimeValue duration, bool& canceled) override {
        behaviour_->dialogs.push_back({movie, onlyThisTrack, start, duration});
        canceled = behaviour_->dialogCancels;
        if (!canceled && behaviour_->dialogStatus == noErr)
            settings_ = behaviour_->settingsFromDialog;
        return behaviour_->dialogStatus;
    }
    ComponentResult exportToFile(const NSString& path, Movie movie, Track onlyThisTrack,
                                 TimeValue start, TimeValue duration) override {
        behaviour_->exports.push_back(
            {path.utf8(), movie, onlyThisTrack, start, duration, settings_});
        if (const OSErr status = progress().tell(movie, movieProgressOpen, 0); status != noErr)
            return status;
        for (const double fraction : behaviour_->progress)
            if (const OSErr status = progress().tell(movie, movieProgressUpdatePercent, fraction);
                status != noErr)
                return status;
        if (const OSErr status = progress().tell(movie, movieProgressClose, 1); status != noErr)
            return status;
        if (behaviour_->exportStatus == noErr)
            std::ofstream(path.utf8(), std::ios::binary) << behaviour_->exportedBytes;
        return behaviour_->exportStatus;
    }

  private:
    std::shared_ptr<TestExporterBehaviour> behaviour_;
    std::vector<std::byte> settings_;
};

/// Registered for as long as it lives.
class TestExporterComponent {
  public:
    explicit TestExporterComponent(MovieExporterRegistration registration) {
        registration.make = [behaviour = behaviour_]() -> std::unique_ptr<MovieExporter> {
            return behaviour->opens ? std::make_unique<TestExporter>(behaviour) : nullptr;
        };
        component_ = registerMovieExporter(std::move(registration));
    }
    ~TestExporterComponent() { unregisterComponent(component_); }
    TestExporterComponent(const TestExporterComponent&) = delete;
    TestExporterComponent& operator=(const TestExporterComponent&) = delete;

    TestExporterBehaviour& behaviour() { return *behaviour_; }
    Component component() const { return component_; }

  private:
    std::shared_ptr<TestExporterBehaviour> behaviour_ = std::make_shared<TestExporterBehaviour>();
    Component component_ = nullptr;
};

}  // namespace TWQuickTime::test
