#include "mac_installer/bootstrap/AppDelegate.h"
#include "mac_installer/bootstrap/obtaining.h"
#include "mac_installer/launcher/failure.h"
#include "mac_installer/launcher/global.h"
#include "mac_installer/launcher_main.h"
#include "mac_installer/oneProcess.h"
#include "platform/Application.h"
#include "platform/DebugLog.h"
#include "platform/FileDescriptor.h"
#include "platform/HelperProcess.h"
#include "platform/ProcessInfo.h"
#include "platform/Signals.h"

#include <exception>
#include <optional>
#include <string_view>

using kestrav::_DLog; // NOLINT(bugprone-reserved-identifier): its name
using kestrav::AppDelegate;
using kestrav::invokeOtherMarker;
using kestrav::launcher_main;
using kestrav::launchGlobals;
namespace platform = kestrav::platform;

namespace {

/// Runs the Java program as a child of this process, behind the progress window; or only obtains its runtime there.
int bootstrap(int argc, char **argv, bool obtainsOnly) {
    int status = 1;
    kestrav::endOnFailure(kestrav::bootstrapSignature, [&] {
        static AppDelegate delegate(obtainsOnly);
        platform::Signals::handleTermination([](platform::TerminationSignal signal) { delegate.terminate(signal); });
        status = platform::Application::main(argc, argv, delegate);
    });
    return status;
}

/// Does what the arguments ask for, once the process is its own.
int start(int argc, char **argv) {
    const auto reexecution = platform::takeReexecution();
    platform::ProcessInfo::processInfo().setArguments(argc, argv);
    if (reexecution) {
        return kestrav::resumeLaunch(argc, argv, *reexecution);
    }
    const bool inProcess = argc >= 3 && std::string_view(argv[1]) == invokeOtherMarker;
    if (!inProcess) {
        platform::ensureStandardDescriptors();
    }
    platform::Signals::ignoreWriteSignals(); // before the first line is written; a Java virtual machine does the same
    if (const auto status = platform::runHelper(argc, argv)) {
        return *status;
    }

    static constexpr const char *signature = kestrav::bootstrapSignature;
    _DLog("%s [Line %d] app started %d", signature, __LINE__, argc);
    for (int i = 0; i < argc; ++i) {
        _DLog("%s [Line %d] arg %s", signature, __LINE__, argv[i]);
    }
    if (inProcess) {
        _DLog("%s [Line %d] invoke other %s %p", signature, __LINE__, argv[2],
              reinterpret_cast<const void *>(&launcher_main));
        return launcher_main(argc, argv);
    }
    const bool obtainsOnly = argc == 2 && std::string_view(argv[1]) == kestrav::obtainRuntimeMarker;
    const auto status = !obtainsOnly && kestrav::wantsOneProcess() ? kestrav::becomeJavaProgram() : std::nullopt;
    return status ? *status : bootstrap(argc, argv, obtainsOnly);
}

} // namespace

/// Exported: a runtime's launch library may look it up and enter it again.
__attribute__((visibility("default"))) int main(int argc, char **argv) {
    if (launchGlobals.JLI_LaunchFxnPtr != nullptr) {
        return launcher_main(argc, argv); // entered again, perhaps on another thread
    }
    launchGlobals.programPath = argc > 0 ? argv[0] : nullptr;
    std::set_terminate(kestrav::endUnexpectedly);
    return kestrav::statusOf(kestrav::bootstrapSignature, [&] { return start(argc, argv); });
}
