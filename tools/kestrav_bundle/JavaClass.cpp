#include "JavaClass.h"

#include "Request.h"
#include "platform/FileDescriptor.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <archive.h>
#include <archive_entry.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

namespace kestrav::tools {

namespace {

constexpr const char *manifestName = "META-INF/MANIFEST.MF";

struct Close {
    void operator()(archive *reader) const { archive_read_free(reader); }
};

/// The content of an entry of a zip archive; empty if it has none of that name.
std::optional<std::string> contentInArchive(const std::string &path, std::string_view name) {
    const auto file = platform::FileDescriptor::openRegularFile(path);
    if (!file.valid()) {
        throw Refusal(path + " cannot be read: " + std::generic_category().message(errno));
    }
    const std::unique_ptr<archive, Close> reader(archive_read_new());
    const auto refuse = [&] {
        const char *reason = archive_error_string(reader.get());
        throw Refusal(path + " cannot be read as a Java archive" + (reason == nullptr ? "" : ": ") +
                      (reason == nullptr ? "" : reason));
    };
    constexpr std::size_t blockSize = 65536;
    archive_read_support_format_zip(reader.get());
    if (archive_read_open_fd(reader.get(), file.get(), blockSize) != ARCHIVE_OK) {
        refuse();
    }
    archive_entry *entry = nullptr;
    int status = ARCHIVE_OK;
    while ((status = archive_read_next_header(reader.get(), &entry)) >= ARCHIVE_WARN && status != ARCHIVE_EOF) {
        const char *entryName = archive_entry_pathname(entry);
        if (entryName == nullptr || entryName != name) {
            continue;
        }
        std::string content;
        std::string piece(blockSize, '\0');
        la_ssize_t count = 0;
        while ((count = archive_read_data(reader.get(), piece.data(), piece.size())) > 0) {
            content.append(piece, 0, static_cast<std::size_t>(count));
        }
        if (count < 0) {
            refuse();
        }
        return content;
    }
    if (status != ARCHIVE_EOF) {
        refuse();
    }
    return std::nullopt;
}

/// The lines of a manifest's first section, put together again where they were folded.
std::vector<std::string> mainAttributes(std::string_view manifest) {
    std::vector<std::string> lines;
    for (std::string &line :
         platform::componentsSeparatedBy(platform::replacingOccurrences(manifest, "\r\n", "\n"), "\r\n")) {
        if (line.empty()) {
            break;
        }
        if (line.starts_with(' ') && !lines.empty()) {
            lines.back() += line.substr(1);
        } else {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

} // namespace

Manifest manifestOf(const std::string &jar) {
    const std::string content = contentInArchive(jar, manifestName).value_or("");
    if (content.starts_with("\xEF\xBB\xBF")) {
        throw Refusal(jar + ": its manifest begins with a byte-order mark, which Java cannot read");
    }
    constexpr std::array forJarAlone{"Add-Exports", "Add-Opens", "Enable-Native-Access", "Launcher-Agent-Class"};
    Manifest manifest;
    for (const std::string &line : mainAttributes(content)) {
        const std::size_t colon = std::min(line.find(':'), line.size() - 1);
        const std::string name = line.substr(0, colon);
        const auto value = platform::trimming(std::string_view(line).substr(colon + 1), " \t");
        if (strcasecmp(name.c_str(), "Main-Class") == 0) {
            manifest.mainClass = platform::replacingOccurrences(value, "/", ".");
        } else if (strcasecmp(name.c_str(), "Class-Path") == 0) {
            manifest.classPath = platform::componentsSeparatedBy(value, " ");
            std::erase(manifest.classPath, "");
        } else if (std::any_of(forJarAlone.begin(), forJarAlone.end(),
                               [&](const char *each) { return strcasecmp(name.c_str(), each) == 0; })) {
            manifest.forJarAlone.push_back(line);
        }
    }
    return manifest;
}

std::optional<int> javaVersionOfClass(const std::string &archiveOrFolder, std::string_view className) {
    std::string name(className);
    std::replace(name.begin(), name.end(), '.', '/');
    name += ".class";
    const platform::FileManager files;
    const auto content = files.directoryExistsAtPath(archiveOrFolder)
                             ? platform::contentsOfFile(platform::appendingPathComponent(archiveOrFolder, name))
                             : contentInArchive(archiveOrFolder, name);
    if (!content) {
        return std::nullopt;
    }
    // A class file begins with magic, minor version and major version, big-endian.
    constexpr std::string_view magic = "\xCA\xFE\xBA\xBE";
    constexpr std::size_t majorVersion = 6;
    constexpr int majorVersionOfJava1 = 44;
    if (!content->starts_with(magic) || content->size() < majorVersion + 2) {
        throw Refusal(name + " in " + archiveOrFolder + " is no class file");
    }
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>((*content)[index]); };
    return byte(majorVersion) * 256 + byte(majorVersion + 1) - majorVersionOfJava1;
}

} // namespace kestrav::tools
