#include "Application.h"

#include "Configuration.h"
#include "FileTree.h"
#include "Program.h"
#include "Resources.h"
#include "Runtime.h"
#include "RuntimeArchive.h"
#include "RuntimeTree.h"
#include "Workshop.h"
#include "checks.h"
#include "platform/FileManager.h"
#include "platform/path.h"

#include <unistd.h>

#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;
using platform::Bundle;

constexpr const char *executable = "Contents/MacOS/launcher";
constexpr const char *files = "Contents/Resources/app";

/// What another application's files and runtime would do in this one, nobody can tell.
void requireEmpty(const std::string &bundleTemplate) {
    for (const char *place : {files, "Contents/Resources/jre.bundle", "Contents/PlugIns/jre.bundle"}) {
        if (fs::exists(appendingPathComponent(bundleTemplate, place))) {
            throw Refusal("The template " + bundleTemplate + " is an application already: it has " + place);
        }
    }
}

/// The template that was asked for, or the one that was installed or built with this program.
std::string findTemplate(const Request &request, const std::string &ownFolder) {
    std::vector<std::string> places;
    if (request.bundleTemplate) {
        places.push_back(*request.bundleTemplate);
    } else {
        for (const char *place : {KESTRAV_INSTALLED_TEMPLATE, "../Launcher.app"}) {
            places.push_back(appendingPathComponent(ownFolder, place));
        }
    }
    for (const std::string &place : places) {
        if (::access(appendingPathComponent(place, executable).c_str(), X_OK) == 0) {
            requireEmpty(place);
            return fs::canonical(place).string();
        }
    }
    throw Refusal("There is no launcher template at " + places.front() + " (" + executable + " is missing there)");
}

platform::PropertyList templateInfoOf(const std::string &bundleTemplate) {
    const auto bundle = Bundle::create(bundleTemplate);
    if (!bundle) {
        throw Refusal("The launcher template " + bundleTemplate + " cannot be read");
    }
    return bundle->infoDictionary();
}

/// Refuses a folder that the application would lie in: it cannot contain itself.
void requireOutside(const std::string &folder, const std::string &output) {
    std::error_code missing;
    const fs::path way = fs::canonical(folderOf(output), missing).lexically_relative(fs::canonical(folder));
    if (!missing && fs::is_directory(folder) && *way.begin() != "..") {
        throw Refusal("The folder " + folder + " would contain the application that it becomes a part of; make " +
                      output + " somewhere else");
    }
}

/// The template with the program's files, as they will lie in the application.
FileTree applicationTree(const std::string &bundleTemplate, const Program &program, const std::string &output) {
    FileTree tree;
    requireOutside(bundleTemplate, output);
    tree.add(bundleTemplate, "");
    tree.addFolder(files);
    for (const Program::File &file : program.files) {
        requireOutside(file.source, output);
        tree.add(file.source, appendingPathComponent(files, file.name));
    }
    return tree;
}

/// Puts the runtime into the application; the size of its archive before compression, 0 for a folder.
std::uint64_t placeRuntime(const Runtime &runtime, RuntimeForm form, const std::string &application,
                           std::vector<std::string> &notes) {
    const FileTree tree = runtimeTree(runtime);
    notes.insert(notes.end(), tree.notes.begin(), tree.notes.end());
    const std::string what = "runtime: Java " + runtime.version + ", ";
    if (form == RuntimeForm::folder) {
        copyTree(tree, appendingPathComponent(application, "Contents/PlugIns/jre.bundle"));
        notes.push_back(what + "in Contents/PlugIns/jre.bundle");
        return 0;
    }
    const std::string archive = appendingPathComponent(application, "Contents/Resources/app/jre.tar.gz");
    const std::uint64_t size = writeRuntimeArchive(tree, archive);
    constexpr std::uint64_t million = 1'000'000;
    notes.push_back(what + "in Contents/Resources/app/jre.tar.gz (" +
                    std::to_string((fs::file_size(archive) + million / 2) / million) + " MB, " +
                    std::to_string((size + million / 2) / million) + " MB extracted)");
    return size;
}

/// What the application without a runtime of its own will look for.
std::string wantedRuntime(const RuntimeBounds &bounds, const Request &request) {
    std::string versions = bounds.minVersion ? " " + *bounds.minVersion : "";
    if (bounds.maxVersion) {
        versions += (bounds.minVersion ? " to " : " up to ") + *bounds.maxVersion;
    } else {
        versions += bounds.minVersion ? " or newer" : " of any version";
    }
    const bool searches = !request.search || !request.search->empty();
    std::string sources = searches ? ", else an installed one, Java" + versions : "";
    sources += request.earlierInstallation ? ", else that of an earlier installation" : "";
    sources += request.runtimeURL ? ", else the one from " + *request.runtimeURL : "";
    return "runtime: " + sources.substr(std::string_view(", else ").size());
}

} // namespace

std::vector<std::string> makeApplication(const Request &asked, const std::string &ownFolder) {
    const Request request = withInfo(asked);
    checkRequest(request);
    tidyUp(folderOf(request.output));
    requireFree(request);
    const std::string bundleTemplate = findTemplate(request, ownFolder);
    const Program program = examineProgram(request);
    const RuntimeBounds bounds = effectiveBounds(request, program);
    std::optional<Runtime> runtime;
    if (request.runtime) {
        runtime = examineRuntime(*request.runtime, bounds, appendingPathComponent(bundleTemplate, executable));
        requireOutside(runtime->folder, request.output);
    }
    const auto templateInfo = templateInfoOf(bundleTemplate);
    static_cast<void>(configuration(templateInfo, request, program, 0)); // refuses before anything is written

    const FileTree tree = applicationTree(bundleTemplate, program, request.output);
    std::vector<std::string> notes = program.notes;
    notes.insert(notes.end(), tree.notes.begin(), tree.notes.end());
    Workshop workshop(request);
    const std::string application = workshop.place("new.app");
    copyTree(tree, application);
    const std::string resources = appendingPathComponent(application, "Contents/Resources");
    if (request.icon) {
        placeIcon(*request.icon, resources);
    }
    placeLanguages(request.languages, resources);
    const std::uint64_t size = runtime ? placeRuntime(*runtime, request.runtimeForm, application, notes) : 0;
    const auto info = configuration(templateInfo, request, program, size);
    if (const auto error = platform::writeFileAtomically(appendingPathComponent(application, "Contents/Info.plist"),
                                                         info.serialize())) {
        throw Refusal("Info.plist could not be written: " + error.message());
    }
    workshop.deliver(application, notes);
    if (!runtime) {
        if (!bounds.minVersion) {
            notes.emplace_back(
                "where no runtime is found, users are to be told the lowest Java version; give --min-version");
        }
        notes.push_back(wantedRuntime(bounds, request));
    }
    return notes;
}

} // namespace kestrav::tools
