// Valid for the targets of the project, and an error for the macOS version before the oldest of them.
#include <filesystem>

bool exists(const char *path) {
    return std::filesystem::exists(path);
}
