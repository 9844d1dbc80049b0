#pragma once

#include "mac_installer/archive/UnTar.h"
#include "platform/testing.h"
#include "support/ArchiveWriter.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <iterator>
#include <map>
#include <sstream>

namespace kestrav::tests {

/// An archive in short: "jre/; jre/f=data; jre/l>target; h#target" is a directory, a file, a symbolic and a hard link.
/// Long names are written in the way of GNU tar, long targets in that of pax.
inline ArchiveWriter archiveOf(const std::string &entries) {
    ArchiveWriter archive;
    std::istringstream list(entries);
    for (std::string entry; std::getline(list >> std::ws, entry, ';');) {
        const std::size_t mark = entry.find_first_of("=>#");
        const std::string name = entry.substr(0, mark);
        const std::string target = mark == std::string::npos ? "" : entry.substr(mark + 1);
        if (name.size() > 100) {
            archive.entry('L', "././@LongLink", name + '\0');
        }
        if (mark == std::string::npos) {
            archive.directory(name.substr(0, 100));
        } else if (entry[mark] == '=') {
            archive.file(name.substr(0, 100), target);
        } else {
            target.size() > 100 ? archive.record("linkpath", target) : archive;
            archive.entry(entry[mark] == '>' ? '2' : '1', name.substr(0, 100)).patch(157, target.substr(0, 100));
        }
    }
    return archive;
}

/// Everything below a directory, sorted, in the same form; long files by their length, with modes other than 644. The
/// mode is that of the extracted file, whose owner may always read and write it.
inline std::string treeOf(const std::string &root) {
    std::map<std::string, std::string> tree;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string();
        std::string &text = tree[path.substr(root.size() + 1)];
        if (entry.is_symlink()) {
            text = ">" + std::filesystem::read_symlink(path).string();
        } else if (entry.is_directory()) {
            text = "/";
        } else {
            std::ifstream file(path, std::ios::binary);
            const std::string content(std::istreambuf_iterator<char>(file), {});
            const auto mode = static_cast<unsigned>(entry.status().permissions()) | 0600U;
            std::ostringstream shown;
            shown << (content.size() < 100 ? "=" + content : "=#" + std::to_string(std::hash<std::string>()(content)));
            mode == 0644 ? shown : shown << " " << std::oct << mode;
            text = shown.str();
        }
    }
    std::string text;
    for (const auto &[path, what] : tree) {
        text += (text.empty() ? "" : "; ") + path + what;
    }
    return text;
}

/// A destination, and beside it a folder that archives must not touch.
class UnTarFixture : public testing::Test {
protected:
    UnTarFixture() {
        umask(022);
        platform::testing::replacements().logSink = [this](std::string_view line) { log.append(line).append("\n"); };
        directory.write("outside/secret", "secret");
        refresh();
    }
    ~UnTarFixture() override { platform::testing::replacements() = {}; }

    void refresh() {
        std::filesystem::remove_all(destination);
        std::filesystem::create_directory(destination);
        log.clear();
    }
    UntarResult untar(const std::string &packed, const ProgressCallback &progress = {},
                      const std::function<void()> &checkpoint = {}) {
        std::filesystem::remove(archive); // some file systems flush a file that is overwritten
        return UnTar::untar(directory.write("archive", packed), destination, 100000, progress, checkpoint);
    }
    [[nodiscard]] bool outsideIsUntouched() const {
        return treeOf(directory / "outside") == "secret=secret" &&
               std::distance(std::filesystem::directory_iterator(directory.path()), {}) == 3;
    }

    TemporaryDirectory directory;
    std::string destination = directory / "destination";
    std::string archive = directory / "archive";
    std::string log;
};

} // namespace kestrav::tests
