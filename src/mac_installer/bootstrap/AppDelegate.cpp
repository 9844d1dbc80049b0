#include "mac_installer/bootstrap/AppDelegate.h"

#include "mac_installer/archive/Unpacker.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/failure.h"
#include "platform/Bundle.h"
#include "platform/DebugLog.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/StandardInput.h"
#include "platform/SystemLog.h"
#include "platform/Thread.h"
#include "platform/format.h"

#include <algorithm>
#include <utility>

namespace kestrav {

using platform::Bundle;

namespace {

/// True if configuration or arguments ask for a run without the window.
bool windowIsUnwanted() {
    if (booleanValue(infoDictionary(), "ksv.initialProgress") == false) {
        return true;
    }
    const auto &arguments = platform::ProcessInfo::processInfo().arguments();
    const auto given = [&](std::string_view wanted) {
        return !arguments.empty() && std::find(arguments.begin() + 1, arguments.end(), wanted) != arguments.end();
    };
    return (given("-c") || given("-q")) && !given("-splash");
}

} // namespace

void AppDelegate::applicationWillFinishLaunching() {
    static constexpr const char *signature = "-[AppDelegate applicationWillFinishLaunching:]";
    endOnFailure(signature, [this] {
        _DLog("%s [Line %d] app will finish launching", signature, __LINE__);
        if (obtainsOnly) {
            platform::Application::hideFromDock();
            platform::Thread([this] {
                platform::awaitEndOfStandardInput();
                terminate({.number = SIGTERM});
            }).detach();
        }
        if (windowIsUnwanted()) {
            _DLog("%s [Line %d] hiding progress window", signature, __LINE__);
            controls->window.close();
        }
    });
}

void AppDelegate::applicationDidFinishLaunching() {
    static constexpr const char *signature = "-[AppDelegate applicationDidFinishLaunching:]";
    endOnFailure(signature, [this] {
        _DLog("%s [Line %d] app finished launching", signature, __LINE__);
        const Bundle &bundle = Bundle::mainBundle();
        controls->window.setTitle(bundle.localizedStringForKey("WizardCaption", ""));
        controls->label.setStringValue(
            platform::format(bundle.localizedStringForKey("PrepareInstaller", ""), bundleName()));
        controls->cancelButton.setTitle(bundle.localizedStringForKey("ButtonCancel", ""));
        controls->quitItem.setTitle(
            platform::format(bundle.localizedStringForKey("MenuQuit", "Quit %@"), applicationName()));
        controls->iconView.setImage(bundle.pathForResource("app", "icns"));
        platform::Application::activateIgnoringOtherApps();
        platform::Thread([this] { worker(); }).detach();
    });
}

void AppDelegate::cancel() {
    cancelled = true;
    controls->cancelButton.setEnabled(false);
    Unpacker::cancel();
    if (downloader) {
        // A cancelled download makes no callback, so the worker is woken here.
        downloader->cancel();
        endDownload(false);
    }
}

bool AppDelegate::open(const std::string &document) {
    static constexpr const char *signature = "-[AppDelegate application:openURLs:]";
    const std::lock_guard lock(documentsMutex);
    if (!documents) {
        // Its name stays out of the log: an address may hold a secret.
        platform::Log("%s [Line %d] a document was not opened: the program is already running", signature, __LINE__);
        return false;
    }
    documents->push_back(document);
    return true;
}

std::vector<std::string> AppDelegate::takeDocuments() {
    const std::lock_guard lock(documentsMutex);
    return std::exchange(documents, std::nullopt).value_or(std::vector<std::string>());
}

void AppDelegate::quit(bool systemAsksProgram) {
    if (const std::lock_guard lock(childMutex); child && systemAsksProgram) {
        mayEndWithChild.unlockWithCondition(1); // a signal would end the program before it has asked about documents
        return;
    }
    terminate({.number = SIGTERM});
}

void AppDelegate::endAfterFailure() {
    try {
        throw;
    } catch (const std::exception &exception) {
        reportFailure(bootstrapSignature, __LINE__, exception);
    }
    // The worker ends the process: it has a folder to remove, or a child to wait for.
    const std::lock_guard lock(childMutex);
    if (!child) {
        requestCancel();
    }
}

void AppDelegate::terminate(platform::TerminationSignal signal) {
    const std::lock_guard lock(childMutex);
    if (child) {
        child->passOn(signal);
        mayEndWithChild.unlockWithCondition(1);
    } else {
        requestCancel();
    }
}

void AppDelegate::requestCancel() {
    // The worker sees it at once; the main thread does the rest of a cancel.
    cancelled = true;
    Unpacker::cancel();
    try {
        platform::OperationQueue::mainQueue().addOperation([this] { cancel(); });
    } catch (const std::exception &) {
        return; // without memory: the worker does not wait for the main thread then
    }
}

} // namespace kestrav
