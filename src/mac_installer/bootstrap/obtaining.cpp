#include "mac_installer/bootstrap/obtaining.h"

#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/Executable.h"
#include "platform/Signals.h"
#include "platform/Task.h"
#include "platform/format.h"

namespace kestrav {

Obtained obtainInSecondProcess() {
    static constexpr const char *signature = "Obtained obtainInSecondProcess()";
    constexpr std::int64_t pause = 20'000; // microseconds between two looks

    const platform::SignalsHeld signals;
    platform::Pipe life; // its end tells the other process that this one is gone
    platform::Task task(platform::executablePath(), {obtainRuntimeMarker});
    task.setStandardInput(life.readEnd.get());
    task.launch();
    while (!task.hasExited()) {
        while (const auto number = signals.take()) {
            task.sendSignal(*number);
        }
        platform::sleepMicroseconds(pause);
    }
    task.waitUntilExit();
    const int status = task.terminationStatus();
    while (status == static_cast<int>(Obtained::no) && signals.take()) {
        // A terminal sends its signals to both processes; this one has had its effect.
    }
    _DLog("%s [Line %d] the process that obtains the runtime has ended with status %d", signature, __LINE__, status);
    if (status < static_cast<int>(Obtained::yes) || status > static_cast<int>(Obtained::notKept)) {
        throw platform::Exception(
            "ObtainingException",
            platform::format("the process that obtains the runtime has ended with status %d", status));
    }
    return static_cast<Obtained>(status);
}

} // namespace kestrav
