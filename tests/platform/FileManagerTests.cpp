#include "platform/FileManager.h"
#include "platform/PrivateLog.h"
#include "platform/TrustedPath.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace kestrav::platform {
namespace {

using ::testing::Optional;
using ::testing::UnorderedElementsAre;
using tests::TemporaryDirectory;
namespace fs = std::filesystem;

unsigned modeOf(const std::string &path) {
    struct stat found {};
    EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
    return found.st_mode & 07777U;
}

TEST(FileManager, TellsWhatExists) {
    const TemporaryDirectory directory;
    const std::string file = directory.write("file", "x");
    fs::create_symlink("nowhere", directory / "dangling");
    fs::create_directory_symlink(directory.path(), directory / "link");
    const struct {
        std::string path;
        bool exists, isDirectory;
    } cases[] = {
        {file, true, false},
        {directory.path() + "/", true, true},
        {directory / "link", true, true},
        {directory / "dangling", false, false},
        {"", false, false},
        {file + std::string("\0x", 2), false, false},
    };
    for (const auto &[path, exists, isDirectory] : cases) {
        EXPECT_EQ(fileExistsAtPath(path), exists) << path;
        EXPECT_EQ(directoryExistsAtPath(path), isDirectory) << path;
    }
    EXPECT_THAT(contentsOfDirectoryAtPath(directory.path()),
                Optional(UnorderedElementsAre("file", "dangling", "link")));
    EXPECT_EQ(contentsOfDirectoryAtPath(file), std::nullopt);
}

TEST(FileManager, ReadsRegularFilesOnly) {
    const TemporaryDirectory directory;
    const std::string large(300000, 'x');
    EXPECT_EQ(contentsOfFile(directory.write("large", large)), large);
    EXPECT_FALSE(contentsOfFile("/proc/self/stat").value_or("").empty()); // such files have no size
    ASSERT_EQ(::mkfifo((directory / "fifo").c_str(), 0600), 0);
    for (const std::string &path : {directory / "fifo", directory.path(), std::string("/dev/zero"), directory / "no"}) {
        EXPECT_EQ(contentsOfFile(path), std::nullopt) << path;
    }
    EXPECT_EQ(stringWithContentsOfFile(directory.write("bom", "\xEF\xBB\xBFä")), "ä");
    EXPECT_EQ(stringWithContentsOfFile(directory.write("latin1", "\xE4")), std::nullopt);
}

TEST(FileManager, CreatesDirectories) {
    const TemporaryDirectory directory;
    EXPECT_TRUE(createDirectoryAtPath(directory / "a/b", false));
    EXPECT_FALSE(createDirectoryAtPath(directory / "a/b/c/", true, 0500));
    EXPECT_EQ(modeOf(directory / "a/b/c"), 0500U);
    EXPECT_FALSE(createDirectoryAtPath(directory / "a/b/c", true));
    EXPECT_EQ(createDirectoryAtPath(directory / "a/b", false), std::errc::file_exists);
    directory.write("file", "");
    EXPECT_TRUE(createDirectoryAtPath(directory / "file/x/y", true));
}

TEST(FileManager, RemovesWholeTreesAndNothingElse) {
    const TemporaryDirectory directory;
    const std::string kept = directory.write("outside/kept", "x");
    std::string deep = "tree";
    for (int depth = 0; depth < 300; ++depth) {
        deep += "/d";
    }
    directory.write(deep + "/file", "x");
    directory.write("tree/readonly/file", "x");
    fs::create_directory_symlink(directory / "outside", directory / "tree/link");
    fs::permissions(directory / "tree/readonly", fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(directory / "tree", fs::perms::owner_read);
    fs::create_directory_symlink(directory / "outside", directory / "link");

    rlimit all{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &all), 0);
    const rlimit fewerThanLevels{64, all.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &fewerThanLevels), 0);
    EXPECT_FALSE(removeItemAtPath(directory / "tree/"));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &all), 0);
    EXPECT_FALSE(removeItemAtPath(directory / "link/"));
    EXPECT_THAT(contentsOfDirectoryAtPath(directory.path()), Optional(UnorderedElementsAre("outside")));
    EXPECT_EQ(contentsOfFile(kept), "x");
    EXPECT_EQ(removeItemAtPath(directory / "tree"), std::errc::no_such_file_or_directory);

    // Paths that must not be removed by surprise: the root, the working directory, the part before a NUL byte.
    for (const std::string &path : {std::string(), std::string("/"), directory / "outside/.", directory / "outside/..",
                                    directory / "outside" + std::string("\0", 1)}) {
        EXPECT_TRUE(removeItemAtPath(path)) << path;
    }
    EXPECT_TRUE(directoryExistsAtPath(directory / "outside"));
}

TEST(FileManager, ReplacesFilesAtomically) {
    const TemporaryDirectory directory;
    const std::string file = directory / "new/folder/file";
    ASSERT_FALSE(writeFileAtomically(file, "one"));
    EXPECT_EQ(modeOf(file), 0600U);
    fs::permissions(file, static_cast<fs::perms>(0644));
    ASSERT_FALSE(writeFileAtomically(file, "two"));
    EXPECT_EQ(modeOf(file), 0644U);

    fs::create_symlink("new/folder/file", directory / "link");
    ASSERT_FALSE(writeFileAtomically(directory / "link", "three"));
    EXPECT_TRUE(fs::is_symlink(directory / "link"));
    EXPECT_EQ(contentsOfFile(file), "three");
    fs::create_symlink("not-yet", directory / "dangling");
    ASSERT_FALSE(writeFileAtomically(directory / "dangling", "four"));
    EXPECT_EQ(contentsOfFile(directory / "not-yet"), "four");

    EXPECT_TRUE(writeFileAtomically(directory / "new/folder", "x"));
    EXPECT_TRUE(writeFileAtomically("/dev/null", "x"));
    EXPECT_THAT(contentsOfDirectoryAtPath(directory / "new/folder"), Optional(UnorderedElementsAre("file")));
}

TEST(TrustedPath, IsNobodyElsesToMake) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make files of another user";
    }
    constexpr uid_t stranger = 4242;
    const TemporaryDirectory directory;
    const std::string shared = directory.makeDirectory("shared");
    const std::string theirFolder = directory.makeDirectory("shared/folder");
    const std::string bundle = directory.makeDirectory("Their.app");
    const std::string own = directory.write("shared/own", "");
    const std::string theirs = directory.write("shared/theirs", "");
    const std::string inTheirs = directory.write("shared/folder/own", "");
    const std::string inGroups = directory.write("group/theirs", "");
    const std::string open = directory.write("open", "");
    fs::create_symlink("../group/theirs", shared + "/link");
    fs::create_symlink("shared/theirs", directory / "way");
    fs::create_symlink("loop", directory / "loop");
    for (const std::string &path : {theirFolder, bundle, theirs, inGroups, shared + "/link"}) {
        ASSERT_EQ(::lchown(path.c_str(), stranger, stranger), 0);
    }
    fs::permissions(shared, static_cast<fs::perms>(01777));
    fs::permissions(directory / "group", static_cast<fs::perms>(0775));
    fs::permissions(open, static_cast<fs::perms>(0646));
    const std::string otherUsers = " belongs to another user and lies in a folder where everybody can create files";
    const struct {
        std::string path, bundle;
        std::optional<std::string> reason;
    } cases[] = {
        {own, "/", std::nullopt},
        {shared + "/missing", "/", std::nullopt},
        {directory / "loop", "/", std::nullopt},
        {inGroups, "/", std::nullopt},
        {theirs, bundle, std::nullopt},
        {theirs, "/", theirs + otherUsers},
        {inTheirs, "/", theirFolder + otherUsers},
        {shared + "/link", "/", shared + "/link" + otherUsers},
        {directory / "way", "/", theirs + otherUsers},
        {directory.path() + "/./group/..//shared/theirs", "/",
         directory.path() + "/group/../shared/theirs" + otherUsers},
        {shared + "/link", bundle, std::nullopt},
        {open, bundle, "everybody can write to it"},
    };
    for (const auto &[path, itsBundle, reason] : cases) {
        EXPECT_EQ(reasonToDistrust(path, itsBundle), reason) << path;
    }
    // A file that was exchanged since it was opened: what is there now says nothing about it.
    const FileDescriptor opened = FileDescriptor::openRegularFile(theirs);
    EXPECT_EQ(reasonToDistrust(opened, own, "/"), own + otherUsers);
    EXPECT_EQ(reasonToDistrust(opened, own, bundle), std::nullopt);
    EXPECT_EQ(reasonToDistrust(FileDescriptor::openRegularFile(open), own, bundle), "everybody can write to it");
}

TEST(PrivateLog, IsPutAsideOnceItIsFull) {
    const TemporaryDirectory directory;
    const std::string log = directory / "new/state/log";
    const std::string third(privateLogLimit / 3, 'x');
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(appendToPrivateLog(log, third)) << i;
    }
    EXPECT_EQ(contentsOfFile(log), third);
    EXPECT_EQ(contentsOfFile(log + ".1"), third + third + third);
    EXPECT_EQ(modeOf(log), 0600U);
    EXPECT_EQ(modeOf(directory / "new/state"), 0700U);
    ASSERT_EQ(::mkfifo((directory / "new/state/fifo").c_str(), 0600), 0);
    EXPECT_TRUE(appendToPrivateLog(directory / "new/state/fifo", third));
    fs::permissions(directory / "new/state", fs::perms::all);
    EXPECT_TRUE(appendToPrivateLog(log, third));
    EXPECT_EQ(contentsOfFile(log), third);
}

TEST(FileManager, FindsTheUsersDirectories) {
    testing::setEnvironment({{"HOME", "/home/somebody"}});
    EXPECT_TRUE(directoryExistsAtPath(temporaryDirectory().value_or("")));
    EXPECT_FALSE(temporaryDirectory().value_or("/").ends_with('/'));
    EXPECT_EQ(homeDirectory(), "/home/somebody");
    testing::setEnvironment({});
    EXPECT_EQ(homeDirectory(), getpwuid(getuid())->pw_dir);
}

} // namespace
} // namespace kestrav::platform
