#include "RuntimeTree.h"

#include "platform/FileManager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using Kind = TreeEntry::Kind;

constexpr mode_t permissionBits = 0777;
constexpr mode_t directoryMode = 0755;
constexpr mode_t fileMode = 0644;

[[noreturn]] void raise(const fs::path &path, const std::string &reason) {
    throw Refusal("The runtime's " + path.string() + ": " + reason);
}

/// True for what file managers leave behind; the launcher would not extract it.
bool isDebris(const std::string &name) {
    return name.starts_with("._") || name == ".DS_Store";
}

class Walk {
public:
    explicit Walk(fs::path root, RuntimeTree &tree) : root_(std::move(root)), tree_(tree) {}

    /// Adds the content of `source`; `place` is where it lies in the copy, relative to the root.
    void addContent(const fs::path &source, const fs::path &place) {
        const fs::path real = fs::canonical(source);
        if (std::find(open_.begin(), open_.end(), real) != open_.end()) {
            raise(source, "this folder contains itself");
        }
        open_.push_back(real);
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(source)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        for (const std::string &name : names) {
            if (!isDebris(name)) {
                add(source / name, place / name);
            }
        }
        open_.pop_back();
    }

    std::string prefix; ///< of every entry's name

private:
    void add(const fs::path &source, const fs::path &place) {
        if (fs::is_symlink(source)) {
            const fs::path target = fs::read_symlink(source);
            if (!fs::exists(source)) {
                tree_.notes.push_back("left out " + place.string() + ", a link to " + target.string() +
                                      ", which is not there");
                return;
            }
            if (staysInside(source, place, target)) {
                TreeEntry link;
                link.kind = Kind::link;
                link.target = target.string();
                link.mode = permissionBits;
                append(std::move(link), place);
                return;
            }
        }
        struct stat found {};
        if (::stat(source.c_str(), &found) != 0) {
            raise(source, std::generic_category().message(errno));
        }
        TreeEntry entry;
        entry.source = source.string();
        entry.mode = found.st_mode & permissionBits;
        entry.modified = found.st_mtime;
        if (S_ISDIR(found.st_mode)) {
            entry.kind = Kind::directory;
            entry.mode = directoryMode;
            append(std::move(entry), place);
            addContent(source, place);
        } else if (S_ISREG(found.st_mode)) {
            entry.size = static_cast<std::uint64_t>(found.st_size);
            append(std::move(entry), place);
        } else {
            raise(source, "it is neither a file nor a folder nor a link");
        }
    }

    void append(TreeEntry entry, const fs::path &place) {
        entry.name = prefix + place.string();
        tree_.entries.push_back(std::move(entry));
    }

    /// True if the link leads to the same file in the copy: it is relative, and its way does not leave the runtime.
    [[nodiscard]] bool staysInside(const fs::path &source, const fs::path &place, const fs::path &target) const {
        if (target.is_absolute()) {
            return false;
        }
        const fs::path inCopy = (place.parent_path() / target).lexically_normal();
        std::error_code missing;
        return !inCopy.empty() && *inCopy.begin() != ".." && fs::equivalent(root_ / inCopy, source, missing);
    }

    fs::path root_;
    RuntimeTree &tree_;
    std::vector<fs::path> open_; ///< the folders on the way to the one that is being read
};

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

TreeEntry folderEntry(const std::string &name) {
    TreeEntry folder;
    folder.kind = Kind::directory;
    folder.name = name;
    folder.mode = directoryMode;
    return folder;
}

void copyEntry(const TreeEntry &entry, const fs::path &path) {
    if (entry.kind == Kind::directory) {
        fs::create_directories(path);
    } else if (entry.kind == Kind::link) {
        fs::create_symlink(entry.target, path);
    } else if (!entry.source.empty()) {
        fs::copy_file(entry.source, path);
        fs::permissions(path, static_cast<fs::perms>(entry.mode) | fs::perms::owner_read | fs::perms::owner_write);
    } else if (const auto error = platform::writeFileAtomically(path.string(), entry.content)) {
        raise(path, error.message());
    }
}

} // namespace

RuntimeTree runtimeTree(const Runtime &runtime) {
    RuntimeTree tree;
    Walk walk(runtime.folder, tree);
    if (!runtime.isBundle) {
        tree.entries.push_back(folderEntry("Contents"));
    }
    if (!runtime.isBundle) {
        tree.entries.push_back(folderEntry("Contents/Home"));
        walk.prefix = "Contents/Home/";
    }
    walk.addContent(runtime.folder, {});
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

void copyTree(const RuntimeTree &tree, const std::string &folder) {
    fs::create_directories(folder);
    for (const TreeEntry &entry : tree.entries) {
        copyEntry(entry, fs::path(folder) / entry.name);
    }
}

} // namespace kestrav::tools
