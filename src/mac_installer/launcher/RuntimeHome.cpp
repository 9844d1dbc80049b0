#include "mac_installer/launcher/RuntimeHome.h"

#include "platform/FileManager.h"
#include "platform/path.h"

#include <filesystem>
#include <string_view>
#include <vector>

namespace kestrav {

using platform::appendingPathComponent;

namespace {

namespace fs = std::filesystem;

bool holdsRuntime(const std::string &folder) {
    return platform::fileExistsAtPath(appendingPathComponent(folder, "Contents/Home")) ||
           platform::fileExistsAtPath(appendingPathComponent(folder, "bin/java"));
}

} // namespace

std::string runtimeHome(const std::string &runtimePath) {
    const std::string bundled = appendingPathComponent(runtimePath, "Contents/Home");
    const bool plain = !platform::fileExistsAtPath(bundled) &&
                       platform::fileExistsAtPath(appendingPathComponent(runtimePath, "bin/java"));
    return plain ? runtimePath : bundled;
}

std::string getJreLocation(const std::string &runtimePath) {
    const std::string home = runtimeHome(runtimePath);
    const std::string jre = appendingPathComponent(home, "jre");
    return platform::fileExistsAtPath(jre) ? jre : home;
}

std::string javaProgram(const std::string &runtimePath) {
    return appendingPathComponent(getJreLocation(runtimePath), "bin/java");
}

std::string bundleOfHome(const std::string &path) {
    constexpr std::string_view home = "/Contents/Home";
    const std::string plain(platform::withoutTrailingSlashes(path));
    if (!plain.ends_with(home)) {
        return path;
    }
    const std::string bundle = plain.substr(0, plain.size() - home.size());
    return platform::fileExistsAtPath(appendingPathComponent(bundle, "Contents/Info.plist")) ? bundle : path;
}

std::string extractedRuntime(const std::string &folder) {
    if (holdsRuntime(folder)) {
        return folder;
    }
    std::vector<std::string> runtimes;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string path = entry->path().string();
        if (fs::is_directory(entry->symlink_status(error)) && holdsRuntime(path)) {
            runtimes.push_back(path);
        }
    }
    return runtimes.size() == 1 ? runtimes.front() : folder;
}

} // namespace kestrav
