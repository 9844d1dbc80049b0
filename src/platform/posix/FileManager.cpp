#include "platform/FileManager.h"

#include "platform/FileDescriptor.h"
#include "platform/ProcessInfo.h"
#include "platform/path.h"
#include "platform/posix/directory.h"
#include "platform/testing.h"
#include "platform/text.h"
#include "platform/uninterrupted.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrav::platform {

namespace {

/// True for a path with a NUL byte; the system would use the part before it as the path.
bool hasNul(const std::string &path) {
    return path.find('\0') != std::string::npos;
}

std::error_code makeError(std::errc error) {
    return std::make_error_code(error);
}

std::optional<struct stat> status(const std::string &path) {
    struct stat result {};
    if (hasNul(path) || ::stat(path.c_str(), &result) != 0) {
        return std::nullopt;
    }
    return result;
}

/// The path to which symbolic links at `path` lead, even if nothing exists there.
std::string resolvingLinks(std::string path) {
    constexpr int longestChain = 32;
    for (int links = 0; links < longestChain; ++links) {
        std::array<char, PATH_MAX> target{};
        const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
        if (size <= 0) {
            break;
        }
        const std::string_view text(target.data(), static_cast<std::size_t>(size));
        path =
            text.starts_with('/') ? std::string(text) : appendingPathComponent(deletingLastPathComponent(path), text);
    }
    return path;
}

/// A new file with a unique name, removed with this object unless it was moved to its place.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string &directory) : path_(appendingPathComponent(directory, ".kestrav-XXXXXX")) {
        descriptor_ = FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC));
        exists_ = descriptor_.valid();
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile() {
        if (exists_) {
            ::unlink(path_.c_str());
        }
    }

    [[nodiscard]] const FileDescriptor &descriptor() const { return descriptor_; }

    /// Closes the file and moves it to its place; false with errno set if not everything was stored or it cannot be
    /// moved.
    [[nodiscard]] bool moveTo(const std::string &path) {
        exists_ = !descriptor_.close() || ::rename(path_.c_str(), path.c_str()) != 0;
        return !exists_;
    }

private:
    std::string path_;
    FileDescriptor descriptor_;
    bool exists_ = false;
};

std::error_code createDirectory(const std::string &path, mode_t permissions, bool mayExist) {
    if (::mkdir(path.c_str(), permissions) == 0) {
        return {};
    }
    const std::error_code error = lastError();
    const auto existing = status(path);
    return mayExist && existing && S_ISDIR(existing->st_mode) ? std::error_code() : error;
}

} // namespace

bool fileExistsAtPath(const std::string &path) {
    return status(path).has_value();
}

bool directoryExistsAtPath(const std::string &path) {
    const auto found = status(path);
    return found && S_ISDIR(found->st_mode);
}

std::string fileStamp(const std::string &path) {
    const auto found = status(path);
    return found && S_ISREG(found->st_mode) ? std::to_string(found->st_size) + " " + std::to_string(found->st_mtime)
                                            : "";
}

std::optional<std::vector<std::string>> contentsOfDirectoryAtPath(const std::string &path) {
    if (hasNul(path)) {
        return std::nullopt;
    }
    return directoryNames(FileDescriptor::open(path.c_str(), O_RDONLY | O_DIRECTORY));
}

std::error_code createDirectoryAtPath(const std::string &path, bool withIntermediateDirectories, mode_t permissions) {
    if (hasNul(path)) {
        return makeError(std::errc::no_such_file_or_directory);
    }
    if (path.size() >= PATH_MAX) {
        return makeError(std::errc::filename_too_long);
    }
    if (withIntermediateDirectories && !directoryExistsAtPath(path)) {
        const std::string parent = deletingLastPathComponent(path);
        if (!parent.empty() && parent != path) {
            // The owner must be able to create the next directory in this one, whatever permissions are asked for.
            const std::error_code error = createDirectoryAtPath(parent, true, permissions | S_IWUSR | S_IXUSR);
            if (error) {
                return error;
            }
        }
    }
    return createDirectory(path, permissions, withIntermediateDirectories);
}

std::error_code removeItemAtPath(const std::string &path) {
    if (hasNul(path)) {
        return makeError(std::errc::no_such_file_or_directory);
    }
    const std::string name = lastPathComponent(path);
    if (name == "/" || name == "." || name == "..") {
        return makeError(std::errc::invalid_argument);
    }
    // With a slash at the end the system would follow a link.
    const std::string item = path.substr(0, path.find_last_not_of('/') + 1);
    return removeTree(AT_FDCWD, item.c_str());
}

bool isUnsupportedExchange(const std::error_code &error) {
    return error == std::errc::invalid_argument || error == std::errc::function_not_supported ||
           error == std::errc::not_supported || error == std::errc::operation_not_supported;
}

std::error_code changeCurrentDirectoryPath(const std::string &path) {
    if (hasNul(path)) {
        return makeError(std::errc::no_such_file_or_directory);
    }
    return ::chdir(path.c_str()) == 0 ? std::error_code() : lastError();
}

std::optional<std::string> contentsOfFile(const std::string &path, std::int64_t sizeLimit) {
    return contentsOfFile(FileDescriptor::openRegularFile(path), sizeLimit);
}

std::optional<std::string> contentsOfFile(const FileDescriptor &file, std::int64_t sizeLimit) {
    struct stat found {};
    if (!file.valid() || ::fstat(file.get(), &found) != 0 || found.st_size > sizeLimit) {
        return std::nullopt;
    }
    // One byte more than the file's size lets the end be seen without growing the buffer; the system's own files report
    // no size.
    std::string content(static_cast<std::size_t>(found.st_size) + 1, '\0');
    std::size_t size = 0;
    for (;;) {
        if (size == content.size()) {
            content.resize(size + 65536);
        }
        const ssize_t count =
            uninterrupted([&] { return ::read(file.get(), content.data() + size, content.size() - size); });
        if (count == 0) {
            content.resize(size);
            return content;
        }
        if (count < 0) {
            return std::nullopt;
        }
        size += static_cast<std::size_t>(count);
        if (size > static_cast<std::size_t>(sizeLimit)) {
            return std::nullopt;
        }
    }
}

std::optional<std::string> stringWithContentsOfFile(const std::string &path, std::int64_t sizeLimit) {
    return stringWithContentsOfFile(FileDescriptor::openRegularFile(path), sizeLimit);
}

std::optional<std::string> stringWithContentsOfFile(const FileDescriptor &file, std::int64_t sizeLimit) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::optional<std::string> content = contentsOfFile(file, sizeLimit);
    if (content && !isValidUTF8(*content)) {
        return std::nullopt;
    }
    if (content && content->starts_with(byteOrderMark)) {
        content->erase(0, byteOrderMark.size());
    }
    return content;
}

std::error_code writeFileAtomically(const std::string &path, std::string_view content) {
    if (path.empty() || hasNul(path)) {
        return makeError(std::errc::no_such_file_or_directory);
    }
    const std::string target = resolvingLinks(path);
    const std::string parent = deletingLastPathComponent(target);
    const std::string directory = parent.empty() ? "." : parent;
    if (const std::error_code error = createDirectoryAtPath(directory, true)) {
        return error;
    }
    const auto existing = status(target);
    if (existing && !S_ISREG(existing->st_mode)) {
        return makeError(S_ISDIR(existing->st_mode) ? std::errc::is_a_directory : std::errc::file_exists);
    }
    TemporaryFile file(directory);
    if (!file.descriptor().valid() || !writeAll(file.descriptor().get(), content) ||
        (existing && ::fchmod(file.descriptor().get(), existing->st_mode & 07777U) != 0) || !file.moveTo(target)) {
        return lastError();
    }
    return {};
}

std::string systemPath(std::string_view path) {
    return testing::replacements().systemRoot + std::string(path);
}

std::optional<std::string> temporaryDirectory() {
    std::string path = temporaryDirectories().front();
    return directoryExistsAtPath(path) ? std::optional(std::move(path)) : std::nullopt;
}

std::string homeDirectory() {
    const std::optional<std::string> home = ProcessInfo::processInfo().environmentVariable("HOME");
    if (home && !home->empty()) {
        return *home;
    }
    passwd entry{};
    passwd *found = nullptr;
    std::string buffer(16384, '\0');
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr) {
        return found->pw_dir;
    }
    return "/";
}

} // namespace kestrav::platform
