#include "mac_installer/launcher/LaunchVector.h"

#include "mac_installer/launcher/global.h"
#include "platform/FileManager.h"
#include "platform/text.h"

#include <algorithm>
#include <filesystem>
#include <forward_list>
#include <utility>

namespace kestrav {

namespace fs = std::filesystem;

namespace {

/// False for directories and devices, and for entries of /dev: /dev/stdin may lead to a file, but belongs to the
/// system.
bool mayBeDeleted(const fs::path &path) {
    std::error_code unknown;
    const fs::file_type type = fs::status(path, unknown).type();
    return type != fs::file_type::directory && type != fs::file_type::character && type != fs::file_type::block &&
           path.parent_path() != "/dev";
}

} // namespace

void setLaunchVector(const char *programPath, std::vector<std::string> arguments) {
    struct Vector {
        std::vector<std::string> strings;
        std::vector<char *> entries;
    };
    static auto &kept = *new std::forward_list<Vector>; // NOLINT(cppcoreguidelines-owning-memory)
    Vector &vector = kept.emplace_front();
    vector.strings = std::move(arguments);
    vector.strings.insert(vector.strings.begin(), programPath);
    vector.entries.reserve(vector.strings.size() + 1);
    for (std::string &string : vector.strings) {
        vector.entries.push_back(string.data());
    }
    launchGlobals.argc = static_cast<int>(vector.entries.size());
    vector.entries.push_back(nullptr);
    launchGlobals.argv = vector.entries.data();
}

std::vector<std::string> takeArgumentFile(const std::string &path) {
    const auto text = platform::stringWithContentsOfFile(path);
    if (mayBeDeleted(path)) {
        std::error_code ignored;
        fs::remove(path, ignored);
    }
    std::vector<std::string> lines;
    if (text) {
        lines = platform::componentsSeparatedBy(*text, "\n");
        for (std::string &line : lines) {
            line.resize(std::min(line.size(), line.find('\0')));
        }
    }
    return lines;
}

} // namespace kestrav
