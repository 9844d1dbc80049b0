#include "mac_installer/oneProcess.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/global.h"
#include "platform/Bundle.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

namespace kestrav {

namespace {

constexpr const char *signature = "std::optional<int> becomeJavaProgram()";

bool shipsArchive() {
    return platform::fileExistsAtPath(
        platform::appendingPathComponent(platform::Bundle::mainBundle().resourcePath(), "app/jre.tar.gz"));
}

bool hasAddress() {
    return !platform::trimmingWhitespaceAndNewlines(stringValue(infoDictionary(), "ksv.jreLocation").value_or(""))
                .empty();
}

} // namespace

bool wantsOneProcess() {
    // Damage of the file is reported where its keys are needed.
    return booleanValue(platform::Bundle::mainBundle().infoDictionary(), "ksv.inProcess").value_or(false);
}

std::optional<int> becomeJavaProgram() {
    Launcher launcher;
    launcher.needsLaunchLibrary = true;
    bool mayObtain = shipsArchive();
    if (!mayObtain) {
        _DLog("%s [Line %d] searching for public JREs", signature, __LINE__);
        launcher.runtime = launcher.findJavaBundle(false);
        if (!launcher.runtime) {
            _DLog("%s [Line %d] searching for other JREs", signature, __LINE__);
            launcher.runtime = launcher.findJavaBundle(true);
        }
        mayObtain = hasAddress();
    }
    if (!launcher.runtime && mayObtain) {
        _DLog("%s [Line %d] a runtime has to be obtained first; the program will be a child", signature, __LINE__);
        return std::nullopt;
    }
    if (launcher.runtime) {
        launcher.load(launchGlobals.programPath != nullptr ? launchGlobals.programPath : "");
    }
    return launcher.launch();
}

} // namespace kestrav
