#include "MainModule.h"

#include "JavaClass.h"
#include "ModuleInfo.h"
#include "ProgramFiles.h"
#include "platform/FileManager.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

bool isArchive(const fs::path &path) {
    return path.extension() == ".jar" && fs::is_regular_file(path);
}

bool isModule(const fs::path &path) {
    return isArchive(path) || fs::is_regular_file(path / "module-info.class");
}

/// The modules at an entry of the module path: the entry itself, or what lies in it.
std::vector<std::string> modulesAt(const std::string &entry) {
    std::vector<std::string> modules;
    if (isModule(entry) || !fs::is_directory(entry)) {
        return {entry};
    }
    for (const auto &each : fs::directory_iterator(entry)) {
        if (isModule(each.path())) {
            modules.push_back(each.path().string());
        }
    }
    std::sort(modules.begin(), modules.end());
    return modules;
}

ModuleInfo infoOf(const std::string &source) {
    if (auto info = moduleInfoOf(source)) {
        return *info;
    }
    const Manifest manifest = manifestOf(source);
    return {manifest.moduleName.value_or(automaticModuleName(source)), manifest.mainClass.value_or(""), {}};
}

using Modules = std::map<std::string, ModuleInfo>;

/// The modules by their names; of two with one name Java takes the first on the module path.
Modules byName(const std::vector<std::string> &sources) {
    Modules modules;
    for (const std::string &source : sources) {
        ModuleInfo info = infoOf(source);
        std::string name = info.name;
        modules.emplace(std::move(name), std::move(info));
    }
    return modules;
}

/// True if something that is looked at only where the application runs can add to its modules.
bool mayHaveOthers(const Request &request) {
    auto options = request.vmOptions;
    for (const VersionedOption &each : request.versionedOptions) {
        options.push_back(each.option);
    }
    return request.classesElsewhere || request.optionsFile || mayComeFromElsewhere("", options);
}

/// Refuses a module that needs one which is neither on the module path nor, as far as the name tells, in the runtime
/// that will be found; the main module's needs and those of the modules that it needs count.
void requireNeededModules(Program &program, const Modules &modules) {
    std::set<std::string> seen{program.module};
    for (std::vector<std::string> pending{program.module}; !pending.empty();) {
        const std::string name = std::move(pending.back());
        pending.pop_back();
        const auto module = modules.find(name);
        for (const std::string &needed : module == modules.end() ? std::vector<std::string>() : module->second.needs) {
            if (!seen.insert(needed).second) {
                continue;
            }
            pending.push_back(needed);
            const bool isKnown = needed.starts_with("java.") || needed.starts_with("jdk.") || modules.contains(needed);
            std::string what = "module " + name;
            what.append(" requires ").append(needed).append(", which is not on the module path");
            if (!isKnown && !needed.starts_with("javafx.")) {
                throw Refusal("The " + what);
            }
            if (!isKnown) {
                program.notes.push_back("the " + what + "; that the runtime has it is taken on trust");
            }
        }
    }
}

} // namespace

void addModules(Program &program, const Request &request) {
    std::vector<std::string> sources;
    for (const std::string &entry : request.modulePath) {
        program.modulePath += (program.modulePath.empty() ? "" : ":") + inProgramFolder(place(program, request, entry));
        const auto found = modulesAt(entry);
        sources.insert(sources.end(), found.begin(), found.end());
    }
    program.sources.insert(program.sources.end(), sources.begin(), sources.end());
    if (!request.module) {
        return;
    }
    const std::size_t slash = request.module->find('/');
    if (slash == 0 || slash == request.module->size() - 1) {
        throw Refusal("--module is followed by MODULE or MODULE/CLASS, not " + *request.module);
    }
    program.module = request.module->substr(0, slash);
    program.mainClass = slash == std::string::npos ? "" : request.module->substr(slash + 1);
    const Modules modules = byName(sources);
    const auto main = modules.find(program.module);
    if (main == modules.end() && !request.runtime) {
        throw Refusal("The module " + program.module +
                      " is not on the module path: give its archive with --module-path");
    }
    if (program.mainClass.empty() && main != modules.end()) {
        program.mainClass = main->second.mainClass;
    }
    if (program.mainClass.empty()) {
        throw Refusal("The module " + program.module + " names no main class; name it with --module " + program.module +
                      "/CLASS");
    }
    if (!request.runtime && !mayHaveOthers(request)) {
        requireNeededModules(program, modules);
    }
}

} // namespace kestrav::tools
