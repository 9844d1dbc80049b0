#include "platform/HelperProcess.h"

#include "platform/ErrorCopy.h"
#include "platform/posix/NoticeDialog.h"

#include <string_view>

namespace kestrav::platform {

std::optional<int> runHelper(int argc, const char *const *argv) {
    const std::string_view service = argc == 2 ? argv[1] : "";
    if (service == ErrorCopy::marker) {
        copyErrors();
        return 0;
    }
    return service == noticeDialogMarker ? std::optional(showNoticeDialog()) : std::nullopt;
}

} // namespace kestrav::platform
