// All bundles of the process, and where to look for further ones.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "NSBundle.h"

namespace TWQuickTime {

class BundleRegistry {
  public:
    static BundleRegistry& shared();

    std::shared_ptr<NSBundle> bundleAt(const std::string& path);
    std::shared_ptr<NSBundle> bundleIdentifiedBy(const NSString& identifier);
    std::shared_ptr<NSBundle> mainBundle();
    void setMainBundle(std::shared_ptr<NSBundle> bundle);

  private:
    std::shared_ptr<NSBundle> defaultMainBundle();

    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<NSBundle>> bundlesByPath_;
    std::shared_ptr<NSBundle> mainBundle_;
};

}  // namespace TWQuickTime
