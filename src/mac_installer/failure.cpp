#include "mac_installer/failure.h"

#include "mac_installer/Launcher.h"
#include "platform/ProcessInfo.h"
#include "platform/SystemLog.h"

namespace kestrav {

using platform::Exception;

void showFailure(const Exception &exception) {
    std::string_view reason = exception.what();
    if (reason.ends_with('.')) {
        reason.remove_suffix(1); // the message around it ends the sentence
    }
    Launcher::displayError("dorvik.InternalError", std::string(reason));
}

void logFailure(const char *signature, int line, const Exception &exception) {
    platform::Log("%s [Line %d] %@: %@", signature, line, exception.what(), exception.callStackSymbols());
}

Exception asPlatformException(const std::exception &exception) {
    if (const auto *own = dynamic_cast<const Exception *>(&exception)) {
        return *own;
    }
    return {"StandardException", exception.what()};
}

void endOnFailure(const char *signature, const std::function<void()> &body) {
    try {
        body();
    } catch (const std::exception &exception) {
        const Exception failure = asPlatformException(exception);
        logFailure(signature, __LINE__, failure);
        showFailure(failure);
        platform::endProcess(1);
    }
}

} // namespace kestrav
