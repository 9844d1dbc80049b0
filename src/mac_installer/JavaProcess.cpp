#include "mac_installer/JavaProcess.h"

#include "platform/StandardInput.h"

#include <utility>

namespace kestrav {

JavaProcess::JavaProcess(std::string launchPath, std::vector<std::string> arguments)
    : task_(std::move(launchPath), std::move(arguments)) {}

void JavaProcess::start() {
    platform::Pipe input;
    task_.setStandardInput(input.readEnd.get());
    task_.launch();
    platform::forwardStandardInput(std::move(input.writeEnd));
}

int JavaProcess::waitForExit() {
    task_.waitUntilExit();
    return task_.terminationStatus();
}

void JavaProcess::passOn(platform::TerminationSignal signal) {
    if (!signal.fromTerminal) {
        task_.sendSignal(signal.number);
    }
}

} // namespace kestrav
