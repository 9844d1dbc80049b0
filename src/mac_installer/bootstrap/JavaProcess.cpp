#include "mac_installer/bootstrap/JavaProcess.h"

#include "platform/Clock.h"

#include <utility>

namespace kestrav {

JavaProcess::JavaProcess(std::string launchPath, std::vector<std::string> arguments)
    : task_(std::move(launchPath), std::move(arguments)) {}

void JavaProcess::start() {
    platform::Pipe input;
    task_.setStandardInput(input.readEnd.get());
    input_.prepare(std::move(input.writeEnd)); // first: after a failure here no child may be left behind
    task_.launch();
    started_ = platform::monotonicNanoseconds();
    input_.begin();
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
