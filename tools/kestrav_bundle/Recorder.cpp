#include "Recorder.h"

#include "ProgramFiles.h"
#include "platform/text.h"

namespace kestrav::tools {

Recorder recorderOf(const std::string &version) {
    constexpr int firstWithCaches = 25; // of classes that are linked, and with what was compiled often
    const std::string start = programFolder + std::string("trained.");
    if (platform::intValue(version) >= firstWithCaches) {
        const std::string file = start + "aot";
        return {file,
                {"-Xlog:aot*=error", "-Xlog:cds*=error", "-XX:AOTCacheOutput=" + file},
                {"-XX:AOTMode=on", "-XX:AOTCache=" + file},
                {"-Xlog:aot*=off", "-Xlog:cds*=off", "-XX:AOTCache=" + file}};
    }
    // These take a file of the class path for the recorded one if both names lead to the same file. Names relative to
    // the working directory still do so when the application has been moved.
    const std::string file = start + "jsa";
    return {file,
            {"-Xlog:cds*=error", "-XX:ArchiveClassesAtExit=" + file},
            {"-Xshare:on", "-XX:SharedArchiveFile=" + file},
            {"-Xshare:auto", "-Xlog:cds*=off", "-XX:SharedArchiveFile=" + file},
            true};
}

} // namespace kestrav::tools
