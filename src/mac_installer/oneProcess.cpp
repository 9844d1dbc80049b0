#include "mac_installer/oneProcess.h"

#include "mac_installer/bootstrap/obtaining.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeKeeping.h"
#include "mac_installer/launcher/global.h"
#include "platform/Bundle.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <forward_list>
#include <utility>

namespace kestrav {

namespace {

constexpr const char *signature = "std::optional<int> becomeJavaProgram()";

/// An archive with the application's runtime: one that it ships, or one at an address.
struct Archive {
    std::string origin;
    bool isShipped = false;
};

std::optional<Archive> shippedArchive() {
    const std::string path =
        platform::appendingPathComponent(platform::Bundle::mainBundle().resourcePath(), "app/jre.tar.gz");
    return platform::fileExistsAtPath(path) ? std::optional(Archive{path, true}) : std::nullopt;
}

std::optional<Archive> archiveAtAddress() {
    const std::string location = stringValue(infoDictionary(), "ksv.jreLocation").value_or("");
    const std::string url(platform::trimmingWhitespaceAndNewlines(location));
    return url.empty() ? std::nullopt : std::optional(Archive{url, false});
}

std::optional<JavaRuntime> searchRuntime(Launcher &launcher) {
    _DLog("%s [Line %d] searching for public JREs", signature, __LINE__);
    if (auto runtime = launcher.findJavaBundle(false)) {
        return runtime;
    }
    _DLog("%s [Line %d] searching for other JREs", signature, __LINE__);
    return launcher.findJavaBundle(true);
}

/// The runtime of the archive if it is kept; it is in use until the process ends.
std::optional<JavaRuntime> keptRuntime(const Archive &archive) {
    auto found = findKeptRuntime(archive.origin, archive.isShipped);
    if (!found) {
        return std::nullopt;
    }
    static auto &used = *new std::forward_list<KeptRuntime>; // NOLINT(cppcoreguidelines-owning-memory)
    const KeptRuntime &kept = used.emplace_front(std::move(*found));
    const std::string &path = kept.path();
    // The launch library may execute the launcher's file once more.
    if (const auto error = kept.keepThroughExecution()) {
        _DLog("%s [Line %d] %@: %@", signature, __LINE__, path, error.message());
    }
    _DLog("%s [Line %d] the runtime is kept: %@", signature, __LINE__, path);
    JavaRuntime runtime = Launcher::chosenRuntime(path, openRuntime(path).get());
    runtime.tarFile = archive.isShipped ? OptionalText(archive.origin) : std::nullopt;
    return runtime;
}

} // namespace

bool wantsOneProcess() {
    // Damage of the file is reported where its keys are needed.
    return booleanValue(platform::Bundle::mainBundle().infoDictionary(), "ksv.inProcess").value_or(false);
}

std::optional<int> becomeJavaProgram() {
    Launcher launcher;
    launcher.isOneProcess = true;
    auto archive = shippedArchive();
    if (!archive) {
        launcher.runtime = searchRuntime(launcher);
        archive = launcher.runtime ? std::nullopt : archiveAtAddress();
    }
    if (archive) {
        launcher.runtime = keptRuntime(*archive);
        if (!launcher.runtime && placeOfRuntime(archive->origin, archive->isShipped)) {
            if (obtainInSecondProcess() == Obtained::no) {
                return 1;
            }
            launcher.runtime = keptRuntime(*archive);
        }
        if (!launcher.runtime) {
            _DLog("%s [Line %d] the runtime cannot be kept, so the program will be a child", signature, __LINE__);
            return std::nullopt;
        }
    }
    if (launcher.runtime) {
        launcher.load(launchGlobals.programPath != nullptr ? launchGlobals.programPath : "");
    }
    return launcher.launch();
}

} // namespace kestrav
