#pragma once

#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/global.h"
#include "platform/ProcessInfo.h"
#include "platform/PropertyList.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace kestrav::tests {

using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;

/// An application bundle Tool.app in a temporary folder, a system root, an environment and a home of its own, the debug
/// log on, log lines and notices collected.
class LauncherFixture : public testing::Test {
protected:
    LauncherFixture() {
        configure({});
        auto &replacements = platform::testing::replacements();
        replacements.systemRoot = directory / "root";
        platform::testing::setArguments({bundlePath + "/Contents/MacOS/Tool"});
        setEnvironment({});
        replacements.logSink = [this](std::string_view line) { log.emplace_back(line); };
        replacements.notice = [this](std::string_view title, std::string_view message) {
            notices.push_back(std::string(title) + ": " + std::string(message));
        };
        replacements.debugLog = true;
    }
    ~LauncherFixture() override {
        platform::testing::replacements() = {};
        std::filesystem::current_path("/"); // the launcher may have gone to the bundle's folder, which is removed
    }

    /// Writes the application's Info.plist and opens the bundle again.
    void configure(Dictionary info) {
        directory.write("Tool.app/Contents/Info.plist", PropertyList(std::move(info)).serialize());
        platform::testing::replacements().mainBundle = platform::Bundle::create(bundlePath);
    }

    void setEnvironment(platform::ProcessInfo::Environment environment) {
        environment.emplace("HOME", directory / "home");
        platform::testing::setEnvironment(std::move(environment));
    }

    /// Makes a runtime bundle below the temporary folder that declares a version, and returns its path.
    std::string makeRuntime(const std::string &path, const std::string &version, Dictionary info = {}) {
        info.emplace("JavaVM", Dictionary{{"JVMVersion", version}});
        directory.write(path + "/Contents/Info.plist", PropertyList(std::move(info)).serialize());
        directory.write(path + "/Contents/Home/bin/java", "");
        return directory / path;
    }

    /// Searches for a runtime, and returns its path.
    OptionalText findRuntime(bool searchOtherInstallations = false) {
        launcher.runtime = launcher.findJavaBundle(searchOtherInstallations);
        return launcher.runtime ? OptionalText(launcher.runtime->javaBundlePath) : std::nullopt;
    }

    /// The log messages that contain `part`, without signature and line.
    [[nodiscard]] std::vector<std::string> logged(std::string_view part) const {
        std::vector<std::string> found;
        for (const std::string &line : log) {
            if (line.find(part) != std::string::npos) {
                found.push_back(line.substr(line.find("] ", line.find(" [Line ")) + 2));
            }
        }
        return found;
    }

    [[nodiscard]] bool wasLogged(std::string_view part) const { return !logged(part).empty(); }

    TemporaryDirectory directory;
    const std::string bundlePath = directory / "Tool.app";
    std::vector<std::string> log;
    std::vector<std::string> notices;
    Launcher launcher;
};

using Strings = std::vector<std::string>;

} // namespace kestrav::tests
