// Collects whole log lines while it lives.
//
//     LogCapture log;
//     UQuickTimeMovie::GetDuration(nullptr, seconds);
//     EXPECT_THAT(log.lines(), ElementsAre("GetDuration: inPath is nil..."));
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "NSLog.h"

namespace TWQuickTime::test {

class LogCapture {
  public:
    LogCapture() {
        previous_ = LogSink::replace([this](LogChannel, const NSString& line) {
            std::lock_guard lock(mutex_);
            lines_.push_back(line.utf8());
        });
    }
    ~LogCapture() { LogSink::replace(previous_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    LogSink::Function previous_;
};

}  // namespace TWQuickTime::test
