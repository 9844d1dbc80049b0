#include "RuntimePlace.h"

#include "ClassArchive.h"
#include "Interruption.h"
#include "RuntimeArchive.h"
#include "RuntimeTree.h"
#include "Sizes.h"
#include "Template.h"
#include "platform/Bundle.h"
#include "platform/SHA256.h"
#include "platform/path.h"

#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

/// A bundle of this machine's kind, whose modules can be opened here; the application may be for another.
std::string bundleWithModules(const std::string &application) {
    try {
        return findTemplate({}, platform::Bundle::mainBundle().bundlePath());
    } catch (const Refusal &) {
        return application; // there is no template but the one that was asked for
    }
}

} // namespace

FileTree placeRuntime(const Runtime &runtime, const Request &request, const std::string &application,
                      const std::string &folder, const Progress &progress, std::vector<std::string> &notes) {
    FileTree tree = runtimeTree(runtime);
    notes.insert(notes.end(), tree.notes.begin(), tree.notes.end());
    const bool isNew = request.addsClassArchive && addClassArchive(runtime, tree, folder, notes);
    const std::string copy = appendingPathComponent(application, templateRuntime);
    if (isNew || request.trains || request.runtimeForm == RuntimeForm::folder) {
        copyTree(tree, copy, progress, "copying the runtime");
    }
    if (isNew) {
        requireValidClassArchive(copy, tree, folder, notes);
    }
    return tree;
}

RuntimeArchive finishRuntime(const FileTree &tree, const Runtime &runtime, RuntimeForm form,
                             const std::string &application, const Progress &progress,
                             std::vector<std::string> &notes) {
    const std::string what = "runtime: Java " + runtime.version + ", ";
    if (form == RuntimeForm::folder) {
        notes.push_back(what + "in " + templateRuntime);
        return {};
    }
    const std::string archive = appendingPathComponent(application, "Contents/Resources/app/jre.tar.gz");
    const std::uint64_t size = writeRuntimeArchive(tree, archive, progress);
    const fs::path copy = appendingPathComponent(application, templateRuntime);
    fs::remove_all(copy);
    std::error_code filled; // the template may have other plug-ins
    fs::remove(copy.parent_path(), filled);
    notes.push_back(what + "in Contents/Resources/app/jre.tar.gz (" + megabytes(fs::file_size(archive)) + ", " +
                    megabytes(size) + " extracted)");
    return {size, platform::sha256OfFile(bundleWithModules(application), archive, raiseIfInterrupted)};
}

} // namespace kestrav::tools
