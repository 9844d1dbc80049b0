#include "mac_installer/launcher/LaunchLibrary.h"

#include "mac_installer/launcher/LaunchVector.h"
#include "mac_installer/launcher/earlyEnd.h"
#include "mac_installer/launcher/global.h"
#include "platform/Clock.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/Machine.h"
#include "platform/path.h"

#include <algorithm>
#include <filesystem>
#include <forward_list>
#include <span>
#include <vector>

namespace kestrav {

namespace {

constexpr const char *signature = "-[Launcher launch]";
constexpr const char *JavaLaunchError = "JavaLaunchError";

constexpr JLI_Boolean jliFalse = 0;
constexpr JLI_Boolean jliTrue = 1;

std::string absolutePath(const std::string &path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

/// Keeps a list whose elements became the vector: like the vector, it is never freed.
void keepList(JLI_List list) {
    static auto &kept = *new std::forward_list<JLI_List>; // NOLINT(cppcoreguidelines-owning-memory)
    kept.push_front(list);
}

} // namespace

std::string launchLibraryPath(const std::string &runtimePath) {
    std::vector<std::string> directories = {"Contents/Home/jre/lib/jli", "Contents/Home/lib/jli", "Contents/Home/lib",
                                            "lib/jli", "lib"};
    if (const std::string_view processor = platform::processorFolder(); !processor.empty()) {
        for (const char *library : {"Contents/Home/jre/lib", "Contents/Home/lib", "jre/lib", "lib"}) {
            directories.push_back(platform::format("%@/%@/jli", library, processor));
        }
    }
    for (const std::string &directory : directories) {
        for (const char *name : {"libjli.dylib", "libjli.so"}) {
            std::string path =
                platform::appendingPathComponent(runtimePath, platform::appendingPathComponent(directory, name));
            if (platform::fileExistsAtPath(path)) {
                return path;
            }
        }
    }
    // To be named in the message that it cannot be loaded.
    return platform::appendingPathComponent(runtimePath, "lib/libjli.dylib");
}

std::string pluginLibraryPath() {
    return platform::systemPath(
        "/Library/Internet Plug-Ins/JavaAppletPlugin.plugin/Contents/Home/lib/jli/libjli.dylib");
}

LaunchLibrary::LaunchLibrary(const std::string &path) : path_(absolutePath(path)), library_(path_) {
    if (!library_.isOpen()) {
        platform::Log("%s [Line %d] Could not load JRE %@: %@", signature, __LINE__, path_, library_.error());
        throw platform::Exception(JavaLaunchError, "Could not load JRE.");
    }
    launchGlobals.JLI_LaunchFxnPtr = library_.function<JLI_LaunchFxn>("JLI_Launch");
    listNew_ = library_.function<JLI_List(std::size_t)>("JLI_List_new");
    listAdd_ = library_.function<void(JLI_List, char *)>("JLI_List_add");
    initArgProcessing_ = library_.function<void(JLI_Boolean, JLI_Boolean)>("JLI_InitArgProcessing");
    preprocessArg_ = library_.function<JLI_List(const char *, JLI_Boolean)>("JLI_PreprocessArg");
    stringDup_ = library_.function<char *(const char *)>("JLI_StringDup");
    memFree_ = library_.function<void(void *)>("JLI_MemFree");
    if (launchGlobals.JLI_LaunchFxnPtr == nullptr) {
        throw platform::Exception(JavaLaunchError, "Could not get function pointer for JLI_Launch.");
    }
}

bool LaunchLibrary::hasListFunctions() const {
    return listNew_ != nullptr && listAdd_ != nullptr && initArgProcessing_ != nullptr && preprocessArg_ != nullptr &&
           stringDup_ != nullptr && memFree_ != nullptr;
}

void LaunchLibrary::expandArgumentFiles() const {
    const std::span arguments(launchGlobals.argv, static_cast<std::size_t>(launchGlobals.argc));
    if (std::none_of(arguments.begin(), arguments.end(), [](const char *argument) { return *argument == '@'; })) {
        return;
    }
    _DLog("%s [Line %d] @ argument found", signature, __LINE__);
    if (!hasListFunctions()) {
        _DLog("%s [Line %d] did not find all list functions %p %p %p %p %p %p", signature, __LINE__,
              reinterpret_cast<const void *>(listNew_), reinterpret_cast<const void *>(listAdd_),
              reinterpret_cast<const void *>(initArgProcessing_), reinterpret_cast<const void *>(preprocessArg_),
              reinterpret_cast<const void *>(stringDup_), reinterpret_cast<const void *>(memFree_));
        return;
    }

    initArgProcessing_(jliTrue, jliFalse);
    JLI_List list = listNew_(arguments.size() + 1);
    keepList(list);
    listAdd_(list, stringDup_(arguments.front()));
    for (const char *argument : arguments.subspan(1)) {
        JLI_List expanded = preprocessArg_(argument, jliTrue);
        if (expanded == nullptr) {
            listAdd_(list, stringDup_(argument));
            continue;
        }
        for (char *element : std::span(expanded->elements, expanded->size)) {
            listAdd_(list, element);
        }
        memFree_(expanded->elements);
        memFree_(expanded);
    }
    launchGlobals.argc = static_cast<int>(list->size);
    listAdd_(list, nullptr); // the end of the vector, not counted
    launchGlobals.argv = list->elements;
}

int callLaunchLibrary(int argc, char **argv) {
    const char *const version = launchGlobals.launchJavaVersion;
    const std::int64_t begin = platform::monotonicNanoseconds();
    const int status = launchGlobals.JLI_LaunchFxnPtr(argc, argv, 0, nullptr, 0, nullptr, version, version, "java",
                                                      "java", jliFalse, jliFalse, jliFalse, 0);
    if (isEarlyEnd(status, platform::monotonicNanoseconds() - begin)) {
        displayEarlyReturn(status);
    }
    return status;
}

} // namespace kestrav
