#include "RuntimeArchive.h"

#include "GzipMemberWriter.h"
#include "Interruption.h"
#include "Request.h"
#include "mac_installer/archive/UnTar.h"
#include "mac_installer/launcher/RuntimeHome.h"

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>

namespace kestrav::tools {

namespace {

constexpr std::uint64_t largestFile = std::numeric_limits<std::int32_t>::max();

/// When all files of an archive are said to have changed, in seconds since 1970. The launcher takes no times from
/// archives, and with their own ones no two archives of the same files would be alike. The variable is that of
/// https://reproducible-builds.org/specs/source-date-epoch/.
std::int64_t timeOfFiles() {
    constexpr std::int64_t latest = 077777777777; // eleven octal digits of a header
    std::int64_t time = 315'532'800;              // the beginning of 1980, which every kind of archive can hold
    constexpr const char *variable = "SOURCE_DATE_EPOCH";
    const char *asked = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
    const std::string_view text(asked == nullptr ? "" : asked);
    if (!text.empty()) { // an empty one counts as not set
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), time);
        if (error != std::errc() || end != text.data() + text.size() || time < 0 || time > latest) {
            throw Refusal(std::string(variable) + " is \"" + asked + "\", not a number of seconds since 1970");
        }
    }
    return time;
}

void requireExtractable(const TreeEntry &entry, const std::string &name) {
    if (entry.size > largestFile) {
        throw Refusal("The runtime cannot travel as an archive (but with --runtime-form folder): \"" + name +
                      "\" has 2 GiB or more");
    }
}

class Writer {
public:
    Writer(const std::string &path, Progress::Work &work)
        : path_(path), work_(work), file_(path), archive_(archive_write_new()) {
        if (archive_ == nullptr || entry_ == nullptr) {
            throw std::bad_alloc();
        }
        check(archive_write_set_format_pax_restricted(archive_.get()));
        check(archive_write_add_filter_none(archive_.get()));
        check(archive_write_set_bytes_in_last_block(archive_.get(), 1));
        check(archive_write_open2(archive_.get(), &file_, nullptr, writePiece, nullptr, nullptr));
    }

    void add(const TreeEntry &entry) {
        const bool isDirectory = entry.kind == TreeEntry::Kind::directory;
        const bool isLink = entry.kind == TreeEntry::Kind::link;
        const std::string name = entry.name + (isDirectory ? "/" : "");
        requireExtractable(entry, name);
        archive_entry *header = archive_entry_clear(entry_.get());
        archive_entry_set_pathname(header, name.c_str());
        archive_entry_set_filetype(header, isDirectory ? AE_IFDIR : isLink ? AE_IFLNK : AE_IFREG);
        archive_entry_set_perm(header, entry.mode);
        archive_entry_set_mtime(header, time_, 0);
        archive_entry_set_size(header, static_cast<la_int64_t>(entry.size));
        if (isLink) {
            archive_entry_set_symlink(header, entry.target.c_str());
        }
        check(archive_write_header(archive_.get(), header));
        if (entry.kind == TreeEntry::Kind::file) {
            readContent(entry, [this](std::string_view piece) { addData(piece); });
        }
    }

    /// Ends the archive; returns how many bytes there were before compression.
    std::uint64_t close() {
        check(archive_write_close(archive_.get()));
        if (!file_.close()) {
            refuse(std::generic_category().message(errno));
        }
        return static_cast<std::uint64_t>(archive_filter_bytes(archive_.get(), 0));
    }

private:
    struct Free {
        void operator()(archive *writer) const { archive_write_free(writer); }
        void operator()(archive_entry *entry) const { archive_entry_free(entry); }
    };

    /// Called by libarchive, with the writer of the file.
    static la_ssize_t writePiece(archive *writer, void *file, const void *bytes, std::size_t size) {
        if (static_cast<GzipMemberWriter *>(file)->write({static_cast<const char *>(bytes), size})) {
            return static_cast<la_ssize_t>(size);
        }
        archive_set_error(writer, errno, "could not be written");
        return ARCHIVE_FATAL;
    }

    [[noreturn]] void refuse(const std::string &reason) const {
        throw Refusal("Could not write " + path_ + ": " + reason);
    }

    void check(int status) const {
        if (status != ARCHIVE_OK) {
            const char *reason = archive_error_string(archive_.get());
            const int cause = archive_errno(archive_.get()); // below zero: libarchive's own
            refuse(cause > 0 ? std::generic_category().message(cause) : reason == nullptr ? "out of memory" : reason);
        }
    }

    void addData(std::string_view bytes) {
        work_.advance(bytes.size());
        while (!bytes.empty()) {
            const la_ssize_t count = archive_write_data(archive_.get(), bytes.data(), bytes.size());
            if (count <= 0) {
                check(ARCHIVE_FATAL);
            }
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }

    std::string path_;
    Progress::Work &work_;
    std::int64_t time_ = timeOfFiles();
    GzipMemberWriter file_;
    std::unique_ptr<archive, Free> archive_;
    std::unique_ptr<archive_entry, Free> entry_{archive_entry_new()};
};

} // namespace

std::uint64_t writeRuntimeArchive(const FileTree &tree, const std::string &path, const Progress &progress) {
    Progress::Work work(progress, "packing the runtime", tree.size());
    Writer writer(path, work);
    for (const TreeEntry &entry : tree.entries) {
        raiseIfInterrupted();
        writer.add(entry);
    }
    return writer.close();
}

std::string extractRuntimeArchive(const std::string &archive, const std::string &folder) {
    std::filesystem::create_directory(folder);
    const UntarResult result = UnTar::untar(archive, folder, 1, {}, raiseIfInterrupted);
    if (!result.complete) {
        throw Refusal("The runtime " + archive + " could not be extracted: " + result.reason);
    }
    return extractedRuntime(folder);
}

} // namespace kestrav::tools
