// Environment variables for the length of one test.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace TWQuickTime::test {

class EnvironmentVariables {
  public:
    EnvironmentVariables() = default;
    ~EnvironmentVariables() {
        for (auto entry = previous_.rbegin(); entry != previous_.rend(); ++entry)
            put(entry->first, entry->second);
    }
    EnvironmentVariables(const EnvironmentVariables&) = delete;
    EnvironmentVariables& operator=(const EnvironmentVariables&) = delete;

    /// @param value  nothing: the variable is taken away
    void set(const std::string& name, std::optional<std::string> value) {
        const char* before = std::getenv(name.c_str());
        previous_.emplace_back(name, before ? std::optional<std::string>(before) : std::nullopt);
        put(name, value);
    }

  private:
    static void put(const std::string& name, const std::optional<std::string>& value) {
        if (value)
            setenv(name.c_str(), value->c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    std::vector<std::pair<std::string, std::optional<std::string>>> previous_;
};

}  // namespace TWQuickTime::test
