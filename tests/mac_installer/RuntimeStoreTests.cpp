// Runtimes that outlive a run: what a run finds, and what it makes of that.

#include "mac_installer/launcher/RuntimeStore.h"

#include "platform/Exception.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

namespace kestrav {
namespace {

namespace fs = std::filesystem;

const std::string name(64, 'a');
const std::string other(64, 'b');
const auto never = [] {};

class RuntimeStoreTest : public ::testing::Test {
protected:
    /// Makes a runtime as a run does; false if it was there.
    static bool make(const RuntimeStore &store, const std::string &runtime = name) {
        auto found = store.obtain(runtime, never);
        auto *making = std::get_if<NewRuntime>(&found);
        if (making != nullptr) {
            const fs::path folder = making->makeFolder(1);
            fs::create_directories(folder / "lib/empty");
            std::ofstream(folder / "lib/modules") << "content";
            fs::create_symlink("modules", folder / "lib/link");
            making->finish();
        }
        return making != nullptr;
    }

    tests::TemporaryDirectory directory;
    const RuntimeStore store{directory / "cache/runtimes"};
    const fs::path place = fs::path(store.folder()) / name;
};

TEST_F(RuntimeStoreTest, WhatIsNotWholeIsMadeAnew) {
    ASSERT_TRUE(make(store));
    EXPECT_FALSE(make(store));
    const fs::path lib = place / "jre.bundle/lib";
    const std::pair<const char *, std::function<void()>> damages[] = {
        {"a file is missing", [&] { fs::remove(lib / "modules"); }},
        {"a folder is missing", [&] { fs::remove(lib / "empty"); }},
        {"another size", [&] { fs::resize_file(lib / "modules", 6); }},
        {"another kind", [&] { fs::remove(lib / "link"), fs::create_directory(lib / "link"); }},
        {"a list cut short", [&] { fs::resize_file(place / "list", fs::file_size(place / "list") - 1); }},
        {"no list", [&] { fs::remove(place / "list"); }},
        {"a file in its place", [&] { fs::remove_all(place), directory.write("cache/runtimes/" + name, ""); }},
        {"a link in its place", [&] { fs::rename(place, directory / "moved"), fs::create_symlink("moved", place); }},
        {"halves of others",
         [&] { fs::rename(place, place.string() + ".new"), fs::create_directory(place.string() + ".old"); }},
    };
    for (const auto &[damage, inflict] : damages) {
        inflict();
        EXPECT_FALSE(store.find(name)) << damage;
        EXPECT_TRUE(make(store)) << damage;
        EXPECT_TRUE(store.find(name)) << damage;
        EXPECT_EQ(std::distance(fs::directory_iterator(store.folder()), {}), 2) << damage;
    }
}

TEST_F(RuntimeStoreTest, AFolderThatIsNotTheUsersAloneIsNotUsed) {
    ASSERT_TRUE(make(store));
    const fs::path folder = store.folder();
    const std::pair<std::string, std::function<void()>> cases[] = {
        {"other users have rights in it", [&] { fs::permissions(folder, static_cast<fs::perms>(0710)); }},
        {"other users can put another folder in its place",
         [&] { fs::permissions(folder, fs::perms::owner_all), fs::permissions(folder.parent_path(), fs::perms::all); }},
        {"it is a link",
         [&] {
             fs::permissions(folder.parent_path(), fs::perms::owner_all);
             fs::rename(folder, directory / "elsewhere"), fs::create_directory_symlink("../elsewhere", folder);
         }},
        {"Not a directory", [&] { fs::remove(folder), directory.write("cache/runtimes", ""); }},
        {"it belongs to another user",
         [&] {
             fs::remove(folder), fs::create_directory(folder), fs::permissions(folder, fs::perms::owner_all);
             EXPECT_EQ(::chown(folder.c_str(), 1, 1), 0);
         }},
    };
    for (const auto &[objection, arrange] : cases) {
        if (&objection == &cases[std::size(cases) - 1].first && ::geteuid() != 0) {
            continue; // only root can give a folder away
        }
        arrange();
        EXPECT_FALSE(store.find(name)) << objection;
        try {
            static_cast<void>(store.obtain(name, never));
            ADD_FAILURE() << objection;
        } catch (const platform::Exception &exception) {
            EXPECT_EQ(exception.name(), NotKeptException);
            EXPECT_EQ(exception.reason(), store.folder() + ": " + objection);
        }
    }
}

TEST_F(RuntimeStoreTest, OneMakesItAndTheOthersWaitUnlessTheyAreCancelled) {
    std::atomic<int> made = 0;
    {
        auto making = store.obtain(name, never);
        EXPECT_THROW((void)store.obtain(name, [] { throw platform::Exception("Cancelled", ""); }), platform::Exception);
    } // as if that run had failed
    std::vector<std::thread> runs;
    for (int i = 0; i < 8; ++i) {
        runs.emplace_back([&] { made += make(store) ? 1 : 0; });
    }
    for (std::thread &run : runs) {
        run.join();
    }
    EXPECT_EQ(made, 1);
}

TEST_F(RuntimeStoreTest, WhatIsNotUsedIsRemovedInTime) {
    ASSERT_TRUE(make(store) && make(store, other));
    const auto age = [&](int hours) {
        fs::last_write_time(place, fs::file_time_type::clock::now() - std::chrono::hours(hours));
    };
    directory.write("cache/runtimes/" + other + ".new/half", "");
    directory.write("cache/runtimes/" + name + ".archive", "of a run that was killed just after it had made it");
    age(25);
    {
        const auto user = store.find(name); // marks it as recently used
        EXPECT_FALSE(fs::exists(place.string() + ".archive"));
        age(25);
        store.removeUnused(std::chrono::hours(24));
        EXPECT_TRUE(fs::exists(place));
        EXPECT_TRUE(store.clean().front().inUse);
    }
    EXPECT_FALSE(store.find(other));
    ASSERT_TRUE(make(store, other));
    age(25);
    store.removeUnused(std::chrono::hours(26));
    EXPECT_TRUE(fs::exists(place));
    store.removeUnused(std::chrono::hours(24));
    EXPECT_FALSE(fs::exists(place));
    const auto cleaned = store.clean();
    ASSERT_EQ(cleaned.size(), 1U);
    EXPECT_EQ(cleaned.front().name, other);
    EXPECT_EQ(cleaned.front().size > 7, true);
    EXPECT_TRUE(fs::is_empty(store.folder()));
}

TEST_F(RuntimeStoreTest, ADamagedOneThatIsInUseIsLeftAlone) {
    ASSERT_TRUE(make(store));
    const auto user = store.find(name);
    fs::remove(place / "list");
    platform::testing::replacements().sleep = [](std::int64_t) {};
    EXPECT_THROW((void)store.obtain(name, never), platform::Exception);
    platform::testing::replacements().sleep = nullptr;
    EXPECT_TRUE(fs::exists(place));
}

} // namespace
} // namespace kestrav
