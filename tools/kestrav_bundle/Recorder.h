#pragma once

#include <string>
#include <vector>

namespace kestrav::tools {

/// The first Java version whose virtual machine can record the classes that a program loads.
constexpr int firstWithRecordings = 13;

/// How a virtual machine records, and how it is told to use the recording.
struct Recorder {
    std::string file; ///< as Info.plist has it
    std::vector<std::string> recordOptions;
    std::vector<std::string> strictOptions; ///< it fails if the recording is not valid
    std::vector<std::string> useOptions;    ///< it says nothing then, and does without
    bool extendsArchive = false;            ///< upon that of the runtime's own classes, which it has to have
};

/// That of the runtime with this version.
[[nodiscard]] Recorder recorderOf(const std::string &version);

} // namespace kestrav::tools
