#include "FileTree.h"

#include "Interruption.h"
#include "Request.h"
#include "platform/FileDescriptor.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <numeric>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using Kind = TreeEntry::Kind;

constexpr mode_t linkMode = 0777;
constexpr mode_t directoryMode = 0755;

[[noreturn]] void refuse(const fs::path &path, const std::string &reason) {
    throw Refusal(path.string() + ": " + reason);
}

class Walk {
public:
    /// `prefix` stands before the names of the entries; `root` is what links must not leave.
    Walk(fs::path root, std::string prefix, FileTree &tree)
        : root_(std::move(root)), prefix_(std::move(prefix)), tree_(tree) {}

    /// Adds the content of `source`; `place` is where it lies in the copy, relative to the root.
    void addContent(const fs::path &source, const fs::path &place) {
        const fs::path real = fs::canonical(source);
        if (std::find(open_.begin(), open_.end(), real) != open_.end()) {
            refuse(source, "this folder contains itself");
        }
        open_.push_back(real);
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(source)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        for (const std::string &name : names) {
            if (!fs::is_symlink(source / name) || !addLink(source / name, place / name)) {
                add(source / name, place / name);
            }
        }
        open_.pop_back();
    }

    /// Adds a file or a folder, or what a link leads to.
    void add(const fs::path &source, const fs::path &place) {
        struct stat found {};
        if (::stat(source.c_str(), &found) != 0) {
            refuse(source, std::generic_category().message(errno));
        }
        TreeEntry entry;
        entry.source = source.string();
        entry.mode = (found.st_mode & S_IXUSR) != 0 ? programMode : fileMode;
        if (S_ISDIR(found.st_mode)) {
            entry.kind = Kind::directory;
            entry.mode = directoryMode;
            append(std::move(entry), place);
            addContent(source, place);
        } else if (S_ISREG(found.st_mode)) {
            entry.size = static_cast<std::uint64_t>(found.st_size);
            append(std::move(entry), place);
        } else {
            refuse(source, "it is neither a file nor a folder nor a link");
        }
    }

private:
    /// False for a link that has to be replaced by what it leads to.
    [[nodiscard]] bool addLink(const fs::path &source, const fs::path &place) {
        const fs::path target = fs::read_symlink(source);
        if (!fs::exists(source)) {
            tree_.notes.push_back("left out " + source.string() + ", a link to " + target.string() +
                                  ", which is not there");
            return true;
        }
        if (!staysInside(source, place, target)) {
            return false;
        }
        TreeEntry link;
        link.kind = Kind::link;
        link.target = target.string();
        link.mode = linkMode;
        append(std::move(link), place);
        return true;
    }

    void append(TreeEntry entry, const fs::path &place) {
        entry.name = prefix_ + place.string();
        tree_.entries.push_back(std::move(entry));
    }

    /// True if the link leads to the same file in the copy: it is relative, and does not climb out of the root.
    [[nodiscard]] bool staysInside(const fs::path &source, const fs::path &place, const fs::path &target) const {
        if (target.is_absolute()) {
            return false;
        }
        const fs::path inCopy = (place.parent_path() / target).lexically_normal();
        std::error_code missing;
        return !inCopy.empty() && *inCopy.begin() != ".." && fs::equivalent(root_ / inCopy, source, missing);
    }

    fs::path root_;
    std::string prefix_;
    FileTree &tree_;
    std::vector<fs::path> open_; ///< the folder that is being read and those above it
};

void writeFile(const TreeEntry &entry, const std::string &path, Progress::Work &work) {
    constexpr unsigned ownerOnly = 0600; // until it is complete
    auto file = platform::FileDescriptor::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, ownerOnly);
    const auto require = [&](bool succeeded) {
        if (!succeeded) {
            throw Refusal("Could not write " + path + ": " + std::generic_category().message(errno));
        }
    };
    require(file.valid());
    readContent(entry, [&](std::string_view piece) {
        require(platform::writeAll(file.get(), piece));
        work.advance(piece.size());
    });
    require(::fchmod(file.get(), entry.mode) == 0);
    require(file.close());
}

void writeEntry(const TreeEntry &entry, const fs::path &path, Progress::Work &work) {
    if (entry.kind == Kind::directory) {
        fs::create_directories(path);
    } else if (entry.kind == Kind::link) {
        fs::create_symlink(entry.target, path);
    } else {
        writeFile(entry, path.string(), work);
    }
}

} // namespace

void FileTree::addFolder(const std::string &name) {
    TreeEntry folder;
    folder.kind = Kind::directory;
    folder.name = name;
    folder.mode = directoryMode;
    entries.push_back(std::move(folder));
}

void FileTree::add(const std::string &source, const std::string &name) {
    if (!fs::is_directory(source)) {
        Walk({}, "", *this).add(source, name);
        return;
    }
    if (!name.empty()) {
        addFolder(name);
    }
    Walk(source, name.empty() ? "" : name + "/", *this).addContent(source, {});
}

void readContent(const TreeEntry &entry, const std::function<void(std::string_view)> &receiver) {
    if (entry.source.empty()) {
        receiver(entry.content);
        return;
    }
    constexpr std::size_t pieceSize = 1 << 18;
    const auto file = platform::FileDescriptor::openRegularFile(entry.source);
    std::string piece(pieceSize, '\0');
    std::uint64_t copied = 0;
    ssize_t count = file.valid() ? 1 : -1;
    while (count > 0) {
        raiseIfInterrupted();
        count = platform::uninterrupted([&] { return ::read(file.get(), piece.data(), piece.size()); });
        if (count > 0) {
            copied += static_cast<std::uint64_t>(count);
            if (copied > entry.size) {
                break;
            }
            receiver(std::string_view(piece).substr(0, static_cast<std::size_t>(count)));
        }
    }
    if (count < 0 || copied != entry.size) {
        throw Refusal("Could not read " + entry.source + ": " +
                      (count < 0 ? std::generic_category().message(errno) : "its size changes"));
    }
}

std::uint64_t FileTree::size() const {
    return std::accumulate(entries.begin(), entries.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const TreeEntry &entry) { return sum + entry.size; });
}

void copyTree(const FileTree &tree, const std::string &folder, const Progress &progress, const std::string &what) {
    Progress::Work work(progress, what, tree.size());
    fs::create_directories(folder);
    for (const TreeEntry &entry : tree.entries) {
        raiseIfInterrupted();
        writeEntry(entry, fs::path(folder) / entry.name, work);
    }
}

} // namespace kestrav::tools
