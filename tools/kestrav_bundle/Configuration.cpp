#include "Configuration.h"

#include "DocumentTypes.h"
#include "KnownKeys.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/path.h"

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
    auto vmOptions = request.vmOptions;
    if (!program.module.empty()) {
        // What `java --module` does: the modules that this one needs are there, and no others.
        vmOptions.insert(vmOptions.begin(), "-Djdk.module.main=" + program.module);
    }
    addIfAny(javaVM, "VMOptionArray", vmOptions);
    addIfAny(javaVM, "ModulePath", program.modulePath);
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

void merge(Dictionary &info, Dictionary above) {
    const auto theirs = above.find("JavaVM");
    auto *ours = info["JavaVM"].as<Dictionary>();
    if (theirs != above.end() && theirs->second.as<Dictionary>() != nullptr) {
        Dictionary entries = *theirs->second.as<Dictionary>();
        entries.erase("VMOptionArray"); // it is a part of ours by now
        entries.merge(*ours);
        theirs->second = std::move(entries);
    }
    above.merge(info);
    info = std::move(above);
}

/// "1.8" for 8, as runtimes of that time number themselves.
std::string versionText(int javaVersion) {
    constexpr int lastOldStyle = 8;
    return (javaVersion <= lastOldStyle ? "1." : "") + std::to_string(javaVersion);
}

/// What says which runtime there is, or is wanted, and how it is obtained.
void addRuntime(Dictionary &info, const Request &request, const RuntimeBounds &bounds, const RuntimeArchive &archive) {
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
}

} // namespace

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

PropertyList configuration(const PropertyList &templateInfo, const Request &request, const Program &program,
                           const RuntimeArchive &archive, const std::optional<PropertyList> &recording) {
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
    addRuntime(info, request, effectiveBounds(request, program), archive);
    for (const auto &[key, text] : request.information) {
        info[key] = text;
    }
    addDocumentTypes(info, request);
    info["JavaVM"] = javaVM(request, program);
    merge(info, userInfo(request));
    auto *finalJavaVM = info["JavaVM"].as<Dictionary>();
    if (recording && finalJavaVM != nullptr) {
        (*finalJavaVM)["Recording"] = *recording;
    }
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

void writeInfo(const PropertyList &info, const std::string &application) {
    const std::string file = platform::appendingPathComponent(application, "Contents/Info.plist");
    if (const auto error = platform::writeFileAtomically(file, info.serialize())) {
        throw Refusal("Info.plist could not be written: " + error.message());
    }
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
