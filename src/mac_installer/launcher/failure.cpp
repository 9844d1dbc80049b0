#include "mac_installer/launcher/failure.h"

#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/global.h"
#include "platform/DebugLog.h"
#include "platform/FileDescriptor.h"
#include "platform/ProcessInfo.h"
#include "platform/SystemLog.h"

#include <unistd.h>

#include <new>
#include <string_view>

namespace kestrav {

using platform::Exception;

namespace {

/// What the exception says, for people.
std::string_view reasonOf(const std::exception &exception) {
    if (dynamic_cast<const std::bad_alloc *>(&exception) != nullptr) {
        return "there is not enough memory";
    }
    std::string_view reason = exception.what();
    if (reason.ends_with('.')) {
        reason.remove_suffix(1); // the message around it ends the sentence
    }
    return reason;
}

/// Writes a line that begins with the program's name, without memory of its own.
void writeLine(std::string_view text, std::string_view detail, std::string_view end) {
    constexpr int patience = 1000; // milliseconds
    const std::string_view program = launchGlobals.programPath != nullptr ? launchGlobals.programPath : "launcher";
    for (const std::string_view piece : {program.substr(program.rfind('/') + 1), text, detail, end}) {
        if (!platform::writeWithin(STDERR_FILENO, piece, patience)) {
            return;
        }
    }
}

/// Stands in for the notice where there is no memory to look up its text and to show it.
void writeLastWords(std::string_view reason) {
    writeLine(": An internal error kept this application from starting: ", reason, ".\n");
}

std::string failureLine(const char *signature, int line, const std::exception &exception) {
    return platform::logText("%s [Line %d] %@", signature, line, exception.what());
}

/// What the log of failed starts says more than the notice does.
std::vector<std::string> detailsOf(const char *signature, int line, const std::exception &exception) {
    std::vector<std::string> details = {failureLine(signature, line, exception)};
    if (const auto *raised = dynamic_cast<const Exception *>(&exception)) {
        details.insert(details.end(), raised->callStackSymbols().begin(), raised->callStackSymbols().end());
    }
    return details;
}

void logFailure(const char *signature, int line, const std::exception &exception) {
    const auto *raised = dynamic_cast<const Exception *>(&exception);
    const std::string shortLine = failureLine(signature, line, exception);
    const std::string whole =
        raised != nullptr ? platform::logText("%@: %@", shortLine, raised->callStackSymbols()) : shortLine;
    platform::writeSystemLog(whole, platform::debugLogEnabled() ? whole : shortLine);
}

} // namespace

void reportFailure(const char *signature, int line, const std::exception &exception) noexcept {
    try {
        const auto *known = dynamic_cast<const NoticeException *>(&exception);
        const auto details = detailsOf(signature, line, exception);
        if (known == nullptr || !Launcher::displayMessage(known->key(), known->infos(), details)) {
            Launcher::displayError("dorvik.InternalError", std::string(reasonOf(exception)), std::nullopt, details);
        }
    } catch (const std::exception &) {
        writeLastWords(reasonOf(exception));
    }
    try {
        logFailure(signature, line, exception);
    } catch (const std::exception &) {
        return; // the log has no more memory than the notice
    }
}

void tellOfRemainder(std::string_view path) noexcept {
    writeLine(": could not remove ", path, ": there is not enough memory\n");
}

void endUnexpectedly() noexcept {
    writeLastWords("something failed without a reason, perhaps for want of memory");
    _exit(1);
}

int statusOf(const char *signature, const std::function<int()> &body) {
    try {
        return body();
    } catch (const std::exception &exception) {
        reportFailure(signature, __LINE__, exception);
        return 1;
    }
}

void endOnFailure(const char *signature, const std::function<void()> &body) {
    const int status = statusOf(signature, [&] {
        body();
        return 0;
    });
    if (status != 0) {
        platform::endProcess(status);
    }
}

} // namespace kestrav
