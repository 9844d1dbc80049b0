#pragma once

#include "support/TemporaryDirectory.h"

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kestrav::tests {

/// Values as they stand in an XML property list; texts are not escaped.
std::string text(std::string_view value);
std::string integer(std::int64_t value);
std::string array(std::initializer_list<std::string> values);
std::string dictionary(const std::map<std::string, std::string> &values);
/// A whole property list around a value.
std::string propertyList(std::string_view value);
/// The Info.plist of a runtime of this version.
std::string runtimeInfo(std::string_view version);

/// An application bundle made from the built template, in a folder of its own. Its configuration names a test runtime
/// beside it, so that nothing installed on the machine matters.
class AppBundle {
public:
    explicit AppBundle(std::string_view name = "Test.app");

    [[nodiscard]] const std::string &path() const { return path_; }
    [[nodiscard]] std::string executable() const { return path_ + "/Contents/MacOS/launcher"; }
    /// The folder that holds the bundle, and whatever a test puts beside it.
    [[nodiscard]] const TemporaryDirectory &folder() const { return folder_; }

    /// Info.plist: the top level and the `JavaVM` dictionary. Written by each `Launch`.
    std::map<std::string, std::string> info;
    std::map<std::string, std::string> javaVM;
    /// The file's content instead.
    std::optional<std::string> rawInfo;
    void writeInfo() const;

    /// Makes a runtime bundle around `fake_java` and returns its path. `path` is absolute or below the folder.
    std::string addRuntime(const std::string &path, std::string_view version = "17.0.9") const;
    /// The application's own runtime, which comes before all others.
    [[nodiscard]] std::string addOwnRuntime() const { return addRuntime(path_ + "/Contents/PlugIns/jre.bundle"); }
    /// Puts the test programs' `fake_unpack200` and a packed archive for each content into a runtime's home.
    static void addPackedArchives(const std::string &home, const std::map<std::string, std::string> &contents);
    /// The runtime that the configuration names as it is made.
    [[nodiscard]] std::string runtime() const { return folder_ / "installed.jdk"; }

private:
    TemporaryDirectory folder_;
    std::string path_;
};

/// A hard link, or a copy where the file system changes.
void linkFile(const std::string &from, const std::string &to);
[[nodiscard]] std::string contentOf(const std::string &path);

} // namespace kestrav::tests
