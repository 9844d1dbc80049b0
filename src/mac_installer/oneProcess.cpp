#include "mac_installer/oneProcess.h"

#include "mac_installer/bootstrap/obtaining.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeKeeping.h"
#include "mac_installer/launcher/RuntimeSource.h"
#include "mac_installer/launcher/global.h"
#include "platform/Bundle.h"
#include "platform/DebugLog.h"

#include <forward_list>
#include <utility>

namespace kestrav {

namespace {

constexpr const char *signature = "std::optional<int> becomeJavaProgram()";

/// The runtime of the archive if it is kept; it is in use until the process ends.
std::optional<JavaRuntime> keptRuntime(const ArchivedRuntime &archive) {
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
    RuntimeSource source = findRuntimeSource(launcher);
    launcher.runtime = std::move(source.runtime);
    if (const auto &archive = source.archive) {
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
