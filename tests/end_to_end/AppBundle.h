#pragma once

#include "platform/PropertyList.h"
#include "support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace kestrav::tests {

namespace fs = std::filesystem;
using platform::PropertyList;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

/// The Info.plist of a runtime.
inline std::string runtimeInfo() {
    return PropertyList(Dictionary{{"JavaVM", Dictionary{{"JVMVersion", "17.0.9"}}}}).serialize();
}

/// An archive that `fake_unpack200` unpacks.
inline std::string pack(const std::string &content) {
    return "PACKED FOR TESTS\n" + content;
}

/// Makes a hard link, or a copy on another file system.
inline void linkFile(const std::string &from, const std::string &to) {
    fs::create_directories(fs::path(to).parent_path());
    std::error_code error;
    fs::create_hard_link(from, to, error);
    if (error) {
        fs::copy_file(from, to);
    }
}

[[nodiscard]] inline std::string contentOf(const std::string &path) {
    std::ostringstream content; // much faster than iterators under the sanitizers
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

/// An application bundle made from the built template, in a folder of its own. Its configuration names a test runtime
/// beside it, so that nothing installed on the machine matters.
class AppBundle {
public:
    explicit AppBundle(std::string_view name = "Test.app") : path_(folder_ / name) {
        for (const auto &entry : fs::recursive_directory_iterator(KESTRAV_TEMPLATE)) {
            const std::string relative = fs::relative(entry.path(), KESTRAV_TEMPLATE).string();
            const bool configuration =
                relative == "Contents/Info.plist" || relative.find(".lproj") != std::string::npos;
            if (entry.is_regular_file() && !configuration) {
                linkFile(entry.path().string(), path_ + "/" + relative);
            }
        }
        std::ofstream(fs::path(folder_.makeDirectory(std::string(name) + "/Contents/Resources/en.lproj")) /
                      "Localizable.strings")
            << R"("dorvik.InternalError" = "internal error: %@";
"AppleJavaMinVersionError" = "no runtime: %@, %@";
"NonWritablePackDir" = "not writable";
"JavaEndedError" = "%@ ended with %@:";
"JavaReturnedError" = "%@ returned %@";
)";
        info = {{"CFBundleName", "Test"}, {"CFBundleIdentifier", "org.example.test"}};
        javaVM = {{"MainClass", "org.example.Main"}, {"SearchSequence", Array{"R" + runtime()}}};
        addRuntime("installed.jdk");
    }

    [[nodiscard]] const std::string &path() const { return path_; }
    [[nodiscard]] std::string executable() const { return path_ + "/Contents/MacOS/launcher"; }
    /// The folder that holds the bundle and everything that a test puts beside it.
    [[nodiscard]] const TemporaryDirectory &folder() const { return folder_; }

    /// Info.plist: the top level and the `JavaVM` dictionary. Written by each `Launch`.
    Dictionary info;
    Dictionary javaVM;
    /// Used as the file's content instead.
    std::optional<std::string> rawInfo;
    void writeInfo() const {
        auto complete = info;
        complete.try_emplace("JavaVM", javaVM);
        const std::string content = rawInfo ? *rawInfo : PropertyList(complete).serialize();
        const std::string file = path_ + "/Contents/Info.plist";
        if (!fs::is_regular_file(file) || contentOf(file) != content) { // an earlier launch may be reading it
            std::ofstream(file, std::ios::binary) << content;
        }
    }

    /// Makes a runtime bundle around `fake_java` and returns its path. `path` is absolute or below the folder.
    std::string addRuntime(const std::string &path) const {
        const fs::path runtime = fs::path(folder_.path()) / path;
        linkFile(KESTRAV_FAKE_JAVA, (runtime / "Contents/Home/bin/java").string());
        std::ofstream(runtime / "Contents/Info.plist") << runtimeInfo();
        return runtime.string();
    }
    /// Makes the application's own runtime, with an archive to be unpacked, and returns its home.
    [[nodiscard]] std::string addPackedRuntime() const {
        const fs::path home = addRuntime(path_ + "/Contents/PlugIns/jre.bundle") + "/Contents/Home";
        fs::copy_file(KESTRAV_FAKE_UNPACK200, home / "bin/unpack200");
        fs::create_directory(home / "lib");
        std::ofstream(home / "lib/rt.jar.pack") << pack("content");
        return home.string();
    }
    /// The runtime that the configuration names at first.
    [[nodiscard]] std::string runtime() const { return folder_ / "installed.jdk"; }

private:
    TemporaryDirectory folder_;
    std::string path_;
};

} // namespace kestrav::tests
