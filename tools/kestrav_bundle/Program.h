#pragma once

#include "Request.h"

#include <string>
#include <vector>

namespace kestrav::tools {

/// The Java program as it will lie in the application.
struct Program {
    struct File {
        std::string source; ///< the user's file or folder
        std::string name;   ///< its place in Contents/Resources/app
    };
    std::vector<File> files;
    std::string classPath; ///< as Info.plist has it, like the two that follow; empty for none
    std::string optionsFile;
    std::string splash;
    std::string modulePath;
    std::string module;               ///< that of the main class; empty if it is in none
    std::vector<std::string> sources; ///< the archives and folders with the program's classes
    std::string mainClass;            ///< empty if only the user's property list can name it
    int javaVersion = 0;              ///< the oldest that can read the main class; 0: unknown
    bool lacksMainClass = false;      ///< it is in no file, and so has to be in the runtime
    std::vector<std::string> notes;   ///< what the user may have overlooked
};

/// True if a main class may come from the runtime itself, or if one of the VM options can bring classes that are in no
/// file of the class path.
[[nodiscard]] bool mayComeFromElsewhere(const std::string &mainClass, const std::vector<std::string> &options);

/// Puts the program together and refuses what could not start: files that are missing or would hide one another, and a
/// main class that is not there.
[[nodiscard]] Program examineProgram(const Request &request);

} // namespace kestrav::tools
