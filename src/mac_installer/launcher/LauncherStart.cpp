#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/LaunchLibrary.h"
#include "mac_installer/launcher/LaunchVector.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/global.h"
#include "mac_installer/launcher/prepareProcess.h"
#include "platform/DebugLog.h"
#include "platform/ProcessInfo.h"
#include "platform/Reexecution.h"
#include "platform/UserDefaults.h"

#include <span>
#include <utility>

namespace kestrav {

namespace {

/// For the runtime, which reads the real environment; what configures a child process is only a copy of it.
void exportLanguage() {
    if (const auto language = platform::ProcessInfo::processInfo().environmentVariable("LANG")) {
        platform::exportEnvironmentVariable("LANG", *language);
    }
}

} // namespace

Launcher &Launcher::load(const char *programPath) {
    if (!runtime) {
        runtime = findJavaBundle(false);
    }
    if (!runtime) {
        return *this;
    }
    prepareProcess();
    const JavaParameters parameters = readJavaParameters();
    exportLanguage();
    setLaunchVector(programPath, commandLine(parameters));
    return *this;
}

Launcher &Launcher::loadFromArgumentFile(const char *programPath, const char *argumentFile) {
    static constexpr const char *signature = "-[Launcher load:fromArgumentFile:]";

    std::vector<std::string> lines = takeArgumentFile(argumentFile);
    _DLog("%s [Line %d] invoke other arguments %@", signature, __LINE__, lines);
    if (lines.size() < 2) {
        return *this;
    }
    const std::string path = std::move(lines.front());
    lines.erase(lines.begin());
    const auto bundle = openRuntime(path);
    runtime = chosenRuntime(path, bundle.get());
    _DLog("%s [Line %d] java bundle %s %p", signature, __LINE__, runtime->launchJavaVersion,
          static_cast<const void *>(bundle.get()));
    setLaunchVector(programPath, std::move(lines));
    return *this;
}

int Launcher::launch() {
    static constexpr const char *signature = "-[Launcher launch]";

    if (!runtime) {
        _DLog("%s [Line %d] no suitable JRE found.", signature, __LINE__);
        displayMissingRuntime();
        return 1;
    }
    std::string path;
    if (runtime->pluginUsed) {
        path = pluginLibraryPath();
    } else {
        path = launchLibraryPath(runtime->javaBundlePath);
        _DLog("%s [Line %d] load library %@.", signature, __LINE__, path);
    }
    const LaunchLibrary library(path);
    library.expandArgumentFiles();

    // The Java program's windows become tabs of one another only where the user asks for it.
    platform::UserDefaults::standardUserDefaults().setObject("manual", "AppleWindowTabbingMode");

    _DLog("%s [Line %d] launching %p %d", signature, __LINE__,
          reinterpret_cast<const void *>(launchGlobals.JLI_LaunchFxnPtr), launchGlobals.argc);
    for (const char *argument : std::span(launchGlobals.argv, static_cast<std::size_t>(launchGlobals.argc))) {
        _DLog("%s [Line %d] arg %s", signature, __LINE__, argument);
    }
    setLaunchJavaVersion(runtime->launchJavaVersion.value_or("1.7.0"));
    platform::prepareReexecution(launchGlobals.launchJavaVersion, library.path());
    return callLaunchLibrary(launchGlobals.argc, launchGlobals.argv);
}

} // namespace kestrav
