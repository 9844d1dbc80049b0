// The runtime travels with the application, as an archive.

#include "Launch.h"
#include "platform/FileLock.h"
#include "programs/packing.h"
#include "support/ArchiveWriter.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::Not;

/// A runtime as a bundle.
ArchiveWriter runtimeBundle() {
    return ArchiveWriter()
        .directory("Contents/Home/bin/")
        .file("Contents/Info.plist",
              propertyList(dictionary({{"JavaVM", dictionary({{"JVMVersion", text("17.0.9")}})}})))
        .file("Contents/Home/bin/java", contentOf(KESTRAV_FAKE_JAVA), 0755);
}

/// The same with a packed jar.
ArchiveWriter packedRuntime() {
    return runtimeBundle()
        .file("Contents/Home/bin/unpack200", contentOf(KESTRAV_FAKE_UNPACK200), 0755)
        .directory("Contents/Home/lib/")
        .file("Contents/Home/lib/rt.jar.pack", pack("content"));
}

/// A runtime as a plain directory.
ArchiveWriter plainRuntime() {
    return ArchiveWriter()
        .directory("bin/")
        .file("release", "JAVA_VERSION=\"17.0.9\"\n")
        .file("bin/real", contentOf(KESTRAV_FAKE_JAVA), 0755)
        .link("bin/java", "real");
}

/// A bundle that ships an archive, with no other runtime in reach.
struct ShippingBundle : AppBundle {
    explicit ShippingBundle(const std::string &archive) {
        javaVM["SearchSequence"] = array({});
        fs::remove_all(runtime());
        folder().write("Test.app/Contents/Resources/app/jre.tar.gz", archive);
    }
    [[nodiscard]] std::string archive() const { return path() + "/Contents/Resources/app/jre.tar.gz"; }
};

bool leftNothing(const Launch &launch) {
    return fs::is_empty(launch.folder() / "temporary");
}

/// The folder of the run below its temporary directory.
std::string runFolder(const Launch &launch) {
    const fs::directory_iterator found(launch.folder() / "temporary");
    return found == fs::directory_iterator() ? "" : found->path().string();
}

void expectCancelled(Launch &launch) {
    launch.sendSignal(SIGTERM);
    EXPECT_EQ(launch.wait(), 1);
    EXPECT_FALSE(launch.childStarted());
    EXPECT_THAT(launch.errors(), HasSubstr("] Cancelled\n"));
    EXPECT_THAT(launch.errors(), Not(HasSubstr("\nTest: ")));
    EXPECT_TRUE(leftNothing(launch));
}

TEST(Archive, RuntimeRunsAndLeavesNothing) {
    const struct {
        std::string archive;
        const char *home;
    } cases[] = {{gzip(runtimeBundle().closed()), "/Contents/Home"},
                 {packedRuntime().closed(), "/Contents/Home"}, // something on its way has undone the compression
                 {gzip(plainRuntime().closed()), ""}};
    std::vector<std::unique_ptr<ShippingBundle>> bundles;
    Launches launches;
    for (const auto &[archive, home] : cases) {
        ShippingBundle &bundle = *bundles.emplace_back(std::make_unique<ShippingBundle>(archive));
        bundle.javaVM["VersionSpecificVMOptions"] =
            array({text("9-16"), array({text("-Dfrom=older")}), text("17-17"), array({text("-Dfrom=17")})});
        bundle.javaVM["ArgumentArray"] = array({text("home=${launcher:sys.jvmHome}")});
        launches.push_back(std::make_unique<Launch>(bundle, Start{.environment = {{"FAKE_EXIT", "42"}}}));
    }
    for (std::size_t i = 0; i < launches.size(); ++i) {
        Launch &launch = *launches[i];
        const Report report = launch.report();
        EXPECT_EQ(launch.wait(), 42) << launch.errors();
        EXPECT_EQ(launch.errors(), "");
        const std::string suffix = cases[i].home + std::string("/bin/java");
        const std::string &java = report.arguments.front();
        ASSERT_THAT(java, testing::EndsWith("/jre.bundle" + suffix));
        const std::string runtime = java.substr(0, java.size() - suffix.size());
        EXPECT_EQ(fs::path(runtime).parent_path().parent_path(), launch.folder() / "temporary");
        EXPECT_TRUE(report.has("-Dksv.jreBundle=" + runtime));
        EXPECT_TRUE(report.has("-Dksv.tarFile=" + bundles[i]->archive()));
        EXPECT_TRUE(report.has("home=" + runtime + cases[i].home));
        EXPECT_TRUE(report.has("-Dfrom=17"));
        EXPECT_FALSE(report.has("-Dfrom=older"));
        EXPECT_TRUE(leftNothing(launch));
    }
}

TEST(Archive, SignalEndsTheChildAndItsEndCleansUp) {
    const ShippingBundle bundle(gzip(packedRuntime().closed()));
    Launch launch(bundle, {.environment = {{"FAKE_PAUSE", "1"}}});
    EXPECT_TRUE(launch.report().has("org.example.Main"));
    const std::string jar = runFolder(launch) + "/jre.bundle/Contents/Home/lib/rt.jar";
    EXPECT_EQ(contentOf(jar), "content");
    EXPECT_FALSE(fs::exists(jar + ".pack"));
    struct stat found {};
    EXPECT_EQ(stat(runFolder(launch).c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0700U);
    launch.sendSignal(SIGTERM);
    EXPECT_EQ(launch.wait(), 128 + SIGTERM);
    EXPECT_TRUE(leftNothing(launch));
}

TEST(Archive, WhatIsNotWholeIsNotStarted) {
    const std::string whole = gzip(runtimeBundle().closed());
    std::string changed = whole;
    changed[whole.size() - 8] = static_cast<char>(changed[whole.size() - 8] ^ 1); // in the check sum
    const std::string large = gzip(runtimeBundle().file("large").size(1U << 31).closed());
    const std::pair<std::string, const char *> cases[] = {
        {whole.substr(0, whole.size() / 2), "the archive is damaged"},
        {whole.substr(0, whole.size() - 1), "the archive is damaged"},
        {changed, "the archive is damaged"},
        {runtimeBundle().unclosed().substr(0, 2000), "the archive is damaged"},
        {"", "it is no archive"},
        {"<html>", "it is no archive"},
        {large, "it holds a file of 2 GiB or more"},
    };
    for (const auto &[archive, reason] : cases) {
        const ShippingBundle bundle(archive);
        Launch launch(bundle);
        expectRefusal(launch, std::string("internal error: could not extract the runtime: ") + reason);
        EXPECT_THAT(launch.errors(), HasSubstr("+[UnTar "));
        EXPECT_TRUE(leftNothing(launch));
    }
    for (const bool directory : {true, false}) {
        const ShippingBundle bundle("");
        fs::remove(bundle.archive());
        ASSERT_EQ(directory ? mkdir(bundle.archive().c_str(), 0700) : mkfifo(bundle.archive().c_str(), 0600), 0);
        Launch launch(bundle);
        expectRefusal(launch, "internal error: could not extract the runtime: ");
        EXPECT_TRUE(leftNothing(launch));
    }
}

TEST(Archive, NothingOutsideIsUnpacked) {
    const TemporaryDirectory outside;
    for (const char *file : {"x.jar.pack", "lib/x.jar.pack"}) {
        outside.write(file, pack("content"));
    }
    const ArchiveWriter runtime =
        runtimeBundle().file("Contents/Home/bin/unpack200", contentOf(KESTRAV_FAKE_UNPACK200), 0755);
    for (const char *link : {"Contents/Home/lib", "Contents/Home/lib/ext", "Contents/Home/jre"}) {
        SCOPED_TRACE(link);
        ArchiveWriter archive = runtime;
        archive.directory(fs::path(link).parent_path().string() + "/").link(link, outside.path());
        const ShippingBundle bundle(gzip(archive.closed()));
        Launch launch(bundle);
        expectRefusal(launch, "internal error: could not extract the runtime: a link in it leads out of its folder");
        EXPECT_EQ(std::distance(fs::recursive_directory_iterator(outside.path()), {}), 3);
        EXPECT_TRUE(fs::exists(outside / "x.jar.pack") && fs::exists(outside / "lib/x.jar.pack"));
        EXPECT_TRUE(leftNothing(launch));
    }
}

TEST(Archive, GoesElsewhereWithoutATemporaryDirectory) {
    const ShippingBundle bundle(gzip(runtimeBundle().closed()));
    const TemporaryDirectory folder;
    const std::string readOnly = folder.makeDirectory("read-only");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(readOnly, static_cast<fs::perms>(0555));
    Launches launches;
    for (const std::string &path : {readOnly, folder / "missing"}) {
        launches.push_back(
            std::make_unique<Launch>(bundle, Start{.environment = {{"TMPDIR", path}}, .asNobody = true}));
        EXPECT_THAT(launches.back()->report().arguments.front(),
                    testing::StartsWith(launches.back()->folder() / "home/.cache/kestrav/"));
    }
    expectStatus(launches, 0);
    for (const auto &launch : launches) {
        EXPECT_TRUE(fs::is_empty(launch->folder() / "home/.cache/kestrav"));
    }
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

TEST(Archive, AFullDiskEndsTheRun) {
    constexpr rlim_t mebibyte = 1 << 20;
    const ShippingBundle bundle(gzip(runtimeBundle().file("zeros", std::string(4 * mebibyte, '\0')).closed()));
    rlimit all{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &all), 0);
    const rlimit few{mebibyte, all.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &few), 0);
    Launch launch(bundle);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &all), 0);
    expectRefusal(launch, "internal error: could not extract the runtime: File too large");
    EXPECT_THAT(launch.errors(), HasSubstr("] ERROR: stream error\n"));
    EXPECT_TRUE(leftNothing(launch));
}

TEST(Archive, CancelEndsTheExtraction) {
    // Data that are passed over, without end for all this test can tell, once the first file is there.
    std::string archive = gzip(runtimeBundle().unclosed());
    const std::string zeros = gzip(std::string(1U << 24, '\0'));
    for (int entry = 0; entry < 4; ++entry) {
        archive += gzip(ArchiveWriter().entry('x', "skipped").size(1UL << 32).unclosed());
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

} // namespace
} // namespace kestrav::tests
