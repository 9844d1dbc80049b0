#include "mac_installer/LaunchVector.h"

#include "mac_installer/global.h"
#include "platform/FileManager.h"
#include "platform/text.h"

#include <filesystem>
#include <forward_list>

namespace kestrav {

namespace fs = std::filesystem;

void setLaunchVector(const char *programPath, std::vector<std::string> arguments) {
    struct Vector {
        std::vector<std::string> texts;
        std::vector<char *> entries;
    };
    static auto &kept = *new std::forward_list<Vector>; // NOLINT(cppcoreguidelines-owning-memory)
    Vector &vector = kept.emplace_front();
    vector.texts = std::move(arguments);
    vector.texts.insert(vector.texts.begin(), programPath);
    vector.entries.reserve(vector.texts.size() + 1);
    for (std::string &text : vector.texts) {
        vector.entries.push_back(text.data());
    }
    launchGlobals.argc = static_cast<int>(vector.entries.size());
    vector.entries.push_back(nullptr);
    launchGlobals.argv = vector.entries.data();
}

std::vector<std::string> takeArgumentFile(const std::string &path) {
    const auto text = platform::stringWithContentsOfFile(path);
    std::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    if (type != fs::file_type::directory && type != fs::file_type::character && type != fs::file_type::block) {
        fs::remove(path, error);
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
