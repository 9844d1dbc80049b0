#include "Cleaning.h"

#include "Interruption.h"
#include "Sizes.h"
#include "mac_installer/launcher/RuntimeKeeping.h"
#include "platform/format.h"

#include <array>
#include <ctime>

namespace kestrav::tools {

namespace {

/// A moment as the user's clock shows it.
std::string localTime(std::chrono::system_clock::time_point moment) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::tm fields{};
    std::array<char, 32> text{};
    const bool known = ::localtime_r(&seconds, &fields) != nullptr;
    const std::size_t length = known ? std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &fields) : 0;
    return {text.data(), length};
}

std::string lineAbout(const RuntimeStore::Entry &entry) {
    const std::string what = entry.isRuntime ? "last used " + localTime(entry.lastUse) : "not complete";
    const std::string outcome = entry.inUse             ? "in use"
                                : entry.failure.empty() ? "removed"
                                                        : "could not be removed: " + entry.failure;
    return platform::format("  %@  %@, %@, %@", entry.name, megabytes(static_cast<std::uint64_t>(entry.size)), what,
                            outcome);
}

} // namespace

bool cleanRuntimes(const std::string &folder, const std::function<void(const std::string &)> &tell) {
    bool whole = true;
    for (const std::string &place : folder.empty() ? usualStoreFolders() : std::vector<std::string>{folder}) {
        raiseIfInterrupted();
        const auto entries = RuntimeStore(place).clean();
        tell(place + (entries.empty() ? ": no runtime is kept there" : ":"));
        for (const RuntimeStore::Entry &entry : entries) {
            tell(lineAbout(entry));
            whole = whole && entry.failure.empty();
        }
    }
    return whole;
}

} // namespace kestrav::tools
