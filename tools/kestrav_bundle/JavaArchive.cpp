#include "JavaArchive.h"

#include "Interruption.h"
#include "Request.h"
#include "platform/FileDescriptor.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <system_error>

namespace kestrav::tools {

namespace {

constexpr std::size_t blockSize = 65536;

class Reader {
public:
    explicit Reader(const std::string &path)
        : path_(path), file_(platform::FileDescriptor::openRegularFile(path)), archive_(archive_read_new()) {
        if (!file_.valid()) {
            throw Refusal(path + " cannot be read: " + std::generic_category().message(errno));
        }
        if (archive_ == nullptr) {
            throw std::bad_alloc();
        }
        // The other reader of this format takes the entries as they come, and so a part of an archive for a whole one.
        require(archive_read_support_format_zip_seekable(archive_.get()) == ARCHIVE_OK);
        require(archive_read_open_fd(archive_.get(), file_.get(), blockSize) == ARCHIVE_OK);
    }

    /// The next entry; null at the end.
    archive_entry *next() {
        raiseIfInterrupted();
        archive_entry *entry = nullptr;
        const int status = archive_read_next_header(archive_.get(), &entry);
        require(status == ARCHIVE_EOF || status >= ARCHIVE_WARN);
        return status == ARCHIVE_EOF ? nullptr : entry;
    }

    /// The first bytes of the entry that was found last.
    std::string content(std::size_t most) {
        std::string content;
        std::string piece(std::min(most, blockSize), '\0');
        while (content.size() < most) {
            raiseIfInterrupted();
            const la_ssize_t count = archive_read_data(archive_.get(), piece.data(), piece.size());
            require(count >= 0);
            if (count == 0) {
                break;
            }
            content.append(piece, 0, static_cast<std::size_t>(count));
        }
        content.resize(std::min(content.size(), most));
        return content;
    }

private:
    struct Close {
        void operator()(archive *reader) const { archive_read_free(reader); }
    };

    void require(bool succeeded) const {
        if (!succeeded) {
            const char *reason = archive_error_string(archive_.get());
            throw Refusal(path_ + " cannot be read as a Java archive" +
                          (reason == nullptr ? "" : std::string(": ") + reason));
        }
    }

    const std::string &path_;
    platform::FileDescriptor file_;
    std::unique_ptr<archive, Close> archive_;
};

} // namespace

std::optional<std::string> contentInArchive(const std::string &path, std::string_view name, std::size_t most) {
    Reader reader(path);
    while (archive_entry *entry = reader.next()) {
        const char *entryName = archive_entry_pathname(entry);
        if (entryName != nullptr && entryName == name) {
            return reader.content(most);
        }
    }
    return std::nullopt;
}

} // namespace kestrav::tools
