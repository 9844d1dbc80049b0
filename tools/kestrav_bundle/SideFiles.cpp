#include "SideFiles.h"

#include "Interruption.h"
#include "Request.h"
#include "platform/FileManager.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>

namespace kestrav::tools {

namespace fs = std::filesystem;

void writeForEverybody(const std::string &path, std::string_view content) {
    if (const auto error = platform::writeFileAtomically(path, content)) {
        throw Refusal(path + " could not be written: " + error.message());
    }
    fs::permissions(path,
                    fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read | fs::perms::others_read);
}

SideFiles::SideFiles(std::vector<SideFile> files, bool replace) : files_(std::move(files)) {
    for (const SideFile &file : files_) {
        const auto status = fs::symlink_status(file.path);
        if (fs::exists(status) && !replace) {
            throw Refusal(file.path + " is already there; --replace puts the new one in its place");
        }
        if (fs::exists(status) && !fs::is_regular_file(status)) {
            throw Refusal(file.path + " is not a file, so it is not replaced");
        }
    }
}

SideFiles::~SideFiles() {
    if (kept_) {
        return;
    }
    for (const Written &file : written_) {
        std::error_code stays;
        if (file.former) {
            stays = platform::writeFileAtomically(file.path, *file.former);
        } else {
            fs::remove(file.path, stays);
        }
    }
    std::for_each(folders_.rbegin(), folders_.rend(), [](const std::string &folder) {
        std::error_code stays; // one that others have put something into
        fs::remove(folder, stays);
    });
}

std::vector<std::string> SideFiles::notes() const {
    std::vector<std::string> notes;
    for (const SideFile &file : files_) {
        notes.push_back("with it: " + file.path);
    }
    return notes;
}

void SideFiles::makeFolder(const std::string &path) {
    if (path.empty() || fs::is_directory(path)) {
        return;
    }
    makeFolder(platform::deletingLastPathComponent(path));
    fs::create_directory(path);
    folders_.push_back(path);
}

void SideFiles::write() {
    for (const SideFile &file : files_) {
        raiseIfInterrupted();
        makeFolder(platform::deletingLastPathComponent(file.path));
        written_.push_back({file.path, platform::contentsOfFile(file.path)});
        writeForEverybody(file.path, file.content);
    }
}

} // namespace kestrav::tools
