#include "platform/posix/NoticeDialog.h"

#include "platform/Bundle.h"
#include "platform/ProcessInfo.h"
#include "platform/linux/Display.h"
#include "platform/linux/Module.h"
#include "platform/linux/WindowModule.h"

namespace kestrav::platform {

bool runNoticeDialog(const NoticeDialog &dialog, void (*shown)()) {
    prepareForWindow(dialog.usesSessionBus);
    const Bundle &bundle = Bundle::mainBundle();
    const auto module = openModule<KestravWindowModule>(bundle.bundlePath());
    if (!module.failure.empty()) {
        return false;
    }
    const std::string programName = ProcessInfo::processInfo().processName();
    const std::string copyTitle = bundle.localizedStringForKey("ButtonCopy", "Copy");
    const std::string closeTitle = bundle.localizedStringForKey("ButtonClose", "Close");
    KestravNoticeDialog content{};
    content.programName = programName.c_str();
    content.title = dialog.title.c_str();
    content.message = dialog.message.c_str();
    content.copyTitle = copyTitle.c_str();
    content.closeTitle = closeTitle.c_str();
    content.context = reinterpret_cast<void *>(shown);
    content.shown = [](void *context) noexcept { reinterpret_cast<void (*)()>(context)(); };
    return module.functions.showNotice(&content) == 1;
}

} // namespace kestrav::platform
