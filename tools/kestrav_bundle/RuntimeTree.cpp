#include "RuntimeTree.h"

#include "platform/PropertyList.h"

namespace kestrav::tools {

namespace {

/// True for what file managers leave behind; the launcher would not extract it.
bool isDebris(const TreeEntry &entry) {
    return ("/" + entry.name).find("/._") != std::string::npos || entry.name.ends_with("/.DS_Store");
}

/// The Info.plist of a runtime that has none.
std::string runtimeInfo(const Runtime &runtime) {
    using Dictionary = platform::PropertyList::Dictionary;
    const std::string identifier = runtime.identifier.empty() ? "java.runtime" : runtime.identifier;
    return platform::PropertyList(Dictionary{{"CFBundleIdentifier", identifier},
                                             {"CFBundleName", "Java " + runtime.version},
                                             {"CFBundlePackageType", "BNDL"},
                                             {"JavaVM", Dictionary{{"JVMVersion", runtime.version}}}})
        .serialize();
}

} // namespace

FileTree runtimeTree(const Runtime &runtime) {
    FileTree tree;
    if (!runtime.isBundle) {
        tree.addFolder("Contents");
    }
    tree.add(runtime.folder, runtime.isBundle ? "" : "Contents/Home");
    std::erase_if(tree.entries, isDebris);
    if (!runtime.hasInfo) {
        TreeEntry info;
        info.name = "Contents/Info.plist";
        info.content = runtimeInfo(runtime);
        info.size = info.content.size();
        info.mode = fileMode;
        tree.entries.push_back(std::move(info));
    }
    return tree;
}

} // namespace kestrav::tools
