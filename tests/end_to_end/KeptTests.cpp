// A runtime from an archive that outlives the run.

#include "Launch.h"
#include "Tool.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace kestrav::tests {
namespace {

using testing::HasSubstr;

/// A bundle that ships an archive, keeps its runtime, and has its own cache folder.
struct KeepingBundle : AppBundle {
    explicit KeepingBundle(const std::string &archive = gzip(runtimeBundle().closed())) {
        javaVM["SearchSequence"] = Array{};
        info["ksv.keepRuntime"] = true;
        folder().write("Test.app/Contents/Resources/app/jre.tar.gz", archive);
    }
    [[nodiscard]] std::string cache(const std::string &name = "cache") const { return folder() / name; }
    [[nodiscard]] std::unique_ptr<Launch> start(const std::string &cacheFolder,
                                                const char *variable = "FAKE_NOTHING") const {
        return std::make_unique<Launch>(
            *this, Start{.environment = {{"XDG_CACHE_HOME", cacheFolder}, {"KESTRAV_LOG", "yes"}, {variable, "1"}}});
    }
};

/// A bundle that downloads the runtime that it keeps, from a server that counts the requests.
struct DownloadingBundle : KeepingBundle {
    explicit DownloadingBundle(std::string served = gzip(runtimeBundle().closed())) : archive(std::move(served)) {
        fs::remove_all(path() + "/Contents/Resources/app");
        info["ksv.jreLocation"] = server.url("/jre");
    }
    std::string archive;
    std::atomic<int> requests = 0;
    const LoopbackServer server{[this](Connection &connection) {
        static_cast<void>(connection.readRequest());
        ++requests;
        connection.send(ok(archive));
    }};
};

/// The suffixes of the names in a store, except locks.
std::set<std::string> kept(const fs::path &cache) {
    std::set<std::string> suffixes;
    for (const std::string &name : namesIn(cache / "kestrav/runtimes")) {
        suffixes.insert(name.substr(64));
    }
    suffixes.erase(".lock");
    return suffixes;
}

TEST(Kept, WhateverTheCacheIsLikeTheProgramRuns) {
    const KeepingBundle bundle;
    ASSERT_EQ(bundle.start(bundle.cache())->wait(), 0);
    const fs::path whole = bundle.cache() + "/kestrav/runtimes";
    const std::string name = namesIn(whole).front().substr(0, 64);
    const fs::path java = fs::path(name) / "jre.bundle/Contents/Home/bin/java";
    struct Case {
        const char *what;
        std::function<void(const fs::path &)> arrange; // changes a copy of the complete store
        const char *obstacle;                          // why it is not kept
    };
    const Case cases[] = {
        {"whole", [](const fs::path &) {}, ""},
        {"damaged", [&](const fs::path &folder) { fs::resize_file(folder / java, 1); }, ""},
        {"halves",
         [&](const fs::path &folder) {
             fs::rename(folder / name, folder / (name + ".new"));
             fs::create_directories(folder / (name + ".old/jre.bundle"));
             std::ofstream(folder / (name + ".archive.part")) << "half";
         },
         ""},
        {"link",
         [&](const fs::path &folder) {
             fs::rename(folder, folder.string() + ".real");
             fs::create_directory_symlink("runtimes.real", folder);
         },
         "it is a link"},
        {"open", [](const fs::path &folder) { fs::permissions(folder, fs::perms::all); },
         "other users have rights in it"},
        {"file", [](const fs::path &folder) { fs::remove_all(folder), std::ofstream(folder) << ""; },
         "Not a directory"},
    };
    std::vector<std::unique_ptr<Launch>> runs;
    for (const Case &each : cases) {
        const fs::path folder = bundle.cache(each.what) + "/kestrav/runtimes";
        fs::create_directories(folder.parent_path());
        fs::copy(whole, folder, fs::copy_options::recursive);
        fs::permissions(folder, fs::perms::owner_all);
        each.arrange(folder);
        runs.push_back(bundle.start(bundle.cache(each.what)));
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const Case &each = cases[i];
        EXPECT_EQ(runs[i]->wait(), 0) << each.what;
        EXPECT_TRUE(runs[i]->leftNothing());
        const bool isKept = *each.obstacle == '\0';
        const std::string program = runs[i]->report().arguments.front();
        EXPECT_EQ(program.starts_with(bundle.cache(each.what)), isKept) << program;
        EXPECT_THAT(runs[i]->errors(), HasSubstr(isKept ? "the runtime is kept: " : each.obstacle));
        EXPECT_EQ(isKept ? kept(bundle.cache(each.what)) : std::set<std::string>{""}, std::set<std::string>{""});
    }
}

TEST(Kept, TwentyStartsDownloadItOnce) {
    const DownloadingBundle bundle;
    std::vector<std::unique_ptr<Launch>> runs;
    for (int i = 0; i < 20; ++i) {
        runs.push_back(bundle.start(bundle.cache()));
    }
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0) << run->errors();
        EXPECT_TRUE(run->report().arguments.front().starts_with(bundle.cache()));
    }
    EXPECT_EQ(bundle.requests, 1);
    EXPECT_EQ(kept(bundle.cache()), std::set<std::string>{""});
}

TEST(Kept, AWholeDownloadOutlivesItsRunUnlessItIsBad) {
    DownloadingBundle bundle(gzip(runtimeBundle()
                                      .file("Contents/Home/bin/unpack200", contentOf(KESTRAV_FAKE_UNPACK200), 0755)
                                      .directory("Contents/Home/lib/")
                                      .file("Contents/Home/lib/rt.jar.pack", pack("content"))
                                      .closed()));
    for (const int number : {SIGTERM, SIGKILL}) {
        const std::string unpacker = bundle.folder() / std::to_string(number);
        Launch ended(bundle,
                     {.environment = {
                          {"XDG_CACHE_HOME", bundle.cache()}, {"FAKE_UNPACK", "hang"}, {"FAKE_UNPACK_PID", unpacker}}});
        waitUntil([&] { return fs::exists(unpacker); }, "the last step of the extraction");
        ended.sendSignal(number);
        if (number == SIGTERM) {
            EXPECT_EQ(ended.wait(), 1) << ended.errors();
        }
    }
    EXPECT_EQ(kept(bundle.cache()), (std::set<std::string>{".archive", ".new"}));
    EXPECT_EQ(bundle.start(bundle.cache())->wait(), 0);
    EXPECT_EQ(bundle.requests, 1);
    EXPECT_EQ(kept(bundle.cache()), std::set<std::string>{""});

    const fs::path store = bundle.cache() + "/kestrav/runtimes";
    const std::string name = namesIn(store).front().substr(0, 64);
    fs::remove_all(store / name);
    std::ofstream(store / (name + ".archive")) << bundle.archive.substr(0, bundle.archive.size() / 2);
    EXPECT_EQ(bundle.start(bundle.cache())->wait(), 0);
    EXPECT_EQ(bundle.requests, 2);
    fs::remove_all(store / name);
    bundle.archive.pop_back();
    const auto refused = bundle.start(bundle.cache());
    expectRefusal(*refused, "could not extract the runtime: the archive is damaged");
    const std::string log = refused->errors();
    EXPECT_EQ(log.find("extracting size"), log.rfind("extracting size"));
    EXPECT_EQ(kept(bundle.cache()), std::set<std::string>{});
}

TEST(Kept, AKilledStartLeavesNothingThatIsUsed) {
    ArchiveWriter writer = runtimeBundle();
    for (int i = 0; i < 200; ++i) {
        writer.file("Contents/Home/lib" + std::to_string(i), std::string(10'000, 'x'));
    }
    const KeepingBundle bundle(gzip(writer.closed()));
    for (int moment = 0; moment < 100; ++moment) {
        const auto run = bundle.start(bundle.cache());
        std::this_thread::sleep_for(std::chrono::microseconds(moment * moment * 5));
        run->sendSignal(SIGKILL);
        if (moment % 10 == 9) {
            fs::remove_all(bundle.cache()); // the later ones have found it
        }
    }
    const auto run = bundle.start(bundle.cache());
    EXPECT_EQ(run->wait(), 0) << run->errors();
    EXPECT_EQ(kept(bundle.cache()), std::set<std::string>{""});
}

TEST(Kept, AnOrphanKeepsItsRuntimeFromBeingCleanedAway) {
    const KeepingBundle bundle;
    auto orphaned = bundle.start(bundle.cache(), "FAKE_PAUSE");
    const std::string program = orphaned->report().arguments.front();
    orphaned->sendSignal(SIGKILL);
    const std::string clean = "XDG_CACHE_HOME=" + bundle.cache() + " " KESTRAV_TOOL " --clean";
    EXPECT_THAT(run(clean, {}).output, testing::ContainsRegex(".[0-9]+ MB, last used 2[-0-9: ]+, in use\n$"));
    EXPECT_TRUE(fs::exists(program));
    orphaned.reset();
    waitUntil([&] { return run(clean, {}).output.find(", removed\n") != std::string::npos; }, "the orphan's end");
    EXPECT_FALSE(fs::exists(program));
    EXPECT_THAT(run(clean, {}).output, HasSubstr("runtimes: no runtime is kept there\n"));
}

TEST(Kept, NothingOfAnotherDigestIsExtracted) {
    KeepingBundle bundle;
    const std::string archive = bundle.path() + "/Contents/Resources/app/jre.tar.gz";
    const std::string digest = run("sha256sum", {archive}).output.substr(0, 64);
    for (const bool keeps : {true, false}) {
        bundle.info["ksv.keepRuntime"] = keeps;
        bundle.info["ksv.jreSha256"] = std::string(64, 'A');
        const auto refused = bundle.start(bundle.cache());
        expectRefusal(*refused, "the SHA-256 of " + archive + " is " + digest + ", not " + std::string(64, 'a'));
        EXPECT_TRUE(refused->leftNothing());
    }
    bundle.info["ksv.keepRuntime"] = true;
    std::string upper = digest;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return static_cast<char>(std::toupper(c)); });
    bundle.info["ksv.jreSha256"] = upper;
    const auto run = bundle.start(bundle.cache());
    EXPECT_THAT(run->report().arguments.front(), HasSubstr("/runtimes/" + digest + "/jre.bundle/"));
    EXPECT_EQ(run->wait(), 0);
}

} // namespace
} // namespace kestrav::tests
