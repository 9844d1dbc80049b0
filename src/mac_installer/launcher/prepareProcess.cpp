#include "mac_installer/launcher/prepareProcess.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "platform/Bundle.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/UserDefaults.h"

namespace kestrav {

namespace {

constexpr const char *signature = "-[Launcher readJavaParameters:options:mainClass:args:firstThread:]";

/// The program is told the user's language as command-line programs expect it; a language that is set already stays.
/// What follows an "@" (a calendar, a currency) has no meaning in LANG.
void setLanguage() {
    if (const auto locale = platform::UserDefaults::standardUserDefaults().stringForKey("AppleLocale")) {
        platform::ProcessInfo::processInfo().setEnvironmentVariable(
            "LANG", locale->substr(0, locale->find('@')) + ".UTF-8", false);
    }
}

void changeWorkingDirectory() {
    const std::string &bundlePath = platform::Bundle::mainBundle().bundlePath();
    const auto configured = stringValue(javaVMDictionary(), "WorkingDirectory");
    const std::string directory = configured ? replacingAppPackage(*configured, bundlePath) : bundlePath;
    if (const auto error = platform::changeCurrentDirectoryPath(directory)) {
        _DLog("%s [Line %d] rejected %@: %@", signature, __LINE__, directory, error.message());
    }
}

} // namespace

void prepareProcess() {
    setLanguage();
    changeWorkingDirectory();
}

} // namespace kestrav
