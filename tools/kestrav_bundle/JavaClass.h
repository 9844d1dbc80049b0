#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What can be told of a Java program without starting it.

namespace kestrav::tools {

/// What the main attributes of an archive's manifest say (META-INF/MANIFEST.MF of a Java archive).
struct Manifest {
    std::optional<std::string> mainClass;
    std::optional<std::string> moduleName; ///< of an archive without a module's descriptor
    std::vector<std::string> classPath;    ///< files, from the archive's folder; not what lies on other machines
    /// What only counts for an archive that is started with `java -jar`.
    struct ForJarAlone {
        std::string line;
        std::string option; ///< the beginning of one that does the same
        std::string value;  ///< what it has to name; empty for a file
    };
    std::vector<ForJarAlone> forJarAlone;
};

/// Reads the manifest; an empty one if there is none. Raises `Refusal` for a file that is not a whole archive.
[[nodiscard]] Manifest manifestOf(const std::string &jar);

/// The Java version (8, 11, 17, …) that a class needs, by the number in its class file; empty if the class is not in
/// that archive or folder. Raises `Refusal` for an archive that cannot be read, or something else under its name.
[[nodiscard]] std::optional<int> javaVersionOfClass(const std::string &archiveOrFolder, std::string_view className);

} // namespace kestrav::tools
