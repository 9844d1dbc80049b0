#include "platform/TemporaryFolder.h"

#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "platform/Task.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

namespace kestrav::platform {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using Mode = FileLock::Mode;

class TemporaryFolderTest : public ::testing::Test {
protected:
    TemporaryFolderTest() {
        testing::setEnvironment({{"TMPDIR", first}, {"HOME", directory / "home"}});
        testing::replacements().systemRoot = directory / "root";
    }
    ~TemporaryFolderTest() override { testing::replacements() = {}; }

    /// The directory that holds the folder.
    static std::string placeOf(const TemporaryFolder &folder) { return fs::path(folder.path()).parent_path(); }

    tests::TemporaryDirectory directory;
    const std::string first = directory.makeDirectory("first");
    const std::string second = directory / "home/.cache/kestrav";
};

/// Makes this process root in namespaces of its own, where it may mount, if the system allows that.
bool mayMount() {
    const std::string user = "0 " + std::to_string(geteuid()) + " 1";
    const std::string group = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user;
    std::ofstream("/proc/self/gid_map") << group;
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

TEST_F(TemporaryFolderTest, LiesInTheFirstPlaceThatWillDo) {
    const struct {
        mode_t mode;
        uid_t owner;
        const char *reason;
    } cases[] = {
        {0700, 0, ""},
        {01777, 0, ""},
        {0777, 0, "other users can change what lies there"},
        {0700, 1, "it belongs to another user"},
    };
    for (const auto &[mode, owner, reason] : cases) {
        if (owner != 0 && (geteuid() != 0 || chown(first.c_str(), owner, owner) != 0)) {
            continue; // only root can give a folder away
        }
        ASSERT_EQ(chmod(first.c_str(), mode), 0);
        const std::string likely = TemporaryFolder::likelyPlace(1, 1);
        TemporaryFolder folder = TemporaryFolder::create(1, 1);
        EXPECT_EQ(placeOf(folder), likely);
        EXPECT_EQ(placeOf(folder), *reason == '\0' ? first : second) << reason;
        EXPECT_THAT(folder.passedOver(), HasSubstr(reason));
        EXPECT_FALSE(folder.remove());
    }
    fs::remove(first);
    EXPECT_EQ(placeOf(TemporaryFolder::create(1, 1)), second);

    constexpr std::int64_t tooMuch = std::int64_t{1} << 60;
    EXPECT_EQ(placeOf(TemporaryFolder::create(tooMuch, 1)), second);
    try {
        static_cast<void>(TemporaryFolder::likelyPlace(tooMuch, tooMuch));
        ADD_FAILURE();
    } catch (const Exception &exception) {
        EXPECT_THAT(exception.reason(), HasSubstr("TMPDIR nor another: " + first + ": No such file or directory; " +
                                                  second + ": it has room for "));
        EXPECT_THAT(exception.reason(), HasSubstr("/root/var/tmp: No such file or directory"));
    }
}

TEST_F(TemporaryFolderTest, TheEnvironmentNamesTheFirstPlace) {
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {first + "//", first}, {"relative", "/tmp"}, {"", "/tmp"}, {directory / "missing", {}}};
    for (const auto &[variable, expected] : cases) {
        testing::setEnvironment({{"TMPDIR", variable}});
        EXPECT_EQ(temporaryDirectory(), expected) << variable;
    }
    testing::setEnvironment({});
    EXPECT_EQ(temporaryDirectory(), "/tmp");
}

TEST_F(TemporaryFolderTest, MountsAreHeeded) {
    const std::string kept = directory.write("outside/kept", "x");
    const auto run = [&] {
        if (!mayMount()) {
            _exit(2);
        }
        bool good = mount("none", first.c_str(), "tmpfs", MS_NOEXEC, "mode=0700") == 0 &&
                    TemporaryFolder::likelyPlace(1, 1) == second;
        TemporaryFolder folder = TemporaryFolder::create(1, 1);
        good = good && folder.passedOver() == first + ": programs cannot be started from it" && fs::is_empty(first);
        fs::create_directories(folder.path() + "/jre/mounted");
        const std::string mounted = folder.path() + "/jre/mounted";
        good = good && mount((directory / "outside").c_str(), mounted.c_str(), nullptr, MS_BIND, nullptr) == 0;
        _exit(good && folder.remove() == std::errc::device_or_resource_busy && fs::exists(kept) ? 0 : 1);
    };
    const pid_t child = fork();
    if (child == 0) {
        run();
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 2) {
        GTEST_SKIP() << "this machine lets nobody mount in a namespace of his own";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(TemporaryFolderTest, OnlyWhatKilledRunsHaveLeftIsRemoved) {
    const TemporaryFolder held = TemporaryFolder::create(1, 1);
    const auto run = [] {
        const TemporaryFolder folder = TemporaryFolder::create(1, 1);
        fs::create_directories(folder.path() + "/jre/lib");
        _exit(0);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
    const std::string foreign = directory.makeDirectory("first/0123ABCD-0123-0123-0123-0123456789AB-1-2-3");
    for (const char *file : {"-4", "-5/.kestrav-lock-new"}) { // killed long ago, before the lock was in its place
        const std::string early = foreign + std::string(file).substr(0, 2);
        fs::create_directory(early);
        std::ofstream(foreign + file).close();
        fs::last_write_time(early, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    const auto entries = [&] { return std::distance(fs::directory_iterator(first), {}); };
    EXPECT_EQ(entries(), 5);
    TemporaryFolder folder = TemporaryFolder::create(1, 1);
    EXPECT_EQ(entries(), 3);
    EXPECT_TRUE(fs::exists(held.path()) && fs::exists(foreign) && fs::exists(folder.path()));
    EXPECT_FALSE(folder.remove());
    EXPECT_FALSE(folder.remove());
    EXPECT_EQ(entries(), 2);
}

TEST_F(TemporaryFolderTest, ALockIsSharedWaitedForAndInherited) {
    const std::string path = directory / "lock";
    auto lock = FileLock::tryLock(path, Mode::shared);
    EXPECT_TRUE(lock && FileLock::tryLock(path, Mode::shared));
    EXPECT_FALSE(FileLock::tryLock(path, Mode::exclusive));
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_FALSE(FileLock::tryLock(directory / "missing/lock", Mode::shared));

    Task child("/bin/sh", {"-c", "sleep 1000"});
    child.setOwnGroup();
    child.keepOpen(lock->descriptor());
    child.launch();
    lock.reset();
    int checks = 0;
    const auto end = [&] { ++checks == 3 ? child.sendSignal(SIGKILL) : void(); };
    EXPECT_TRUE(FileLock::lock(path, Mode::exclusive, end));
    EXPECT_GE(checks, 3);
    child.waitUntilExit();

    lock = FileLock::tryLock(path, Mode::exclusive);
    const auto cancel = [] { throw Exception("Cancelled", ""); };
    EXPECT_THROW((void)FileLock::lock(path, Mode::shared, cancel), Exception);
    fs::remove(path);
    EXPECT_TRUE(FileLock::tryLock(path, Mode::exclusive)) << "of the file that takes the removed one's place";
}

} // namespace
} // namespace kestrav::platform
