#include "mac_installer/launcher_main.h"

#include "mac_installer/launcher/LaunchLibrary.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/failure.h"
#include "mac_installer/launcher/global.h"
#include "platform/DebugLog.h"

#include <string_view>

namespace kestrav {

namespace {

constexpr const char *signature = "int launcher_main(int, char **)";

} // namespace

int launcher_main(int argc, char **argv) {
    _DLog("%s [Line %d] launcher_main %d", signature, __LINE__, argc);
    if (launchGlobals.JLI_LaunchFxnPtr != nullptr) {
        return callLaunchLibrary(argc, argv);
    }
    return statusOf(signature, [&] {
        const auto launcher = Launcher::launcher();
        if (argc >= 3 && std::string_view(argv[1]) == invokeOtherMarker) {
            _DLog("%s [Line %d] invoke other %s", signature, __LINE__, argv[2]);
            return launcher->loadFromArgumentFile(argv[0], argv[2]).launch();
        }
        return launcher->load(argc > 0 ? argv[0] : "").launch();
    });
}

int resumeLaunch(int argc, char **argv, const platform::Reexecution &reexecution) {
    _DLog("%s [Line %d] executed again %d, library %@", signature, __LINE__, argc, reexecution.libraryPath);
    return statusOf(signature, [&] {
        const LaunchLibrary library(reexecution.libraryPath);
        setLaunchJavaVersion(reexecution.version);
        platform::prepareReexecution(reexecution.version, library.path());
        return callLaunchLibrary(argc, argv);
    });
}

} // namespace kestrav
