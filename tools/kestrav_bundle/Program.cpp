#include "Program.h"

#include "JavaClass.h"
#include "platform/FileManager.h"
#include "platform/path.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace kestrav::tools {

namespace {

constexpr const char *reserved = "jre.tar.gz"; // the launcher would take it for the runtime
constexpr const char *folder = "$APP_PACKAGE/Contents/Resources/app/";

/// The name of a file or folder that the user gave, also for "lib/" and "..".
std::string nameOf(const std::string &path) {
    std::error_code missing;
    const auto real = std::filesystem::canonical(path, missing);
    if (missing) {
        throw Refusal(path + ": " + missing.message());
    }
    const std::string given = platform::lastPathComponent(path);
    return given.empty() || given == "/" || given == "." || given == ".." ? real.filename().string() : given;
}

void addFile(Program &program, const std::string &path) {
    const std::string name = nameOf(path);
    if (name == reserved) {
        throw Refusal(path +
                      ": the launcher would take a file of this name for the runtime; give it another name, or a "
                      "runtime with --runtime");
    }
    const bool taken = std::any_of(program.files.begin(), program.files.end(),
                                   [&](const Program::File &other) { return other.name == name; });
    if (taken) {
        throw Refusal("Two files are named " + name + "; in the application only one could be");
    }
    program.files.push_back({path, name});
}

/// The class path of Info.plist knows two kinds of variables: the application's folder, and a whole entry from the
/// environment.
void requireVariable(const std::string &entry) {
    const auto isNameCharacter = [](char character) {
        return character == '_' || std::isalnum(static_cast<unsigned char>(character)) != 0;
    };
    const bool isName = entry.size() > 1 && std::all_of(entry.begin() + 1, entry.end(), isNameCharacter);
    if (!isName && !entry.starts_with("$APP_PACKAGE/")) {
        throw Refusal("\"" + entry +
                      "\" cannot be on the class path: give $APP_PACKAGE/... or $NAME alone; other variables " +
                      "work in the options file beside the application");
    }
}

void addToClassPath(Program &program, const std::string &entry) {
    if (entry.empty()) {
        throw Refusal("An entry of the class path is empty");
    }
    program.classPath += program.classPath.empty() ? "" : ":";
    if (entry.starts_with('$')) {
        requireVariable(entry);
        program.classPath += entry;
        return;
    }
    addFile(program, entry);
    const std::string &name = program.files.back().name;
    if (name.find(':') != std::string::npos) {
        throw Refusal(entry + ": a name with \":\" cannot be on a class path");
    }
    program.classPath += folder + name;
}

std::string mainClass(const Request &request) {
    if (request.mainClass) {
        return *request.mainClass;
    }
    auto named = request.jar ? mainClassOf(*request.jar) : std::nullopt;
    if (request.jar && !named) {
        throw Refusal(*request.jar + " names no main class; name it with --main-class");
    }
    return named.value_or("");
}

} // namespace

Program examineProgram(const Request &request) {
    Program program;
    std::vector<std::string> entries = request.classPath;
    if (request.jar) {
        entries.insert(entries.begin(), *request.jar);
    }
    for (const std::string &entry : entries) {
        addToClassPath(program, entry);
    }
    for (const std::string &file : request.files) {
        addFile(program, file);
    }
    program.mainClass = mainClass(request);
    if (program.mainClass.find('/') != std::string::npos) {
        throw Refusal("The main class is named with dots, as in com.example.Main, not " + program.mainClass);
    }
    bool complete = !request.info && !program.mainClass.empty();
    for (const std::string &entry : entries) {
        if (entry.starts_with('$')) {
            complete = false; // the class may be in what the user's machine has
        } else if (const auto version = javaVersionOfClass(entry, program.mainClass)) {
            program.javaVersion = *version;
            return program;
        }
    }
    if (complete) {
        throw Refusal("The main class " + program.mainClass + " is not in " +
                      (entries.empty() ? "the application: give its archive with --jar" : "the class path"));
    }
    return program;
}

} // namespace kestrav::tools
