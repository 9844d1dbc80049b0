#include "mac_installer/launcher/RuntimeSource.h"

#include "mac_installer/launcher/InfoPlist.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

namespace kestrav {

namespace {

constexpr const char *signature = "-[AppDelegate worker:]";

} // namespace

RuntimeSource findRuntimeSource(Launcher &launcher) {
    const std::string shipped =
        platform::appendingPathComponent(platform::Bundle::mainBundle().resourcePath(), "app/jre.tar.gz");
    if (platform::fileExistsAtPath(shipped)) {
        return {{}, ArchivedRuntime{shipped, true}};
    }
    _DLog("%s [Line %d] searching for public JREs", signature, __LINE__);
    if (auto runtime = launcher.findJavaBundle(false)) {
        return {std::move(runtime), {}};
    }
    launcher.checkpoint();
    _DLog("%s [Line %d] searching for other JREs", signature, __LINE__);
    if (auto runtime = launcher.findJavaBundle(true)) {
        return {std::move(runtime), {}};
    }
    launcher.checkpoint();
    const std::string location = stringValue(infoDictionary(), "ksv.jreLocation").value_or("");
    std::string url(platform::trimmingWhitespaceAndNewlines(location));
    return {{}, url.empty() ? std::nullopt : std::optional(ArchivedRuntime{std::move(url), false})};
}

} // namespace kestrav
