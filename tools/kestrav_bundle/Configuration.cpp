#include "Configuration.h"

#include "DocumentTypes.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"

#include <algorithm>
#include <array>
#include <limits>

namespace kestrav::tools {

namespace {

using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;

constexpr const char *versionSpecificOptions = "VersionSpecificVMOptions";

PropertyList::Array arrayOf(const std::vector<std::string> &strings) {
    return {strings.begin(), strings.end()};
}

void addIfAny(Dictionary &dictionary, const char *key, const std::vector<std::string> &texts) {
    if (!texts.empty()) {
        dictionary[key] = arrayOf(texts);
    }
}

void addIfAny(Dictionary &dictionary, const char *key, const OptionalText &text) {
    if (text && !text->empty()) {
        dictionary[key] = *text;
    }
}

Dictionary javaVM(const Request &request, const Program &program) {
    Dictionary javaVM;
    addIfAny(javaVM, "MainClass", program.mainClass);
    addIfAny(javaVM, "ClassPath", program.classPath);
    javaVM["WorkingDirectory"] = request.workingDirectory;
    addIfAny(javaVM, "VMOptionArray", request.vmOptions);
    if (!request.versionedOptions.empty()) {
        javaVM[versionSpecificOptions] = pairsOf(request.versionedOptions);
    }
    addIfAny(javaVM, "OptionsFile", program.optionsFile);
    addIfAny(javaVM, "SplashFile", program.splash);
    addIfAny(javaVM, "ArgumentArray", request.arguments);
    if (request.search) {
        javaVM["SearchSequence"] = arrayOf(*request.search);
    }
    return javaVM;
}

/// macOS lets an application fetch without encryption only from hosts that it names (App Transport Security).
void allowPlainTransport(Dictionary &info, const std::string &url) {
    constexpr std::string_view scheme = "http://";
    if (url.starts_with(scheme)) {
        const std::string authority = url.substr(scheme.size(), url.find('/', scheme.size()) - scheme.size());
        const std::string host = authority.substr(authority.find('@') + 1);
        info["NSAppTransportSecurity"] = Dictionary{
            {"NSExceptionDomains",
             Dictionary{{host.substr(0, host.find(':')), Dictionary{{"NSExceptionAllowsInsecureHTTPLoads", true}}}}}};
    }
}

/// The user's property list; an empty one without it.
Dictionary userInfo(const Request &request) {
    if (!request.info) {
        return {};
    }
    const auto content = platform::contentsOfFile(*request.info);
    const auto list = content ? PropertyList::parse(*content) : std::nullopt;
    const auto *dictionary = list ? list->as<Dictionary>() : nullptr;
    if (dictionary == nullptr) {
        throw Refusal(*request.info + (content ? " is not a property list with a dictionary" : " cannot be read"));
    }
    return *dictionary;
}

void merge(Dictionary &info, Dictionary above) {
    const auto theirs = above.find("JavaVM");
    auto *ours = info["JavaVM"].as<Dictionary>();
    if (theirs != above.end() && theirs->second.as<Dictionary>() != nullptr) {
        Dictionary entries = *theirs->second.as<Dictionary>();
        entries.merge(*ours);
        theirs->second = std::move(entries);
    }
    above.merge(info);
    info = std::move(above);
}

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

/// Reads every key as the launcher will, which raises for a wrong type.
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

/// "1.8" for 8, as runtimes of that time number themselves.
std::string versionText(int javaVersion) {
    constexpr int lastOldStyle = 8;
    return (javaVersion <= lastOldStyle ? "1." : "") + std::to_string(javaVersion);
}

} // namespace

PropertyList configuration(const PropertyList &templateInfo, const Request &request, const Program &program,
                           const RuntimeArchive &archive) {
    const auto *general = templateInfo.as<Dictionary>();
    Dictionary info = general == nullptr ? Dictionary() : *general;
    std::erase_if(info, [](const auto &entry) { return entry.first.starts_with("ksv."); });
    info["CFBundleName"] = request.name;
    info["CFBundleIdentifier"] = request.identifier;
    info["CFBundleVersion"] = request.version;
    info["CFBundleShortVersionString"] = request.version;
    if (!request.languages.empty()) {
        info["CFBundleDevelopmentRegion"] = request.languages.front().name;
    }
    const RuntimeBounds bounds = effectiveBounds(request, program);
    addIfAny(info, "ksv.minVersion", bounds.minVersion);
    addIfAny(info, "ksv.maxVersion", bounds.maxVersion);
    addIfAny(info, "ksv.vmIdPrefix", bounds.requiredVmIdPrefix);
    if (bounds.allowBeta) {
        info["ksv.allowBeta"] = true;
    }
    addIfAny(info, "ksv.jreLocation", request.runtimeURL);
    allowPlainTransport(info, request.runtimeURL.value_or(""));
    addIfAny(info, "ksv.jreSha256", request.runtimeSHA256);
    if (archive.size > 0) {
        constexpr std::uint64_t largest = std::numeric_limits<std::int32_t>::max();
        info["ksv.jreUncompressedSize"] = static_cast<std::int64_t>(std::min(archive.size, largest));
        info["ksv.jreSha256"] = archive.sha256;
    }
    if (request.keepRuntime) {
        info["ksv.keepRuntime"] = true;
    }
    if (request.noWindow) {
        info["ksv.initialProgress"] = false;
    }
    if (!request.installer) {
        info["ksv.inProcess"] = true;
        if (request.runtimeURL || (request.runtime && request.runtimeForm == RuntimeForm::archive)) {
            info["ksv.keepRuntime"] = true;
        }
    }
    for (const auto &[key, text] : request.information) {
        info[key] = text;
    }
    addDocumentTypes(info, request);
    info["JavaVM"] = javaVM(request, program);
    merge(info, userInfo(request));
    PropertyList result(std::move(info));
    readAll(result);
    if (archive.size > 0 && digestValue(result) != archive.sha256) {
        throw Refusal("The archive of the runtime has the SHA-256 " + archive.sha256 +
                      ", unlike \"ksv.jreSha256\" in " + *request.info);
    }
    return result;
}

Request withInfo(Request request) {
    const PropertyList info(userInfo(request));
    const auto take = [](OptionalText &field, const PropertyList &dictionary, const char *key) {
        if (const auto text = stringValue(dictionary, key)) {
            field = *text;
        }
    };
    take(request.bounds.minVersion, info, "ksv.minVersion");
    take(request.bounds.maxVersion, info, "ksv.maxVersion");
    take(request.bounds.requiredVmIdPrefix, info, "ksv.vmIdPrefix");
    request.bounds.allowBeta = booleanValue(info, "ksv.allowBeta").value_or(request.bounds.allowBeta);
    take(request.runtimeURL, info, "ksv.jreLocation");
    request.earlierInstallation = info.find("ksv.appId") != nullptr || info.find("ksv.baseDir") != nullptr;
    if (const PropertyList *javaVM = info.find("JavaVM")) {
        take(request.mainClass, *javaVM, "MainClass");
        if (const auto entries = stringArrayValue(*javaVM, "SearchSequence"); entries && !request.runtime) {
            request.search = *entries;
        }
        if (auto options = stringArrayValue(*javaVM, "VMOptionArray")) {
            request.vmOptions = std::move(*options);
        }
        for (const char *key : {"ClassPath", "ModulePath", "OptionsFile"}) {
            request.classesElsewhere = request.classesElsewhere || javaVM->find(key) != nullptr;
        }
    }
    return request;
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

RuntimeBounds effectiveBounds(const Request &request, const Program &program) {
    RuntimeBounds bounds = request.bounds;
    if (program.javaVersion == 0) {
        return bounds;
    }
    const std::string needed = versionText(program.javaVersion);
    const std::string what = "The main class " + program.mainClass + " needs Java " + needed + " or newer";
    if (bounds.maxVersion && !Launcher::compareVersion(needed, Launcher::versionListOf(*bounds.maxVersion), false)) {
        throw Refusal(what + ", but the newest to be taken is " + *bounds.maxVersion);
    }
    if (bounds.minVersion && !Launcher::compareVersion(needed, Launcher::versionListOf(*bounds.minVersion), false)) {
        throw Refusal(what + ", but the oldest to be taken is " + *bounds.minVersion);
    }
    if (!bounds.minVersion) {
        bounds.minVersion = needed;
    }
    return bounds;
}

} // namespace kestrav::tools
