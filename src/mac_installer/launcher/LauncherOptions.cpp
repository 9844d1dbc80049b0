#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/trust.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <new>
#include <unordered_set>

namespace kestrav {

using platform::appendingPathComponent;
using platform::deletingLastPathComponent;
using platform::FileDescriptor;
using platform::isAbsolutePath;

namespace {

constexpr std::string_view setKeyword = "-classpath ";
constexpr std::string_view prependKeyword = "-classpath/p ";
constexpr std::string_view appendKeyword = "-classpath/a ";
constexpr std::string_view includeKeyword = "-include-options ";

/// The file that an include names: without one pair of enclosing quotes, and below `directory` unless it is absolute.
std::string includedPath(std::string_view name, const std::string &directory) {
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
        name = name.substr(1, name.size() - 2);
    }
    return isAbsolutePath(name) ? std::string(name) : appendingPathComponent(directory, name);
}

/// Why a file that could be opened has no text.
const char *reasonForNoText(const std::string &path) {
    constexpr auto limit = static_cast<std::uintmax_t>(platform::usualSizeLimit);
    std::error_code unknown;
    const bool isTooLarge = std::filesystem::file_size(path, unknown) > limit && !unknown;
    return isTooLarge ? "it is too large" : "it cannot be read as UTF-8 text";
}

/// An options file that is being read. Includes make a stack of these, so that no depth of nesting exhausts the
/// thread's.
struct OpenFile {
    std::string path;
    std::string identity; // the same for every name of one file
    std::string content;
    std::size_t position = 0;

    /// The next line without blanks and tabs at its ends; empty at the end of the file.
    std::optional<std::string_view> nextLine() {
        if (position > content.size()) {
            return std::nullopt;
        }
        const auto end = std::min(content.find_first_of("\r\n", position), content.size());
        const auto line = std::string_view(content).substr(position, end - position);
        position = end + 1;
        return platform::trimming(line, " \t");
    }

    /// The number of the line that was read last.
    [[nodiscard]] int lineNumber() const {
        const auto before = std::string_view(content).substr(0, position - 1);
        int breaks = 0;
        for (std::size_t i = 0; i < before.size(); ++i) {
            const bool isPair = before[i] == '\r' && content.compare(i, 2, "\r\n") == 0;
            breaks += before[i] == '\n' || (before[i] == '\r' && !isPair) ? 1 : 0;
        }
        return breaks + 1;
    }
};

class OptionsReader {
public:
    OptionsReader(const Launcher &launcher, std::vector<std::string> &options, OptionalText classPath,
                  const std::string &bundlePath, bool mayExist)
        : launcher_(launcher), options_(options), classPath_(std::move(classPath)), bundlePath_(bundlePath),
          mayExist_(mayExist) {}

    OptionalText read(const std::string &path) {
        open(path);
        while (!files_.empty()) {
            if (const auto line = files_.back().nextLine()) {
                readLine(*line);
            } else {
                close();
            }
        }
        return std::move(classPath_);
    }

private:
    /// Files that include one another more than once multiply, but no application needs as many as this. The files
    /// after the last of them are left out, which the log says: a start with most of its options is better than none.
    static constexpr int mostFiles = 20'000;
    static constexpr const char *signature = "-[Launcher readOptionsFile:options:classPath:bundlePath:]";

    void open(const std::string &path) {
        if (++opened_ > mostFiles) {
            leaveOut(path, "too many files are included");
            return;
        }
        std::string expanded = replacingAppPackage(path, bundlePath_);
        if (expanded.find('~') != std::string::npos) {
            expanded = platform::replacingOccurrences(expanded, "~", platform::homeDirectory());
        }
        _DLog("%s [Line %d] option file %@", signature, __LINE__, expanded);

        std::error_code unknown;
        std::string identity = std::filesystem::canonical(expanded, unknown).string();
        if (unknown == std::errc::not_enough_memory) {
            throw std::bad_alloc(); // the file may well be there
        }
        if (mayExist_ && opened_ == 1 && unknown == std::errc::no_such_file_or_directory) {
            return;
        }
        const auto file = unknown ? FileDescriptor() : FileDescriptor::openRegularFile(expanded);
        if (!unknown && !file.valid() && errno != EINVAL) { // which stands for a device or a FIFO
            unknown = {errno, std::generic_category()};
        }
        const auto distrust = file.valid() ? reasonNotToHeed(signature, __LINE__, expanded, file) : std::nullopt;
        if (distrust) {
            noteLeftOut(expanded, *distrust);
            return;
        }
        auto content = platform::stringWithContentsOfFile(file);
        if (!content) {
            leaveOut(expanded, unknown ? unknown.message() : reasonForNoText(expanded));
        } else if (!beingRead_.insert(identity).second) {
            leaveOut(expanded, "it includes itself");
        } else {
            files_.push_back({std::move(expanded), std::move(identity), std::move(*content)});
        }
    }

    void leaveOut(const std::string &path, const std::string &reason) const {
        _DLog("%s [Line %d] rejected %@: %@", signature, __LINE__, path, reason);
        noteLeftOut(path, reason);
    }

    void noteLeftOut(const std::string &path, const std::string &reason) const {
        if (launcher_.noteLeftOut) {
            launcher_.noteLeftOut(path, reason);
        }
    }

    void close() {
        beingRead_.erase(files_.back().identity);
        files_.pop_back();
    }

    void readLine(std::string_view line) {
        _DLog("%s [Line %d] option %@", signature, __LINE__, line);
        if (line.empty() || line.front() == '#') {
            return;
        }
        std::string option = launcher_.replaceVariables(line);
        const auto rest = [&](std::string_view keyword) { return option.substr(keyword.size()); };
        if (option.starts_with(setKeyword)) {
            classPath_ = rest(setKeyword);
            note(ConfigurationPart::classPath, *classPath_);
        } else if (option.starts_with(prependKeyword)) {
            // A class path that was never set is the platform's nil, in the text as well.
            const std::string before = rest(prependKeyword) + (classPath_ ? "" : ":(null)");
            classPath_ = before + (classPath_ ? ":" + *classPath_ : "");
            note(ConfigurationPart::classPathBefore, before);
        } else if (option.starts_with(appendKeyword)) {
            if (classPath_) {
                *classPath_ += ":" + rest(appendKeyword);
                note(ConfigurationPart::classPathBehind, rest(appendKeyword));
            }
        } else if (option.starts_with(includeKeyword)) {
            open(includedPath(rest(includeKeyword), deletingLastPathComponent(files_.back().path)));
        } else {
            options_.push_back(std::move(option));
            note(ConfigurationPart::option, options_.back());
        }
    }

    void note(ConfigurationPart part, const std::string &value) const {
        if (launcher_.noteOrigin) {
            launcher_.noteOrigin(part, value, {files_.back().path, files_.back().lineNumber(), ""});
        }
    }

    const Launcher &launcher_;
    std::vector<std::string> &options_;
    OptionalText classPath_;
    const std::string &bundlePath_;
    const bool mayExist_; // the first file
    std::vector<OpenFile> files_;
    int opened_ = 0;                            // files so far, those read again counted again
    std::unordered_set<std::string> beingRead_; // the identities of files_
};

} // namespace

OptionalText Launcher::readOptionsFile(const OptionalText &path, std::vector<std::string> &options,
                                       OptionalText classPath, const std::string &bundlePath, bool mayExist) const {
    return path ? OptionsReader(*this, options, std::move(classPath), bundlePath, mayExist).read(*path) : classPath;
}

OptionalText Launcher::addPredefinedOptions(const std::vector<std::string> &array, std::vector<std::string> &options,
                                            const std::string &bundlePath, OptionalText classPath,
                                            const std::string &key) const {
    for (std::size_t i = 0; i < array.size(); ++i) {
        const std::string &entry = array[i];
        if (entry.starts_with(includeKeyword)) {
            const std::string path = includedPath(std::string_view(entry).substr(includeKeyword.size()),
                                                  deletingLastPathComponent(bundlePath));
            classPath = readOptionsFile(path, options, std::move(classPath), bundlePath);
        } else {
            options.push_back(replaceVariables(entry));
            if (noteOrigin) {
                noteOrigin(ConfigurationPart::option, options.back(), {.key = platform::format("%@/%d", key, i)});
            }
        }
    }
    return classPath;
}

} // namespace kestrav
