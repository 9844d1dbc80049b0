#include "MainModule.h"

#include "JavaClass.h"
#include "ModuleInfo.h"
#include "ProgramFiles.h"
#include "platform/FileManager.h"

#include <algorithm>
#include <filesystem>

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
    return {manifest.moduleName.value_or(automaticModuleName(source)), manifest.mainClass.value_or("")};
}

} // namespace

void addModules(Program &program, const Request &request) {
    std::vector<std::string> modules;
    for (const std::string &entry : request.modulePath) {
        const std::string name = place(program, request, entry).name;
        program.modulePath += (program.modulePath.empty() ? "" : ":") + (programFolder + name);
        const auto found = modulesAt(entry);
        modules.insert(modules.end(), found.begin(), found.end());
    }
    program.sources.insert(program.sources.end(), modules.begin(), modules.end());
    if (!request.module) {
        return;
    }
    const std::size_t slash = request.module->find('/');
    program.module = request.module->substr(0, slash);
    program.mainClass = slash == std::string::npos ? "" : request.module->substr(slash + 1);
    const auto main = std::find_if(modules.begin(), modules.end(),
                                   [&](const std::string &each) { return infoOf(each).name == program.module; });
    if (main == modules.end() && !request.runtime) {
        throw Refusal("The module " + program.module +
                      " is not on the module path: give its archive with --module-path");
    }
    if (program.mainClass.empty() && main != modules.end()) {
        program.mainClass = infoOf(*main).mainClass;
    }
    if (program.mainClass.empty()) {
        throw Refusal("The module " + program.module + " names no main class; name it with --module " + program.module +
                      "/CLASS");
    }
}

} // namespace kestrav::tools
