#include "KnownKeys.h"

#include "Configuration.h"
#include "mac_installer/launcher/InfoPlist.h"

#include <algorithm>
#include <array>

namespace kestrav::tools {

namespace {

using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;

constexpr const char *versionSpecificOptions = "VersionSpecificVMOptions";

void readVersionSpecificOptions(const PropertyList &javaVM) {
    constexpr const char *key = versionSpecificOptions;
    const auto *entries = arrayValue(javaVM, key);
    const std::size_t count = entries == nullptr ? 0 : entries->size();
    if (count % 2 != 0) {
        throw Refusal(std::string("\"") + key +
                      "\" in Info.plist is to have pairs: versions, and the options for them");
    }
    for (std::size_t i = 0; i < count; i += 2) {
        const std::string versions = stringEntry((*entries)[i], key);
        if (!versions.starts_with('*') && versions.find('-') == std::string::npos) {
            throw Refusal("\"" + versions + "\", under \"" + key +
                          "\" in Info.plist, fits no version: write 11-17, 17-17 or *17.0.9");
        }
        static_cast<void>(stringsOf((*entries)[i + 1], key));
    }
}

// The keys that the launcher knows, by the types of their values.
constexpr std::array ownTexts{"ksv.minVersion", "ksv.maxVersion", "ksv.vmIdPrefix",
                              "ksv.appId",      "ksv.baseDir",    "ksv.jreLocation"};
constexpr std::array checkedTexts{"ksv.jreSha256", "ksv.runtimeCache"};
constexpr std::array ownBooleans{"ksv.allowBeta", "ksv.allowPassthrough", "ksv.inProcess", "ksv.initialProgress",
                                 "ksv.keepRuntime"};
constexpr std::array ownIntegers{"ksv.jreUncompressedSize", "ksv.keepDays"};
constexpr std::array javaTexts{"MainClass", "ClassPath", "ModulePath", "WorkingDirectory", "OptionsFile", "SplashFile"};
constexpr std::array javaArrays{"VMOptionArray", "ArgumentArray", "SearchSequence"};
constexpr std::array javaOthers{"StartOnMainThread", versionSpecificOptions};

template <class... Lists> bool isAmong(const std::string &key, const Lists &...lists) {
    return ((std::find(lists.begin(), lists.end(), key) != lists.end()) || ...);
}

} // namespace

void readAll(const PropertyList &info) {
    for (const char *key : {"CFBundleName", "CFBundleIconFile", "CFBundleIdentifier"}) {
        static_cast<void>(stringValue(info, key));
    }
    for (const char *key : ownTexts) {
        static_cast<void>(stringValue(info, key));
    }
    for (const char *key : ownBooleans) {
        static_cast<void>(booleanValue(info, key));
    }
    for (const char *key : ownIntegers) {
        static_cast<void>(integerValue(info, key));
    }
    static_cast<void>(digestValue(info));
    static_cast<void>(runtimeCacheValue(info));
    const PropertyList &javaVM = *info.find("JavaVM");
    if (javaVM.as<Dictionary>() == nullptr) {
        throw Refusal("\"JavaVM\" in Info.plist is not a dictionary");
    }
    for (const char *key : javaTexts) {
        static_cast<void>(stringValue(javaVM, key));
    }
    for (const char *key : javaArrays) {
        static_cast<void>(stringArrayValue(javaVM, key));
    }
    static_cast<void>(booleanValue(javaVM, "StartOnMainThread"));
    readVersionSpecificOptions(javaVM);
    if (stringValue(info, "CFBundleExecutable") != "launcher") {
        throw Refusal("\"CFBundleExecutable\" in Info.plist must be launcher, the file in Contents/MacOS");
    }
    if (stringValue(info, "CFBundleName").value_or("").empty()) {
        throw Refusal("\"CFBundleName\" in Info.plist, the application's name, must not be empty");
    }
    if (stringValue(javaVM, "MainClass").value_or("").empty()) {
        throw Refusal("The application has no main class: give --jar or --main-class");
    }
}

std::vector<std::string> unheededKeys(const Request &request) {
    std::vector<std::string> notes;
    const auto note = [&](const std::string &key, const char *what) {
        notes.push_back("\"" + key + "\" in " + *request.info + " is not heeded: " + what);
    };
    const PropertyList info(userInfo(request));
    for (const auto &[key, value] : *info.as<Dictionary>()) {
        if (isAmong(key, javaTexts, javaArrays, javaOthers)) {
            note(key, "it belongs in the dictionary \"JavaVM\"");
        } else if (key.starts_with("ksv.") && !isAmong(key, ownTexts, checkedTexts, ownBooleans, ownIntegers)) {
            note(key, "the launcher knows no such key");
        }
    }
    const PropertyList *javaVM = info.find("JavaVM");
    const auto *entries = javaVM == nullptr ? nullptr : javaVM->as<Dictionary>();
    for (const auto &[key, value] : entries == nullptr ? Dictionary() : *entries) {
        if (key.starts_with("ksv.")) {
            note(key, "it belongs at the top, not in \"JavaVM\"");
        }
    }
    return notes;
}

} // namespace kestrav::tools
