#include "mac_installer/launcher/trust.h"

#include "platform/Bundle.h"
#include "platform/SystemLog.h"
#include "platform/TrustedPath.h"

#include <mutex>
#include <optional>
#include <set>

namespace kestrav {

namespace {

/// True at the first call for a path.
bool isNews(const std::string &path) {
    static std::mutex mutex;
    // On purpose never destroyed: the worker may ask while the process ends.
    static auto &told = *new std::set<std::string>; // NOLINT(cppcoreguidelines-owning-memory)
    const std::lock_guard lock(mutex);
    return told.insert(path).second;
}

/// The reason, which the log is told.
std::optional<std::string> logged(const char *signature, int line, const std::string &path,
                                  std::optional<std::string> reason) {
    if (reason && isNews(path)) {
        platform::Log("%s [Line %d] rejected %@: %@", signature, line, path, *reason);
    }
    return reason;
}

} // namespace

std::optional<std::string> reasonNotToHeed(const char *signature, int line, const std::string &path) {
    const std::string &bundlePath = platform::Bundle::mainBundle().bundlePath();
    return logged(signature, line, path, platform::reasonToDistrust(path, bundlePath));
}

std::optional<std::string> reasonNotToHeed(const char *signature, int line, const std::string &path,
                                           const platform::FileDescriptor &file) {
    const std::string &bundlePath = platform::Bundle::mainBundle().bundlePath();
    return logged(signature, line, path, platform::reasonToDistrust(file, path, bundlePath));
}

} // namespace kestrav
