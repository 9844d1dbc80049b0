#include "Sizes.h"

#include "platform/format.h"

#include <filesystem>

namespace kestrav::tools {

std::uint64_t sizeOfFolder(const std::string &folder) {
    std::uint64_t size = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        size += entry.is_regular_file() && !entry.is_symlink() ? entry.file_size() : 0;
    }
    return size;
}

std::string megabytes(std::uint64_t bytes) {
    constexpr double million = 1'000'000;
    const double size = static_cast<double>(bytes) / million;
    constexpr double firstWhole = 9.95; // what is below is rounded to at most "9.9"
    return platform::format(size < firstWhole ? "%.1f MB" : "%.0f MB", size);
}

} // namespace kestrav::tools
