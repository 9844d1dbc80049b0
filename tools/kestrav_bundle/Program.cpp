#include "Program.h"

#include "JavaClass.h"
#include "MainModule.h"
#include "ManifestPath.h"
#include "ProgramFiles.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

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

void addToClassPath(Program &program, std::vector<Program::File> &files, const Request &request,
                    const std::string &entry) {
    program.classPath += program.classPath.empty() ? "" : ":";
    if (entry.starts_with('$')) {
        requireVariable(entry);
        program.classPath += entry;
        return;
    }
    files.push_back(place(program, request, entry));
    const std::string &name = files.back().name;
    if (name == "*" || name.ends_with("/*") || name.find(':') != std::string::npos ||
        name.find("$APP_PACKAGE") != std::string::npos) {
        throw Refusal(entry + R"(: a name with ":" or "$APP_PACKAGE", or "*" alone, cannot be on a class path)");
    }
    program.classPath += inProgramFolder(files.back());
}

/// The class path with every "FOLDER/*" replaced by the archives in that folder, as the Java launcher reads it, but in
/// the order of their names.
std::vector<std::string> expanded(const std::vector<std::string> &classPath) {
    constexpr std::string_view all = "/*";
    std::vector<std::string> entries;
    for (const std::string &entry : classPath) {
        if (entry.starts_with('$') || !entry.ends_with(all)) {
            entries.push_back(entry);
            continue;
        }
        std::vector<std::string> archives;
        for (const auto &file : fs::directory_iterator(entry.substr(0, entry.size() - 1))) {
            if (file.path().extension() == ".jar" || file.path().extension() == ".zip") {
                archives.push_back(file.path().string());
            }
        }
        if (archives.empty()) {
            throw Refusal("There is no archive in " + entry);
        }
        std::sort(archives.begin(), archives.end());
        entries.insert(entries.end(), archives.begin(), archives.end());
    }
    return entries;
}

bool isSameFile(const std::string &path, const std::string &other) {
    std::error_code missing; // that is refused later
    return path == other || fs::equivalent(path, other, missing);
}

/// All entries of the class path, the program's own archive first, each once.
std::vector<std::string> classPathOf(const Request &request) {
    std::vector<std::string> entries;
    if (request.jar) {
        entries.push_back((request.jar->starts_with('$') ? "./" : "") + *request.jar); // a file, and no variable
    }
    for (std::string &entry : expanded(request.classPath)) {
        const bool known = std::any_of(entries.begin(), entries.end(),
                                       [&](const std::string &other) { return isSameFile(entry, other); });
        if (!known) {
            entries.push_back(std::move(entry));
        }
    }
    return entries;
}

std::string mainClass(const Request &request, const Manifest &manifest) {
    if (request.mainClass) {
        return *request.mainClass;
    }
    if (request.jar && !manifest.mainClass) {
        throw Refusal(*request.jar + " names no main class; name it with --main-class");
    }
    return manifest.mainClass.value_or("");
}

/// Notes what the manifest asks for that only `java -jar` would do, and not a start by the class's name.
void noteUnheeded(Program &program, const Request &request, const Manifest &manifest) {
    for (const auto &[line, option, value] : manifest.forJarAlone) {
        const bool isGiven =
            std::any_of(request.vmOptions.begin(), request.vmOptions.end(),
                        [&, &option = option, &value = value](const auto &each) {
                            return each.starts_with(option) &&
                                   (value.empty() || each.find(value, option.size()) != std::string::npos);
                        });
        if (!isGiven) {
            std::string note = "the manifest of " + *request.jar + " has \"" + line;
            note += "\", which only counts for java -jar; what it does is done by --vm-option ";
            program.notes.push_back(note + option + (value.empty() ? "FILE" : value));
        }
    }
}

/// True for what only runtimes have.
bool isOfRuntime(std::string_view mainClass) {
    constexpr std::array packages{"java.", "javax.", "jdk.", "sun.", "com.sun."};
    return std::any_of(packages.begin(), packages.end(),
                       [&](const char *package) { return mainClass.starts_with(package); });
}

/// True if an option can bring classes that are in no file of the program.
bool bringsClasses(const std::string &option) {
    constexpr std::array bringing{"--module-path=", "--upgrade-module-path=", "--patch-module=",   "-Xbootclasspath",
                                  "-javaagent:",    "-include-options ",      "-Djava.class.path="};
    return std::any_of(bringing.begin(), bringing.end(),
                       [&](const char *beginning) { return option.starts_with(beginning); });
}

/// Decides about a main class that is in none of the program's files.
void requireElsewhere(Program &program, const Request &request) {
    const bool byOption = std::any_of(request.vmOptions.begin(), request.vmOptions.end(), bringsClasses);
    program.lacksMainClass = request.runtime.has_value(); // it can be asked
    if (program.lacksMainClass) {
        return;
    }
    if (!byOption && !isOfRuntime(program.mainClass)) {
        throw Refusal("The main class " + program.mainClass + " is not in " +
                      (program.files.empty() ? "the application: give its archive with --jar" : "the class path"));
    }
    program.notes.push_back("the main class " + program.mainClass + " is in none of the program's archives; that " +
                            (byOption ? "the VM options bring it" : "the runtime has it") + " is taken on trust");
}

} // namespace

bool mayComeFromElsewhere(const std::string &mainClass, const std::vector<std::string> &options) {
    const auto brings = [](const std::string &option) {
        const bool setsClassPath = option.starts_with("-Djava.class.path=");
        return (bringsClasses(option) && !setsClassPath) || option == "-p" || option == "-m" || option == "--module";
    };
    return isOfRuntime(mainClass) || std::any_of(options.begin(), options.end(), brings);
}

Program examineProgram(const Request &request) {
    Program program;
    addInput(program, request);
    const std::vector<std::string> entries = classPathOf(request);
    std::vector<Program::File> classPath;
    for (const std::string &entry : entries) {
        addToClassPath(program, classPath, request, entry);
    }
    addOptionsFile(program, request);
    addSplash(program, request);
    for (const std::string &file : request.files) {
        addFile(program, file, nameOf(file));
    }
    program.sources = followManifests(program, classPath);
    addModules(program, request);
    const Manifest manifest = request.jar ? manifestOf(*request.jar) : Manifest();
    noteUnheeded(program, request, manifest);
    if (!request.module) {
        program.mainClass = mainClass(request, manifest);
    }
    if (program.mainClass.find('/') != std::string::npos) {
        throw Refusal("The main class is named with dots, as in com.example.Main, not " + program.mainClass);
    }
    if (program.mainClass.empty()) {
        return program;
    }
    constexpr int firstWithModules = 9;
    program.javaVersion = request.module ? firstWithModules : 0;
    for (const std::string &source : program.sources) {
        if (const auto version = javaVersionOfClass(source, program.mainClass)) {
            program.javaVersion = std::max(program.javaVersion, *version);
            return program;
        }
    }
    // It may also be in what the user's machine has.
    const bool isOpen =
        request.classesElsewhere || request.optionsFile ||
        std::any_of(entries.begin(), entries.end(), [](const std::string &entry) { return entry.starts_with('$'); });
    if (!isOpen) {
        requireElsewhere(program, request);
    }
    return program;
}

} // namespace kestrav::tools
