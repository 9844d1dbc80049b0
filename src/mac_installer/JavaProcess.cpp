#include "mac_installer/JavaProcess.h"

#include "platform/Clock.h"

#include <csignal>
#include <utility>

namespace kestrav {

JavaProcess::JavaProcess(std::string launchPath, std::vector<std::string> arguments)
    : task_(std::move(launchPath), std::move(arguments)) {}

void JavaProcess::start() {
    platform::Pipe input;
    task_.setStandardInput(input.readEnd.get());
    task_.launch();
    started_ = platform::monotonicNanoseconds();
    try {
        input_.start(std::move(input.writeEnd));
    } catch (...) {
        // Nobody would be left to wait for the child.
        task_.sendSignal(SIGKILL);
        task_.waitUntilExit();
        throw;
    }
}

int JavaProcess::waitForExit() {
    task_.waitUntilExit();
    input_.end();
    return task_.terminationStatus();
}

void JavaProcess::passOn(platform::TerminationSignal signal) {
    if (!signal.fromTerminal || signal.when <= started_) {
        task_.sendSignal(signal.number);
    }
}

} // namespace kestrav
