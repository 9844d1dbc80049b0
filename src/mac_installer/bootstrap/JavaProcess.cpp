#include "mac_installer/bootstrap/JavaProcess.h"

#include "mac_installer/launcher/earlyEnd.h"
#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"

#include <utility>

namespace kestrav {

JavaProcess::JavaProcess(std::string launchPath, std::vector<std::string> arguments)
    : task_(std::move(launchPath), std::move(arguments)) {}

void JavaProcess::start() {
    platform::Pipe input;
    task_.setStandardInput(input.readEnd.get());
    input_.prepare(std::move(input.writeEnd)); // first: after a failure here no child may be left behind
    explains_ = explainsEarlyEnds();
    if (explains_) {
        copyErrors();
    }
    task_.launch();
    if (errors_) {
        errors_->closeDescriptor();
    }
    started_ = platform::monotonicNanoseconds();
    input_.begin();
}

void JavaProcess::copyErrors() {
    try {
        errors_.emplace();
        task_.setStandardError(errors_->descriptor());
    } catch (const platform::Exception &exception) {
        _DLog("%s [Line %d] what Java says is not kept: %@", "-[JavaProcess copyErrors]", __LINE__, exception.what());
    }
}

int JavaProcess::waitForExit() {
    task_.waitUntilExit();
    ended_ = platform::monotonicNanoseconds();
    input_.end();
    return task_.terminationStatus();
}

std::optional<std::string> JavaProcess::errorsOfEarlyEnd() {
    if (!explains_ || signalled_ || !isEarlyEnd(task_.terminationStatus(), ended_ - started_)) {
        return std::nullopt;
    }
    return errors_ ? errors_->takeLast() : "";
}

void JavaProcess::passOn(platform::TerminationSignal signal) {
    signalled_ = true;
    if (!signal.fromTerminal || signal.when <= started_) {
        task_.sendSignal(signal.number);
    }
}

} // namespace kestrav
