#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kestrav::tests {

/// A fresh directory that is removed with this object.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "kestrav-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        path_ = std::filesystem::canonical(name).string();
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::string &path() const { return path_; }
    /// A path below the directory.
    [[nodiscard]] std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

    /// Writes a file below the directory, creating its folders, and returns its path.
    std::string write(std::string_view name, std::string_view content) const {
        const std::string file = *this / name;
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    std::string makeDirectory(std::string_view name) const {
        std::filesystem::create_directories(*this / name);
        return *this / name;
    }

private:
    std::string path_;
};

} // namespace kestrav::tests
