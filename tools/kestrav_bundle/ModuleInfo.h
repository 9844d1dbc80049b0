#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kestrav::tools {

/// What a module's descriptor says of it.
struct ModuleInfo {
    std::string name;
    std::string mainClass;          ///< with dots; empty if it names none
    std::vector<std::string> needs; ///< the modules that it requires to run
};

/// Reads the descriptor (module-info.class) of an archive or a folder of classes; empty if there is none. Raises
/// `Refusal` for one that cannot be understood.
[[nodiscard]] std::optional<ModuleInfo> moduleInfoOf(const std::string &archiveOrFolder);

/// The name that Java gives to an archive without a descriptor, after its file's name: "tool-box-1.2.jar" is tool.box.
[[nodiscard]] std::string automaticModuleName(const std::string &archive);

} // namespace kestrav::tools
