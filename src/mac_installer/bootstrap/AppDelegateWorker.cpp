#include "mac_installer/bootstrap/AppDelegate.h"
#include "mac_installer/bootstrap/obtaining.h"

#include "mac_installer/archive/Cancellation.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/earlyEnd.h"
#include "mac_installer/launcher/failure.h"
#include "mac_installer/launcher/prepareProcess.h"
#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/Thread.h"

#include <utility>

namespace kestrav {

using platform::OperationQueue;

namespace {

constexpr const char *signature = "-[AppDelegate worker:]";

/// How long the window stays once the child is started, and the process at least, in microseconds: until the program's
/// own window is likely there.
constexpr std::int64_t windowPause = 5'000'000;

/// Removes what killed runs have left, so far as that can be done at once.
void removeAbandonedFolders() {
    try {
        platform::TemporaryFolder::removeAbandoned();
    } catch (const std::exception &) {
        return; // without memory: the next run does it
    }
}

} // namespace

void AppDelegate::worker() {
    int status = 1;
    try {
        _DLog("%s [Line %d] worker started", signature, __LINE__);
        const auto launcher = Launcher::launcher();
        launcher->checkpoint = [this] { raiseIfCancelled(); };
        launcher->isOneProcess = obtainsOnly;
        launcher->runtime = obtainRuntime(*launcher);
        raiseIfCancelled();
        if (!launcher->runtime) {
            launcher->displayMissingRuntime();
            platform::endProcess(1);
        }
        if (obtainsOnly && kept) {
            removeAbandonedFolders(); // else it happened where a folder was made
        }
        status = obtainsOnly ? static_cast<int>(kept ? Obtained::yes : Obtained::notKept) : runProgram(*launcher);
    } catch (const std::exception &exception) {
        const auto *raised = dynamic_cast<const platform::Exception *>(&exception);
        if (raised != nullptr && raised->name() == CancelledException) {
            _DLog("%s [Line %d] Cancelled", signature, __LINE__);
        } else {
            reportFailure(signature, __LINE__, exception);
        }
    }
    removeTemporaryDirectory();
    platform::endProcess(status);
}

int AppDelegate::runProgram(const Launcher &launcher) {
    OperationQueue &mainQueue = OperationQueue::mainQueue();
    mainQueue.addOperation([this] {
        controls->progressBar.setIndeterminate(true);
        controls->progressBar.startAnimation();
        controls->cancelButton.setEnabled(false);
    });

    prepareProcess();
    JavaParameters parameters = launcher.readJavaParameters();
    for (std::string &document : takeDocuments()) {
        parameters.args.push_back(std::move(document));
    }
    const auto arguments = launcher.commandLine(parameters);
    _DLog("%s [Line %d] args: %@", signature, __LINE__, arguments);

    const auto process = std::make_shared<JavaProcess>(javaProgram(launcher.runtime->javaBundlePath), arguments);
    process->keepOpen(kept ? kept->lock() : tempDir ? tempDir->lock() : -1); // it stays in use if the child survives us
    closeWindowLater(); // first: a failure must not leave a child behind
    startChild(process);
    if (kept) {
        removeAbandonedFolders(); // else it happened where a folder was made
    }
    const int status = process->waitForExit();
    if (const auto errors = process->errorsOfEarlyEnd()) {
        mainQueue.addOperation([this] { controls->window.close(); });
        displayEarlyEnd(status, *errors);
    }
    mayEndWithChild.lockWhenCondition(1);
    return status;
}

void AppDelegate::closeWindowLater() {
    platform::Thread([this] {
        platform::sleepMicroseconds(windowPause);
        mayEndWithChild.unlockWithCondition(1);
        platform::callProgram(*this, [this] { OperationQueue::mainQueue().addOperation([this] { closeWindow(); }); });
    }).detach();
}

void AppDelegate::closeWindow() {
    controls->window.close();
    const std::lock_guard lock(childMutex);
    if (child) {
        platform::Application::giveWayTo(child->processIdentifier());
    }
}

void AppDelegate::startChild(const std::shared_ptr<JavaProcess> &process) {
    const std::lock_guard lock(childMutex);
    raiseIfCancelled();
    process->start();
    child = process;
}

} // namespace kestrav
