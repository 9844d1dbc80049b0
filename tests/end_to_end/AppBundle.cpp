#include "AppBundle.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace kestrav::tests {

namespace fs = std::filesystem;

std::string runtimeInfo() {
    return PropertyList(Dictionary{{"JavaVM", Dictionary{{"JVMVersion", "17.0.9"}}}}).serialize();
}

void linkFile(const std::string &from, const std::string &to) {
    fs::create_directories(fs::path(to).parent_path());
    std::error_code error;
    fs::create_hard_link(from, to, error);
    if (error) {
        fs::copy_file(from, to);
    }
}

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

AppBundle::AppBundle(std::string_view name) : path_(folder_ / name) {
    for (const auto &entry : fs::recursive_directory_iterator(KESTRAV_TEMPLATE)) {
        const std::string relative = fs::relative(entry.path(), KESTRAV_TEMPLATE).string();
        const bool configuration = relative == "Contents/Info.plist" || relative.find(".lproj") != std::string::npos;
        if (entry.is_regular_file() && !configuration) {
            linkFile(entry.path().string(), path_ + "/" + relative);
        }
    }
    std::ofstream(fs::path(folder_.makeDirectory(std::string(name) + "/Contents/Resources/en.lproj")) /
                  "Localizable.strings")
        << R"("dorvik.InternalError" = "internal error: %@";
"AppleJavaMinVersionError" = "no runtime: %@, %@";
"NonWritablePackDir" = "not writable";
)";
    info = {{"CFBundleName", "Test"}, {"CFBundleIdentifier", "org.example.test"}};
    javaVM = {{"MainClass", "org.example.Main"}, {"SearchSequence", Array{"R" + runtime()}}};
    addRuntime("installed.jdk");
}

void AppBundle::writeInfo() const {
    auto complete = info;
    complete.try_emplace("JavaVM", javaVM);
    const std::string content = rawInfo ? *rawInfo : PropertyList(complete).serialize();
    const std::string file = path_ + "/Contents/Info.plist";
    if (!fs::is_regular_file(file) || contentOf(file) != content) { // an earlier launch may be reading it
        std::ofstream(file, std::ios::binary) << content;
    }
}

std::string AppBundle::addRuntime(const std::string &path) const {
    const fs::path runtime = fs::path(folder_.path()) / path;
    linkFile(KESTRAV_FAKE_JAVA, (runtime / "Contents/Home/bin/java").string());
    std::ofstream(runtime / "Contents/Info.plist") << runtimeInfo();
    return runtime.string();
}

std::string AppBundle::addPackedRuntime() const {
    const fs::path home = addRuntime(path_ + "/Contents/PlugIns/jre.bundle") + "/Contents/Home";
    fs::copy_file(KESTRAV_FAKE_UNPACK200, home / "bin/unpack200");
    fs::create_directory(home / "lib");
    std::ofstream(home / "lib/rt.jar.pack") << pack("content");
    return home.string();
}

} // namespace kestrav::tests
