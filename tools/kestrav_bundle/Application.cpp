#include "Application.h"

#include "Configuration.h"
#include "DesktopEntry.h"
#include "FileTree.h"
#include "Icons.h"
#include "KnownKeys.h"
#include "Linking.h"
#include "ProgramFiles.h"
#include "Progress.h"
#include "Resources.h"
#include "Runtime.h"
#include "RuntimeArchive.h"
#include "RuntimePlace.h"
#include "Signing.h"
#include "Sizes.h"
#include "Template.h"
#include "Training.h"
#include "Trial.h"
#include "Workshop.h"
#include "checks.h"
#include "mac_installer/launcher/LaunchLibrary.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "platform/FileManager.h"
#include "platform/downloadRules.h"
#include "platform/path.h"

#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

/// Refuses a folder in which the application would lie: it cannot contain itself.
void requireOutside(const std::string &folder, const std::string &output) {
    std::error_code missing;
    const fs::path way = fs::canonical(folderOf(output), missing).lexically_relative(fs::canonical(folder));
    if (!missing && fs::is_directory(folder) && *way.begin() != "..") {
        throw Refusal("The folder " + folder + " would contain the application that it becomes a part of; make " +
                      output + " somewhere else");
    }
}

/// Adds the folders between that of the program's files and a file in one of its sub-folders.
void addParents(FileTree &tree, const std::string &name) {
    for (std::size_t end = name.find('/', std::string_view(templateFiles).size() + 1); end != std::string::npos;
         end = name.find('/', end + 1)) {
        tree.addFolder(name.substr(0, end));
    }
}

/// The template with the program's files, as they will lie in the application.
FileTree applicationTree(const std::string &bundleTemplate, const Request &request, const Program &program) {
    FileTree tree;
    requireOutside(bundleTemplate, request.output);
    tree.add(bundleTemplate, "");
    tree.addFolder(templateFiles);
    if (request.input) {
        requireOutside(*request.input, request.output);
    }
    for (const std::string &file : request.content) {
        requireOutside(file, request.output);
        tree.add(file, appendingPathComponent("Contents", nameOf(file)));
    }
    for (const Program::File &file : program.files) {
        requireOutside(file.source, request.output);
        const std::string name = appendingPathComponent(templateFiles, file.name);
        addParents(tree, name);
        tree.add(file.source, name);
    }
    return tree;
}

void append(std::vector<std::string> &notes, const std::vector<std::string> &more) {
    notes.insert(notes.end(), more.begin(), more.end());
}

/// What the application without a runtime of its own will look for.
std::vector<std::string> wantedRuntime(const RuntimeBounds &bounds, const Request &request) {
    std::vector<std::string> notes;
    for (const std::string &entry : request.search.value_or(std::vector<std::string>())) {
        if (entry.starts_with('R') && !fs::is_directory(entry.substr(1))) {
            notes.push_back("the folder " + entry.substr(1) +
                            ", where a runtime is to be searched, does not exist here");
        }
    }
    if (!bounds.minVersion) {
        notes.emplace_back(
            "where no runtime is found, users are to be told the lowest Java version; give --min-version");
    }
    std::string versions = bounds.minVersion ? " " + *bounds.minVersion : "";
    if (bounds.maxVersion) {
        versions += (bounds.minVersion ? " to " : " up to ") + *bounds.maxVersion;
    } else {
        versions += bounds.minVersion ? " or newer" : " of any version";
    }
    const bool searches = !request.search || !request.search->empty();
    std::string sources = searches ? ", else an installed one, Java" + versions : "";
    sources += request.earlierInstallation ? ", else that of an earlier installation" : "";
    sources += request.runtimeURL ? ", else the one from " + platform::withoutSecrets(*request.runtimeURL) : "";
    notes.push_back("runtime: " + sources.substr(std::string_view(", else ").size()));
    return notes;
}

/// The runtime that was asked for, which lies in `folder`, if the program can run on it.
Runtime suitableRuntime(const Request &request, const std::string &folder, const RuntimeBounds &bounds,
                        const std::string &bundleTemplate) {
    Runtime runtime =
        examineRuntime(*request.runtime, folder, bounds, appendingPathComponent(bundleTemplate, templateExecutable));
    if (!request.installer && !platform::fileExistsAtPath(launchLibraryPath(runtime.folder))) {
        throw Refusal("The runtime " + *request.runtime +
                      " has no launch library (libjli), so the program cannot run in the launcher's process; with " +
                      "--installer it runs as a child");
    }
    return runtime;
}

/// The request with all that has been found out about it.
struct Plan {
    Request request;
    std::string bundleTemplate;
    platform::PropertyList templateInfo;
    std::string icon; ///< the content of its file
    Program program;
    RuntimeBounds bounds;
    bool isForeign = false;         ///< for another machine: nothing of it is run
    std::optional<Runtime> runtime; ///< that of a folder; one in an archive has to be extracted first
};

/// Refuses what can be refused before anything is written.
Plan plan(const Request &asked, const std::string &ownFolder) {
    Plan plan;
    plan.request = withInput(withInfo(asked));
    const Request &request = plan.request;
    checkRequest(request);
    requireSigning(request);
    if (!request.dryRun) {
        tidyUp(folderOf(request.output));
    }
    refuseOccupiedPlace(request);
    plan.bundleTemplate = findTemplate(request, ownFolder);
    plan.templateInfo = templateInfoOf(plan.bundleTemplate);
    plan.isForeign = isForeign(appendingPathComponent(plan.bundleTemplate, templateExecutable));
    if (plan.isForeign && (request.trains || !request.addModules.empty())) {
        throw Refusal("The template is for another kind of machine, whose runtimes do not run here: --" +
                      std::string(request.trains ? "train" : "add-modules") + " is for a machine of that kind");
    }
    plan.request.addsClassArchive = request.addsClassArchive && !plan.isForeign;
    plan.icon = iconFile(request);
    plan.program = examineProgram(request);
    plan.bounds = effectiveBounds(request, plan.program);
    if (request.runtime && !fs::is_regular_file(*request.runtime)) {
        plan.runtime = suitableRuntime(request, *request.runtime, plan.bounds, plan.bundleTemplate);
        requireOutside(plan.runtime->folder, request.output);
    }
    return plan;
}

/// The runtime that travels: one that was published as an archive is extracted now, and one with chosen modules is
/// made.
std::optional<Runtime> runtimeOf(const Plan &plan, const Workshop &workshop, const Progress &progress,
                                 std::vector<std::string> &notes) {
    const Request &request = plan.request;
    const auto suitable = [&](const std::string &folder) {
        return suitableRuntime(request, folder, plan.bounds, plan.bundleTemplate);
    };
    auto runtime = plan.runtime;
    if (request.runtime && !runtime) {
        runtime = suitable(extractRuntimeArchive(*request.runtime, workshop.pathOf("runtime")));
    }
    const std::string home = runtime ? runtimeHome(runtime->folder) : "";
    if (runtime && !request.addModules.empty()) {
        return suitable(linkRuntime(home, request, plan.program, workshop.pathOf("link"), progress, notes));
    }
    if (runtime && platform::fileExistsAtPath(appendingPathComponent(home, "bin/jlink"))) {
        notes.push_back("the runtime is a whole JDK (" + megabytes(sizeOfFolder(home)) +
                        "); --add-modules auto makes one of the modules that the program needs");
    }
    return runtime;
}

void placeResources(const Request &request, const std::string &icon, const std::string &application) {
    const std::string resources = appendingPathComponent(application, "Contents/Resources");
    writeForEverybody(appendingPathComponent(resources, "app.icns"), icon);
    placeLanguages(request.languages, resources);
}

/// Tells what the application is made from.
void tell(const Plan &plan, const Progress &progress) {
    progress.say("template: " + plan.bundleTemplate);
    progress.say("main class: " + plan.program.mainClass);
    progress.say("class path: " + plan.program.classPath);
    for (const Program::File &file : plan.program.files) {
        progress.say("file: " + file.source + " as " + appendingPathComponent(templateFiles, file.name));
    }
    if (plan.runtime) {
        progress.say("runtime: " + plan.runtime->folder + ", Java " + plan.runtime->version);
    }
}

/// What Info.plist has to tell of the application's content.
struct Content {
    RuntimeArchive archive;
    std::optional<platform::PropertyList> recording;
};

/// The application with all but its Info.plist and signature.
Content fill(const Plan &plan, const FileTree &tree, const Workshop &workshop, const Progress &progress,
             std::vector<std::string> &notes) {
    const auto runtime = runtimeOf(plan, workshop, progress, notes);
    const auto draft = configuration(plan.templateInfo, plan.request, plan.program, {}, {});
    const std::string training = workshop.pathOf("training");
    if (plan.request.trains) {
        requireTrainable(*runtime, draft, training);
    }
    const std::string application = workshop.pathOf("new.app");
    copyTree(tree, application, progress, "copying the program");
    placeResources(plan.request, plan.icon, application);
    if (!runtime) {
        append(notes, wantedRuntime(plan.bounds, plan.request));
        return {};
    }
    if (plan.isForeign) {
        notes.push_back(
            "the runtime is for another kind of machine: it was looked at, but not tried" +
            (plan.program.lacksMainClass ? "; that it has the main class is taken on trust" : std::string()));
    } else {
        progress.say("trying the runtime with the program's options");
        append(notes,
               tryRuntime({*runtime, draft, application, workshop.pathOf("trial")}, plan.program.lacksMainClass));
    }
    const FileTree travelling =
        placeRuntime(*runtime, plan.request, application, workshop.pathOf("classes"), progress, notes);
    Content content;
    if (plan.request.trains) {
        progress.say("training");
        content.recording = train({plan.request, *runtime, draft, application, training}, notes);
    }
    content.archive = finishRuntime(travelling, *runtime, *plan.request.runtimeForm, application, progress, notes);
    return content;
}

/// What is made with the application. Refuses what is wrong in the configuration.
std::vector<SideFile> filesBeside(const Plan &plan) {
    const auto info = configuration(plan.templateInfo, plan.request, plan.program, {}, {});
    std::vector<SideFile> files = desktopFiles(plan.request, info);
    for (SideFile &icon : desktopIcons(plan.request, info, plan.icon)) {
        files.push_back(std::move(icon));
    }
    return files;
}

} // namespace

std::vector<std::string> makeApplication(const Request &asked, const std::string &ownFolder) {
    const Progress progress(asked.verbose);
    const Plan planned = plan(asked, ownFolder);
    const Request &request = planned.request;
    SideFiles beside(filesBeside(planned), request.replace);
    const FileTree tree = applicationTree(planned.bundleTemplate, request, planned.program);
    std::vector<std::string> notes = unheededKeys(request);
    append(notes, planned.program.notes);
    append(notes, tree.notes);
    append(notes, beside.notes());
    tell(planned, progress);
    if (request.dryRun) {
        if (!request.runtime) {
            append(notes, wantedRuntime(planned.bounds, request));
        }
        return notes;
    }
    if (request.destination) {
        fs::create_directories(*request.destination);
    }
    Workshop workshop(request);
    const std::string application = workshop.pathOf("new.app");
    const Content content = fill(planned, tree, workshop, progress, notes);
    writeInfo(configuration(planned.templateInfo, request, planned.program, content.archive, content.recording),
              application);
    if (request.signingIdentity) {
        progress.say("signing");
        append(notes, signApplication(request, application, workshop.pathOf("signing")));
    }
    beside.write();
    workshop.deliver(application, notes);
    beside.keep();
    return notes;
}

} // namespace kestrav::tools
