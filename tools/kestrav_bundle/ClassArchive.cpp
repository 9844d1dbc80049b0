#include "ClassArchive.h"

#include "ProgramRun.h"
#include "Sizes.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "platform/FileManager.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

constexpr const char *archiveInHome = "lib/server/classes.jsa";

std::string javaOf(const std::string &runtime) {
    return fs::absolute(javaProgram(runtime)).string();
}

/// The archive's name in the tree, whose home is Contents/Home.
std::string nameIn(const Runtime &runtime) {
    const fs::path home = fs::path(getJreLocation(runtime.folder)).lexically_relative(runtimeHome(runtime.folder));
    return (fs::path("Contents/Home") / home / archiveInHome).lexically_normal().string();
}

bool has(const FileTree &tree, const std::string &name) {
    return std::any_of(tree.entries.begin(), tree.entries.end(),
                       [&](const TreeEntry &entry) { return entry.name == name; });
}

/// True for what would be loaded from the archive: a virtual machine in the folder where that belongs.
bool hasServer(const FileTree &tree, const std::string &archive) {
    const std::string library = fs::path(archive).replace_filename("libjvm").string();
    return has(tree, library + ".so") || has(tree, library + ".dylib");
}

std::string firstLine(const ProgramRun &run) {
    const std::string line = run.output.substr(0, run.output.find('\n'));
    return run.end == ProgramRun::End::notStarted ? "the runtime does not run on this machine"
           : run.end == ProgramRun::End::timedOut ? "the runtime did not answer"
           : line.empty()                         ? "the runtime wrote none"
                                                  : line;
}

} // namespace

bool addClassArchive(const Runtime &runtime, FileTree &tree, const std::string &folder,
                     std::vector<std::string> &notes) {
    const std::string name = nameIn(runtime);
    if (has(tree, name) || !hasServer(tree, name)) {
        return false;
    }
    fs::create_directory(folder);
    const std::string archive = appendingPathComponent(folder, "classes.jsa");
    const ProgramRun run = runProgram(javaOf(runtime.folder),
                                      {"-Xshare:dump", "-XX:SharedArchiveFile=" + fs::absolute(archive).string(),
                                       "-Xlog:disable", "-Xlog:all=error:stdout"},
                                      folder);
    if (!run.succeeded || !platform::fileExistsAtPath(archive)) {
        notes.push_back("the runtime has no archive of its classes, and none could be made: " + firstLine(run));
        return false;
    }
    FileTree added;
    added.add(archive, name);
    added.entries.front().mode = fileMode;
    tree.entries.push_back(std::move(added.entries.front()));
    notes.push_back("added to the runtime: an archive of its classes, lib/server/classes.jsa (" +
                    megabytes(fs::file_size(archive)) +
                    "), with which programs start sooner; --no-class-archive leaves it out");
    return true;
}

void requireValidClassArchive(const std::string &copy, FileTree &tree, const std::string &folder,
                              std::vector<std::string> &notes) {
    const ProgramRun run = runProgram(javaOf(copy), {"-Xshare:on", "-version"}, folder);
    if (!run.succeeded) {
        fs::remove(appendingPathComponent(getJreLocation(copy), archiveInHome));
        std::erase_if(tree.entries, [](const TreeEntry &entry) { return entry.name.ends_with(archiveInHome); });
        notes.back() = "the runtime has no archive of its classes, and one that was made is not valid in a copy: " +
                       firstLine(run);
    }
}

} // namespace kestrav::tools
