#pragma once

#include "platform/PropertyList.h"
#include "support/TemporaryDirectory.h"

#include <optional>
#include <string>
#include <string_view>

namespace kestrav::tests {

using platform::PropertyList;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

/// The Info.plist of a runtime.
std::string runtimeInfo();

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
    Dictionary info;
    Dictionary javaVM;
    /// The file's content instead.
    std::optional<std::string> rawInfo;
    void writeInfo() const;

    /// Makes a runtime bundle around `fake_java` and returns its path. `path` is absolute or below the folder.
    std::string addRuntime(const std::string &path) const;
    /// Makes the application's own runtime, with an archive to be unpacked, and returns its home.
    [[nodiscard]] std::string addPackedRuntime() const;
    /// The runtime that the configuration names as it is made.
    [[nodiscard]] std::string runtime() const { return folder_ / "installed.jdk"; }

private:
    TemporaryDirectory folder_;
    std::string path_;
};

/// What `fake_unpack200` unpacks.
inline std::string pack(const std::string &content) {
    return "PACKED FOR TESTS\n" + content;
}

/// A hard link, or a copy where the file system changes.
void linkFile(const std::string &from, const std::string &to);
[[nodiscard]] std::string contentOf(const std::string &path);

} // namespace kestrav::tests
