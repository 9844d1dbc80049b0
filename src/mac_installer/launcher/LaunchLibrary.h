#pragma once

#include "platform/DynamicLibrary.h"

#include <cstddef>
#include <string>

namespace kestrav {

// The launch library's own types and functions, as the JDK's jli_util.h and java.h declare them.
struct JLI_ListElements {
    char **elements;
    std::size_t size;
    std::size_t capacity;
};
using JLI_List = JLI_ListElements *;
using JLI_Boolean = unsigned char;

/// The file to load as the launch library of the runtime at `runtimePath`: the first that exists of the places where
/// runtimes keep it.
[[nodiscard]] std::string launchLibraryPath(const std::string &runtimePath);

/// The file to load for the public browser plug-in's runtime.
[[nodiscard]] std::string pluginLibraryPath();

/// The runtime's launch library, loaded into this process for good.
class LaunchLibrary {
public:
    /// Loads the library and sets `launchGlobals.JLI_LaunchFxnPtr`. Raises "JavaLaunchError" if it cannot be loaded or
    /// has no `JLI_Launch`.
    explicit LaunchLibrary(const std::string &path);

    /// Its absolute path.
    [[nodiscard]] const std::string &path() const { return path_; }

    /// Has the library replace the "@FILE" arguments of `launchGlobals`' vector by what the files hold. Without any,
    /// or if the library is too old to have such arguments, the vector stays as it is.
    void expandArgumentFiles() const;

private:
    [[nodiscard]] bool hasListFunctions() const;

    std::string path_;
    platform::DynamicLibrary library_;
    // Null in libraries that lack them.
    JLI_List (*listNew_)(std::size_t capacity) = nullptr;
    void (*listAdd_)(JLI_List list, char *text) = nullptr;
    void (*initArgProcessing_)(JLI_Boolean hasJavaArgs, JLI_Boolean disableArgFile) = nullptr;
    JLI_List (*preprocessArg_)(const char *argument, JLI_Boolean expandSourceOption) = nullptr;
    char *(*stringDup_)(const char *text) = nullptr;
    void (*memFree_)(void *memory) = nullptr;
};

/// Calls the loaded library's `JLI_Launch` with a vector, the version in `launchGlobals` and no further wishes; returns
/// its result. If that tells of a failed start, nobody may see what the library says, and a notice is shown.
int callLaunchLibrary(int argc, char **argv);

} // namespace kestrav
