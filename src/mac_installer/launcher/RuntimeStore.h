#pragma once

#include "platform/FileLock.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

namespace kestrav {

/// Name of the exception that says why a runtime cannot be kept. The run goes on without keeping one.
inline constexpr const char *NotKeptException = "NotKeptException";

/// A runtime of the store that is whole. It stays in use until this object and each child that was given the lock have
/// ended.
class KeptRuntime {
public:
    /// The runtime's folder: a bundle, or its home.
    [[nodiscard]] const std::string &path() const { return path_; }
    /// What a child that uses the runtime keeps open.
    [[nodiscard]] int lock() const { return lock_.descriptor(); }
    /// Keeps the runtime in use also when this process executes another file. An error code if that fails.
    [[nodiscard]] std::error_code keepThroughExecution() const { return lock_.keepThroughExecution(); }

private:
    friend class RuntimeStore;
    KeptRuntime(std::string path, platform::FileLock lock) : path_(std::move(path)), lock_(std::move(lock)) {}

    std::string path_;
    platform::FileLock lock_;
};

/// A runtime that this run alone puts into the store. What was not finished is removed with this object.
class NewRuntime {
public:
    NewRuntime(NewRuntime &&) = default;
    NewRuntime &operator=(NewRuntime &&) = delete;
    NewRuntime(const NewRuntime &) = delete;
    NewRuntime &operator=(const NewRuntime &) = delete;
    ~NewRuntime();

    /// Where the archive is downloaded to. It outlives this object, so that the next run can go on with it.
    [[nodiscard]] std::string archivePath() const;
    /// True if an earlier run has downloaded all of it.
    [[nodiscard]] bool hasArchive() const;

    void removeArchive() const;

    /// Makes the folder of the runtime, empty, and returns its path. Raises if there is no room for so many bytes, or
    /// if programs cannot be started from it.
    [[nodiscard]] std::string makeFolder(std::optional<std::int64_t> room) const;

    /// Removes the folder with all it holds.
    void removeFolder() const;

    /// Puts the folder with all it holds by now into the store, at once and safe from a loss of power, and removes the
    /// archive. Raises if that fails.
    void finish() const;

private:
    friend class RuntimeStore;
    NewRuntime(std::string folder, std::string name, platform::FileLock lock)
        : folder_(std::move(folder)), name_(std::move(name)), lock_(std::move(lock)) {}

    std::string folder_;
    std::string name_;
    platform::FileLock lock_;
};

/// The folder of the runtimes that outlive a run, which the user's applications share. Processes agree on each runtime
/// by a lock file beside it: shared by those that use the runtime, exclusive for the one that makes or removes it.
class RuntimeStore {
public:
    /// The folder need not exist.
    explicit RuntimeStore(std::string folder) : folder_(std::move(folder)) {}

    [[nodiscard]] const std::string &folder() const { return folder_; }

    /// The runtime of that name, if it is there and whole, as its list tells. One look; waits for nobody.
    [[nodiscard]] std::optional<KeptRuntime> find(const std::string &name) const;

    /// Its path, if it is there and whole; for a look that changes nothing, not even its last use.
    [[nodiscard]] std::optional<std::string> look(const std::string &name) const;

    /// Why a runtime of so many bytes could not be kept, as far as a look tells; empty if it could.
    [[nodiscard]] std::string objection(std::int64_t room) const;

    /// Where it is put, and where its archive is downloaded to before.
    [[nodiscard]] std::string placeOf(const std::string &name) const;
    [[nodiscard]] std::string archiveOf(const std::string &name) const;

    /// What `find` finds, or the right to make it. Makes the folder. Waits while another run makes it; `checkpoint` is
    /// called again and again meanwhile, and what it raises passes through. Raises if the folder will not do: see
    /// `NotKeptException`.
    [[nodiscard]] std::variant<KeptRuntime, NewRuntime> obtain(const std::string &name,
                                                               const std::function<void()> &checkpoint) const;

    /// Removes what nobody uses and nobody has used for so long, and what killed runs have left.
    void removeUnused(std::chrono::hours age) const;

    /// What was kept, as the cleaning found it.
    struct Entry {
        std::string name;
        std::int64_t size = 0;                         ///< bytes
        std::chrono::system_clock::time_point lastUse; ///< to the second
        bool isRuntime = false;                        ///< else the part of one, or of a download
        bool inUse = false;
        std::string failure; ///< why it could not be removed, if it could not
    };
    /// Removes what nobody uses, and tells of all that was there. Raises if the folder is not the user's alone.
    [[nodiscard]] std::vector<Entry> clean() const;

private:
    friend class NewRuntime;
    // What lies in the folder, behind a runtime's name.
    static constexpr const char *lockSuffix = ".lock";
    static constexpr const char *newSuffix = ".new";         ///< a runtime in the making
    static constexpr const char *oldSuffix = ".old";         ///< one that is being removed
    static constexpr const char *archiveSuffix = ".archive"; ///< a downloaded archive; parts of one end with more

    [[nodiscard]] bool mayHold(const std::string &name) const;
    [[nodiscard]] std::optional<KeptRuntime> use(const std::string &name) const;
    [[nodiscard]] NewRuntime prepare(const std::string &name, platform::FileLock lock) const;
    /// What there is of each runtime: the suffixes, an empty one for the runtime itself.
    [[nodiscard]] std::map<std::string, std::set<std::string>> contents() const;
    [[nodiscard]] static std::error_code remove(const std::string &place, const std::string &suffix);

    std::string folder_;
};

} // namespace kestrav
