#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeSupport.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"

#include <algorithm>

namespace kestrav {

using platform::PropertyList;

namespace {

constexpr const char *signature = "-[Launcher addRecordedOptions:]";

/// The first of the recorded files that is missing or another one by now; empty if there is none.
std::string changedFile(const PropertyList &recording, const std::string &bundlePath) {
    const PropertyList *files = recording.find("Files");
    const auto *stamps = files == nullptr ? nullptr : files->as<PropertyList::Dictionary>();
    for (const auto &[name, stamp] : stamps == nullptr ? PropertyList::Dictionary() : *stamps) {
        std::string path = replacingAppPackage(name, bundlePath);
        if (platform::fileStamp(path) != stringEntry(stamp, "Files")) {
            return path;
        }
    }
    return "";
}

} // namespace

void Launcher::addRecordedOptions(std::vector<std::string> &options, const std::string &bundlePath,
                                  const std::string &classPath) const {
    const PropertyList *recording = javaVMDictionary().find("Recording");
    if (recording == nullptr) {
        return;
    }
    // Virtual machines do not check all of this themselves: one may run classes that it recorded from an older file.
    std::string reason;
    if (!runtime || stringValue(*recording, "Version") != runtime->javaVersion) {
        reason = "another runtime";
    } else if (classPath != replacingAppPackage(stringValue(*recording, "ClassPath").value_or(""), bundlePath)) {
        reason = "another class path";
    } else if (std::any_of(options.begin(), options.end(), concernsRecordings)) {
        reason = "there are options about recordings";
    } else if (const std::string file = changedFile(*recording, bundlePath); !file.empty()) {
        reason = file + " has changed";
    }
    if (!reason.empty()) {
        _DLog("%s [Line %d] rejected %@: %@", signature, __LINE__, "the recording", reason);
        return;
    }
    std::vector<std::string> recorded = stringArrayValue(*recording, "VMOptions").value_or(std::vector<std::string>());
    for (std::size_t i = 0; i < recorded.size(); ++i) {
        recorded[i] = replacingAppPackage(recorded[i], bundlePath);
        if (noteOrigin) {
            noteOrigin(ConfigurationPart::option, recorded[i],
                       {.key = platform::format("JavaVM/Recording/VMOptions/%d", i)});
        }
    }
    options.insert(options.begin(), recorded.begin(), recorded.end());
}

} // namespace kestrav
