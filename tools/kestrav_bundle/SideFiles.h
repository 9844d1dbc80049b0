#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::tools {

/// A file that is made with the application but does not lie in it.
struct SideFile {
    std::string path;
    std::string content;
};

/// Writes a file that everybody can read, and its missing folders.
void writeForEverybody(const std::string &path, std::string_view content);

/// Files that appear with the application: without `keep`, what was there before is back at the end of this object.
class SideFiles {
public:
    /// Refuses what is in the way; with `replace`, only what is not a file. Writes nothing.
    SideFiles(std::vector<SideFile> files, bool replace);
    SideFiles(const SideFiles &) = delete;
    SideFiles &operator=(const SideFiles &) = delete;
    ~SideFiles();

    /// Tells of each file, a line.
    [[nodiscard]] std::vector<std::string> notes() const;

    void write();
    void keep() { kept_ = true; }

private:
    struct Written {
        std::string path;
        std::optional<std::string> former; ///< the content that was replaced
    };
    void makeFolder(const std::string &path);

    std::vector<SideFile> files_;
    std::vector<std::string> folders_; ///< made here, parents first
    std::vector<Written> written_;
    bool kept_ = false;
};

} // namespace kestrav::tools
