// The runtime travels with the application, as an archive or with packed archives in it, or comes from a server.

#include "Launch.h"
#include "Tool.h"
#include "platform/FileLock.h"
#include "support/LoopbackServer.h"
#include "support/VirtualDisplay.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>

namespace kestrav::tests {
namespace {

/// A runtime with a packed jar.
ArchiveWriter packedRuntime() {
    return runtimeBundle()
        .file("Contents/Home/bin/unpack200", contentOf(KESTRAV_FAKE_UNPACK200), 0755)
        .directory("Contents/Home/lib/")
        .file("Contents/Home/lib/rt.jar.pack", pack("content"));
}

/// A bundle that ships an archive and can find no other runtime.
struct ShippingBundle : AppBundle {
    explicit ShippingBundle(const std::string &archive) {
        javaVM["SearchSequence"] = Array{};
        fs::remove_all(runtime());
        folder().write("Test.app/Contents/Resources/app/jre.tar.gz", archive);
    }
    [[nodiscard]] std::string archive() const { return path() + "/Contents/Resources/app/jre.tar.gz"; }
};

TEST(Archive, RuntimeRunsAndLeavesNothing) {
    const ShippingBundle bundle(packedRuntime().closed()); // something has undone the compression on the way
    Launch launch(bundle, {.environment = {{"FAKE_PAUSE", "1"}}});
    const fs::path home = fs::path(launch.report().arguments.front()).parent_path().parent_path();
    const fs::path folder = home.parent_path().parent_path().parent_path();
    EXPECT_EQ(folder.parent_path(), launch.folder() / "temporary");
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    EXPECT_EQ(contentOf(home / "lib/rt.jar"), "content");
    EXPECT_FALSE(fs::exists(home / "lib/rt.jar.pack"));
    launch.sendSignal(SIGTERM);
    EXPECT_EQ(launch.wait(), 128 + SIGTERM);
    EXPECT_EQ(launch.errors(), "");
    EXPECT_TRUE(launch.leftNothing());
}

TEST(Archive, RunsAsItIsPublished) {
    const TemporaryDirectory folder;
    const std::string source =
        std::string(120, 'f') + "/" + std::string(200, 'g'); // far beyond 255 bytes with the rest
    std::vector<std::unique_ptr<ShippingBundle>> bundles;
    std::vector<std::pair<std::unique_ptr<Launch>, std::string>> launches;
    for (const std::string home : {"bundle/jdk-17.0.9+9/Contents/Home/", "plain/jdk-17/"}) {
        linkFile(KESTRAV_FAKE_JAVA, folder / (home + source));
        folder.write(home + "README", "");
        linkFile(folder / (home + source), folder / (home + "bin/java"));
        const std::string place = folder / home.substr(0, home.find('/'));
        const std::string top = namesIn(place).front();
        const std::string archive = folder / "jre.tar.gz";
        const std::string python = "import tarfile; tarfile.open('" + archive + "', 'w:gz').add('" + top + "')";
        for (const std::string &command : {"tar --format=gnu -czf " + archive + " " + top,
                                           "bsdtar -czf " + archive + " " + top, "python3 -c \"" + python + "\""}) {
            ASSERT_EQ(run("cd " + place + "; " + command, {}).output, "");
            bundles.push_back(std::make_unique<ShippingBundle>(contentOf(archive)));
            launches.emplace_back(std::make_unique<Launch>(*bundles.back()), home.substr(home.find('/')) + "bin/java");
        }
    }
    for (const auto &[launch, java] : launches) {
        EXPECT_THAT(launch->report().arguments.front(), testing::EndsWith("/jre.bundle" + java));
        EXPECT_EQ(launch->wait(), 0);
        EXPECT_EQ(launch->errors(), "");
        EXPECT_TRUE(launch->leftNothing());
    }
}

TEST(Archive, WhatIsNotWholeIsNotStarted) {
    std::string changed = gzip(runtimeBundle().closed());
    changed[changed.size() - 8] = static_cast<char>(changed[changed.size() - 8] ^ 1); // in the check sum
    const TemporaryDirectory outside;
    outside.write("x.jar.pack", pack("content"));
    const std::pair<std::string, const char *> cases[] = {
        {changed, "the archive is damaged"},
        {gzip(runtimeBundle().file("large").size(1U << 31).closed()), "it holds a file of 2 GiB or more"},
        {gzip(runtimeBundle().entry('S', "lib/modules").closed()), "it holds the sparse file lib/modules"},
        {gzip(packedRuntime().link("Contents/Home/lib/ext", outside.path()).closed()),
         "a link in it leads out of its folder"},
    };
    for (const auto &[archive, reason] : cases) {
        const ShippingBundle bundle(archive);
        Launch launch(bundle);
        expectRefusal(launch, std::string("internal error: could not extract the runtime: ") + reason);
        EXPECT_TRUE(launch.leftNothing());
    }
    EXPECT_TRUE(fs::exists(outside / "x.jar.pack"));
}

TEST(Archive, WhatAKilledLauncherLeavesIsRemovedOnceItsProgramHasEnded) {
    const ShippingBundle bundle(gzip(runtimeBundle().closed()));
    const TemporaryDirectory temporary;
    const auto start = [&](const char *variable) {
        return std::make_unique<Launch>(bundle, Start{.environment = {{"TMPDIR", temporary.path()}, {variable, "1"}}});
    };
    auto killed = start("FAKE_PAUSE");
    const Report report = killed->report();
    EXPECT_EQ(report.descriptors, (std::set<std::string>{"0", "1", "2", "3"}));
    killed->sendSignal(SIGKILL);
    const auto second = start("FAKE_NOTHING");
    static_cast<void>(second->report());
    EXPECT_TRUE(fs::exists(report.arguments.front())) << "the program still runs";
    const std::string lock =
        fs::path(report.arguments.front().substr(0, report.arguments.front().find("/jre.bundle"))) / ".kestrav-lock";
    killed.reset();
    waitUntil([&] { return platform::FileLock::tryLock(lock, platform::FileLock::Mode::exclusive).has_value(); },
              "the program's end");
    EXPECT_EQ(start("FAKE_NOTHING")->wait(), 0);
    EXPECT_EQ(second->wait(), 0);
    EXPECT_TRUE(fs::is_empty(temporary.path()));
}

TEST(Archive, CancelEndsTheExtraction) {
    // After the first file, data that are skipped, far more than this test waits for.
    std::string archive = gzip(runtimeBundle().unclosed());
    const std::string zeros = gzip(std::string(1U << 24, '\0'));
    for (int entry = 0; entry < 4; ++entry) {
        archive += gzip(ArchiveWriter().entry('V', "skipped").size(1UL << 32).unclosed());
        for (int part = 0; part < (1 << 8); ++part) {
            archive += zeros;
        }
    }
    const ShippingBundle bundle(archive);
    Launch launch(bundle, {.environment = {{"KESTRAV_LOG", "yes"}}});
    waitUntil([&] { return launch.errors().find("] extracting skipped\n") != std::string::npos; }, "the extraction");
    expectCancelled(launch);
}

TEST(Archive, WhatCannotBeUnpackedIsKeptUntilTheNextStart) {
    const ShippingBundle bundle(gzip(packedRuntime().closed()));
    const TemporaryDirectory temporary;
    for (int attempt = 0; attempt < 2; ++attempt) {
        Launch launch(bundle, {.environment = {{"FAKE_UNPACK", "fail"}, {"TMPDIR", temporary.path()}}});
        expectRefusal(launch, "internal error: could not run unpack200");
        ASSERT_EQ(std::distance(fs::directory_iterator(temporary.path()), {}), 1);
        EXPECT_TRUE(
            fs::exists(fs::directory_iterator(temporary.path())->path() / "jre.bundle/Contents/Home/lib/rt.jar.pack"));
    }
}

TEST(Archive, RuntimeThatCannotBeWrittenIsNotUnpacked) {
    const AppBundle bundle;
    const std::string home = bundle.addPackedRuntime();
    fs::permissions(home, static_cast<fs::perms>(0555));
    Launch run(bundle, {.asNobody = true});
    expectRefusal(run, "not writable");
    EXPECT_FALSE(fs::exists(home + "/_ksv_testdir"));
    fs::permissions(home, fs::perms::all);
}

/// A bundle that no installed runtime suits.
struct DownloadBundle : AppBundle {
    explicit DownloadBundle(const std::string &location) {
        info["ksv.minVersion"] = "99";
        info["ksv.jreLocation"] = location;
    }
};

TEST(Download, RuntimeIsExtractedAndRuns) {
    const std::string archive = gzip(runtimeBundle().closed());
    const LoopbackServer server([&](Connection &connection) { // the connection breaks after 100 bytes
        std::string request;
        const bool moved = connection.readRequest(&request) == "/moved";
        const bool again = request.find("\r\nRange: bytes=100-\r\n") != std::string::npos;
        const std::string size = std::to_string(archive.size()), last = std::to_string(archive.size() - 1);
        const std::string headers = "\r\nContent-Encoding: gzip\r\nETag: \"1\"\r\n\r\n";
        connection.send(moved   ? redirectTo("/gzip")
                        : again ? "HTTP/1.1 206 Rest\r\nContent-Range: bytes 100-" + last + "/" + size + headers +
                                      archive.substr(100)
                                : "HTTP/1.1 200 OK\r\nContent-Length: " + size + headers + archive.substr(0, 100));
    });
    const DownloadBundle bundle(" \n" + server.url("/moved") + "\t");
    Launch launch(bundle);
    ASSERT_EQ(launch.wait(), 0) << launch.errors();
    EXPECT_EQ(launch.errors(), "");
    EXPECT_TRUE(launch.leftNothing());
}

TEST(Download, CancelEndsItQuietly) {
    std::atomic<int> requests = 0;
    const LoopbackServer server([&](Connection &connection) {
        static_cast<void>(connection.readRequest());
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        ++requests;
        while (connection.send("1\r\nx\r\n")) {
        }
    });
    const DownloadBundle endless(server.url("/endless"));
    for (int run = 0; run < 4; ++run) { // two of them at an arbitrary moment
        const int before = requests;
        Launch launch(endless, {.environment = {{"KESTRAV_LOG", "yes"}}});
        waitUntil([&] { return launch.errors().find("worker started") != std::string::npos; }, "the worker");
        if (run % 2 == 0) {
            waitUntil([&] { return requests > before; }, "the request");
        }
        expectCancelled(launch);
        EXPECT_THAT(launch.errors(), testing::Not(testing::HasSubstr("Download failed")));
    }
}

TEST(Download, CancelWorksWhileTheDisplayDoesNotAnswer) {
    std::atomic<bool> asked = false;
    const LoopbackServer display([&](Connection &connection) {
        asked = true;
        connection.waitForEnd();
    });
    const DownloadBundle bundle(display.url("/"));
    constexpr int firstPort = 6000; // of display 0
    const std::string name = "127.0.0.1:" + std::to_string(display.port() - firstPort);
    Launch launch(bundle, {.environment = {{"DISPLAY", name}, {"KESTRAV_LOG", "yes"}}});
    waitUntil([&] { return launch.errors().find("waiting for download") != std::string::npos; }, "the worker");
    waitUntil([&] { return asked.load(); }, "the display's client");
    expectCancelled(launch);
}

TEST(Download, GoesOnWithoutItsWindow) {
    const VirtualDisplay display(false); // the window's library learns this only when it draws
    const std::string search = "xdotool search --onlyvisible --name '^WizardCaption$' ";
    std::atomic<bool> goOn = false;
    const std::string archive = gzip(runtimeBundle().closed());
    const LoopbackServer server([&](Connection &connection) {
        static_cast<void>(connection.readRequest());
        connection.send("HTTP/1.0 200 OK\r\n\r\n" + archive.substr(0, 1)); // the bar keeps moving
        waitUntil([&] { return goOn.load(); }, "the window's end");
        connection.send(archive.substr(1));
    });
    const DownloadBundle bundle(server.url("/"));
    Launch launch(bundle, {.environment = {{"DISPLAY", display.name()}, {"FAKE_EXIT", "5"}}});
    waitUntil([&] { return !display.run(search).empty(); }, "the window");
    static_cast<void>(display.run(search + "windowclose"));
    waitUntil([&] { return display.run(search).empty(); }, "the window's end");
    goOn = true;
    EXPECT_EQ(launch.wait(), 5);
    EXPECT_EQ(launch.errors(), "");
}

} // namespace
} // namespace kestrav::tests
