#include "support/UnTarFixture.h"

#include <grp.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

using UnTarSafetyTest = UnTarFixture;

TEST_F(UnTarSafetyTest, NothingIsWrittenOutside) {
    const std::string outside = directory / "outside";
    const std::string slashes(300, '/');
    const struct {
        const char *what;
        std::string entries;
        std::string tree;
        int refused;
    } cases[] = {
        {"climbing names", "../outside/secret=x; d/../../outside/secret=x; ../outside/n/; d/../../n/; ..=x; ../", "d/",
         6},
        {"climbing links", "../outside/secret>x; d/..>x; >x; ./>x; ./", "d/", 4},
        {"no climbing", "d/e/; d/e/../../f=x", "d/; d/e/; f=x", 0},
        {"absolute names", outside + "/secret=x; /d/a/; //d/a/b=x", "d/; d/a/; d/a/b=x", 1},
        {"through a link", "l>../outside; l/secret=x; l/n/; l/n/er/; l/s>x", "d/; l>../outside", 4},
        {"absolute link", "l>" + outside + "; l/secret=x; l/n=x", "d/; l>" + outside, 2},
        {"chain", "a>..; b>a/outside; c>b; c/secret=x; a/n=x; a/destination/d/n=x", "a>..; b>a/outside; c>b; d/", 3},
        {"loop", "a>b; b>a; a/x=x; a/y/", "a>b; b>a; d/", 2},
        {"dangling", "a>b; a/x=x; a/y/", "a>b; d/", 2},
        {"link replaced between two files", "l>d; l/a=x; l>../outside; l/secret=x", "d/; d/a=x; l>../outside", 1},
        {"folder replaced between two files", "e/f/; e/f/a=x; e>../outside; e/secret=x; e/f/b=x", "d/; e>../outside",
         2},
        {"link at the path itself", "f>../outside/secret; f=x; e>../outside; e/; e/n=x", "d/; e/; e/n=x; f=x", 0},
        {"removal", "g/; g/l>../../outside; g/m>" + outside + "; g>d; n>../outside; n>d", "d/; g>d; n>d", 0},
        {"long names", ".." + slashes + "outside/secret=x; d" + slashes + "../f=x; l>.." + slashes + "outside; l/n#f",
         "d/; f=x; l>.." + slashes + "outside", 2},
        {"hard links to what was there", "h#../outside/secret; h=x; k#linked; linked=x", "d/; h=x; linked=x", 2},
        {"hard links",
         "l>../outside; h#l/secret; f=x; l/n#f; ../n#f; d#f; f#f; d/#f; h#d; h#f; h=y; k#" + outside + "/secret",
         "d/; f=x; h=y; l>../outside", 7},
        {"hard links to links", "s>../outside/secret; t#s; t=x; u#s",
         "d/; s>../outside/secret; t=x; u>../outside/secret", 0},
        {"inside", "a>d; a/x=x; d/b>" + destination + "/d; c>../destination/d; c/b/n/",
         "a>d; c>../destination/d; d/; d/b>" + destination + "/d; d/n/; d/x=x", 0},
    };
    for (const auto &[what, entries, tree, refused] : cases) {
        SCOPED_TRACE(what);
        refresh();
        if (what == "hard links to what was there"sv) {
            fs::create_hard_link(outside + "/secret", destination + "/linked");
        }
        EXPECT_TRUE(untar(gzip(archiveOf("d/; z=z; " + entries).closed())).complete);
        EXPECT_EQ(treeOf(destination), tree + "; z=z");
        EXPECT_EQ(std::count(log.begin(), log.end(), '+'), refused) << log;
        EXPECT_TRUE(outsideIsUntouched());
    }
}

TEST_F(UnTarSafetyTest, EveryDamagedArchiveEnds) {
    const std::string longName(120, 'n');
    const std::string tar =
        archiveOf("jre/; jre/a=aaa; jre/l>" + longName + "; jre/l=b; " + longName + "#jre/a").closed();
    const std::string packed = gzip(tar);
    for (std::size_t length = 0; length < packed.size(); ++length) {
        EXPECT_FALSE(untar(packed.substr(0, length)).complete) << length;
    }
    refresh();
    ASSERT_TRUE(untar(packed).complete);
    const std::string whole = treeOf(destination);
    const auto changed = [](std::string bytes, std::size_t at, char change) {
        bytes[at] = static_cast<char>(bytes[at] ^ change);
        return bytes;
    };
    for (std::size_t at = 0; at < packed.size(); ++at) {
        for (const char change : {'\x01', '\xff'}) {
            refresh();
            EXPECT_TRUE(!untar(changed(packed, at, change)).complete || treeOf(destination) == whole) << at;
        }
    }
    for (std::size_t length = 0; length < tar.size(); length += 9) {
        (void)untar(gzip(tar.substr(0, length)));
    }
    constexpr std::size_t fieldsRead = 262;
    for (std::size_t at = 0; at < tar.size(); at += at % 512 < fieldsRead ? 1 : 512 - fieldsRead) {
        refresh();                                   // hard links need an empty folder
        (void)untar(gzip(changed(tar, at, '\x4f'))); // among others, "." for "a"
    }
    EXPECT_TRUE(outsideIsUntouched());
}

TEST_F(UnTarSafetyTest, AFullDiskEndsTheExtraction) {
    constexpr std::size_t mebibyte = 1 << 20;
    std::string packed = gzip(ArchiveWriter().file("zeros").size(1024 * mebibyte).unclosed());
    const std::string zeros = gzip(std::string(mebibyte, '\0'));
    for (int count = 0; count < 1024; ++count) {
        packed += zeros;
    }
    directory.write("archive", packed);
    const auto run = [&] {
        const rlimit limit{mebibyte, mebibyte};
        int chunks = 0;
        const bool ready = std::signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
        const bool complete = UnTar::untar(archive, destination, 1, {}, [&] { ++chunks; }).complete;
        _exit(ready && !complete && chunks < 100 && log.find("139] ERROR: stream error") != std::string::npos ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(fs::file_size(destination + "/zeros"), mebibyte);
}

TEST_F(UnTarSafetyTest, WhatCannotBeCreatedEndsTheExtraction) {
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(destination.c_str(), 0555), 0);
    const auto run = [&] {
        constexpr uid_t nobody = 65534;
        const bool ready = geteuid() != 0 || (setgroups(0, nullptr) == 0 && setuid(nobody) == 0);
        const UntarResult result = UnTar::untar(archive, destination, 1);
        std::fputs((log + result.reason).c_str(), stderr);
        _exit(ready && !result.complete ? 0 : 1);
    };
    const std::pair<const char *, const char *> cases[] = {
        {"f=x", "95] Could not create file .* 13 "},
        {"l>f", "could not create symlink"},
        {"d/", "extract creating directory"},
    };
    for (const auto &[entry, logged] : cases) {
        directory.write("archive", gzip(archiveOf(entry).closed()));
        EXPECT_EXIT(run(), testing::ExitedWithCode(0), logged + std::string("(.|\n)*Permission denied$"));
    }
}

TEST_F(UnTarSafetyTest, AWantOfDescriptorsPassesNothingOver) {
    const std::string entries = "d/e/; d/e/a=x; l>d/e; l/b=x; l/../f/; l/../f/c=x; d/l>e";
    directory.write("archive", gzip(archiveOf(entries).closed()));
    ASSERT_TRUE(UnTar::untar(archive, destination, 1).complete);
    const std::string whole = treeOf(destination);
    rlimit all{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &all), 0);
    bool complete = false;
    for (rlim_t count = 3; !complete && count < 100; ++count) {
        refresh();
        const rlimit few{count, all.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
        const UntarResult result = UnTar::untar(archive, destination, 1);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &all), 0);
        complete = result.complete;
        EXPECT_EQ(result.reason, complete ? "" : "Too many open files");
        EXPECT_TRUE(!complete || treeOf(destination) == whole) << treeOf(destination);
    }
    EXPECT_TRUE(complete);
}

} // namespace
} // namespace kestrav::tests
