#pragma once

#include <functional>
#include <string>

namespace kestrav {

/// A part of the configuration as the reader of the configuration comes upon it.
enum class ConfigurationPart {
    option,
    argument,
    classPath,       ///< in place of the one before
    classPathBefore, ///< put before it
    classPathBehind, ///< put behind it
};

/// Where such a part comes from: a line of an options file, else a value of Info.plist, else the command line.
struct Origin {
    std::string optionsFile = {};
    int line = 0;         ///< of the options file, from 1
    std::string key = {}; ///< of the value in Info.plist, with its containers: "JavaVM/VMOptionArray/0"
};

/// Is told each part, with variables replaced, and its origin.
using OriginListener = std::function<void(ConfigurationPart part, const std::string &value, const Origin &origin)>;

/// Is told the path of an options file or of a runtime of the application's that is left out, and the reason.
using LeftOutListener = std::function<void(const std::string &path, const std::string &reason)>;

} // namespace kestrav
