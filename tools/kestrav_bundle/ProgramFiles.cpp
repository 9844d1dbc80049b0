#include "ProgramFiles.h"

#include "platform/FileManager.h"
#include "platform/path.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

constexpr const char *reserved = "jre.tar.gz"; // the launcher would take it for the runtime

/// Where a file lies in the input folder, "." for the folder itself; empty if it is not in it.
std::string placeInInput(const Request &request, const std::string &path) {
    std::error_code missing;
    const fs::path given = fs::absolute(path).lexically_normal();
    const fs::path file = given.has_filename() ? given : given.parent_path();
    const fs::path place = request.input ? (fs::canonical(file.parent_path(), missing) / file.filename())
                                               .lexically_relative(fs::canonical(*request.input, missing))
                                         : fs::path();
    return missing || place.empty() || *place.begin() == ".." ? "" : place.string();
}

} // namespace

std::string nameOf(const std::string &path) {
    std::error_code missing;
    const auto real = fs::canonical(path, missing);
    if (missing) {
        throw Refusal(path + ": " + missing.message());
    }
    const std::string given = platform::lastPathComponent(path);
    return given.empty() || given == "/" || given == "." || given == ".." ? real.filename().string() : given;
}

void addFile(Program &program, const std::string &path, const std::string &name) {
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

Program::File place(Program &program, const Request &request, const std::string &path) {
    if (std::string inInput = placeInInput(request, path); !inInput.empty()) {
        return {path, std::move(inInput)};
    }
    addFile(program, path, nameOf(path));
    return program.files.back();
}

std::string inProgramFolder(const Program::File &file) {
    return file.name == "." ? std::string(platform::withoutTrailingSlashes(programFolder))
                            : platform::appendingPathComponent(programFolder, file.name);
}

Request withInput(Request request) {
    const auto inInput = [&](std::string &path) {
        const fs::path there = fs::path(request.input.value_or("")) / path;
        const std::string file = path.ends_with("/*") ? there.parent_path().string() : there.string();
        if (request.input && !path.empty() && platform::fileExistsAtPath(file)) {
            path = there.string();
        }
    };
    for (auto *path : {&request.classPath, &request.modulePath}) {
        std::for_each(path->begin(), path->end(), inInput);
    }
    for (auto *file : {&request.jar, &request.splash, &request.optionsFile}) {
        if (*file) {
            inInput(**file);
        }
    }
    return request;
}

void addInput(Program &program, const Request &request) {
    if (!request.input) {
        return;
    }
    std::error_code missing;
    for (const auto &entry : fs::directory_iterator(*request.input, missing)) {
        addFile(program, entry.path().string(), entry.path().filename().string());
    }
    if (missing) {
        throw Refusal("The input folder " + *request.input + " cannot be read: " + missing.message());
    }
}

void addOptionsFile(Program &program, const Request &request) {
    if (!request.optionsFile) {
        return;
    }
    const std::string &file = *request.optionsFile;
    if (file.starts_with("$APP_PACKAGE/") || file.starts_with('~')) {
        program.optionsFile = file;
    } else if (!platform::stringWithContentsOfFile(file)) {
        throw Refusal("The options file " + file + " cannot be read as UTF-8 text");
    } else {
        program.optionsFile = inProgramFolder(place(program, request, file));
    }
}

void addSplash(Program &program, const Request &request) {
    if (!request.splash) {
        return;
    }
    constexpr std::array images{"GIF8", "\x89PNG", "\xFF\xD8\xFF"};
    const auto content = platform::contentsOfFile(*request.splash);
    if (!content ||
        std::none_of(images.begin(), images.end(), [&](const char *each) { return content->starts_with(each); })) {
        throw Refusal("The image " + *request.splash +
                      (content ? " is neither GIF nor PNG nor JPEG, which Java shows" : " cannot be read"));
    }
    program.splash = inProgramFolder(place(program, request, *request.splash));
}

} // namespace kestrav::tools
