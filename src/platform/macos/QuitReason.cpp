#include "platform/macos/QuitReason.h"

#include <algorithm>
#include <string_view>

namespace kestrav::platform {

bool asksEveryApplication(std::uint32_t reason) {
    // The constants of Apple's AERegistry.h: log out (two), restart and shut down (two each), quit all.
    constexpr std::string_view codes[] = {"logo", "rlgo", "rrst", "rest", "rsdn", "shut", "quia"};
    return std::any_of(std::begin(codes), std::end(codes), [reason](std::string_view code) {
        std::uint32_t value = 0;
        for (const char character : code) {
            value = value << 8U | static_cast<unsigned char>(character);
        }
        return value == reason;
    });
}

} // namespace kestrav::platform
