// Runtimes that are broken, packed, or found in earlier installations.

#include "Launch.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

TEST(Runtime, ThatCannotBeStartedEndsWithANotice) {
    const AppBundle bundle;
    const std::string java = bundle.runtime() + "/Contents/Home/bin/java";
    const std::pair<const char *, std::function<void()>> cases[] = {
        {"missing", [] {}},
        {"a directory", [&] { fs::create_directory(java); }},
        {"a dangling link", [&] { fs::create_symlink("/nowhere", java); }},
        {"a file without rights", [&] { std::ofstream(java) << "#!/bin/true\n"; }},
        {"no program",
         [&] {
             std::ofstream(java) << "\x7F"
                                    "ELF, or not\n";
             fs::permissions(java, fs::perms::all);
         }},
        {"a script for nobody",
         [&] {
             std::ofstream(java) << "#!/no/such/interpreter\n";
             fs::permissions(java, fs::perms::all);
         }},
    };
    for (const auto &[what, make] : cases) {
        SCOPED_TRACE(what);
        fs::remove(java);
        make();
        Launch run(bundle);
        expectRefusal(run, "internal error: could not start " + java + ": ");
    }
}

/// A bundle with its own runtime, two of whose archives are packed.
struct PackedBundle {
    AppBundle bundle;
    std::string home = bundle.addOwnRuntime() + "/Contents/Home";
    std::map<std::string, std::string> archives{{"lib/rt.jar", std::string("PK\0\xFF binary", 11)},
                                                {"lib/ext/more.jar", std::string(100'000, 'x')}};

    PackedBundle() { AppBundle::addPackedArchives(home, archives); }

    [[nodiscard]] bool isUnpacked() const {
        bool all = true;
        for (const auto &[name, content] : archives) {
            all = all && contentOf(home + "/" + name) == content && !fs::exists(home + "/" + name + ".pack");
        }
        return all;
    }
};

TEST(Runtime, IsUnpackedOnceBeforeItsFirstStart) {
    const PackedBundle packed;
    Launches runs;
    for (int i = 0; i < 2; ++i) {
        runs.push_back(std::make_unique<Launch>(packed.bundle));
        EXPECT_TRUE(
            runs.back()->report().has("-Dksv.jreBundle=" + packed.bundle.path() + "/Contents/PlugIns/jre.bundle"));
        EXPECT_TRUE(packed.isUnpacked());
        fs::remove(packed.home + "/bin/unpack200"); // the second start needs no tool
    }
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0);
        EXPECT_EQ(run->errors(), "");
    }
}

TEST(Runtime, ThatCannotBeUnpackedEndsWithANotice) {
    {
        const PackedBundle failing;
        Launch run(failing.bundle, {.environment = {{"FAKE_UNPACK", "fail"}}});
        expectRefusal(run, "internal error: could not run unpack200");
    }
    {
        const PackedBundle broken;
        std::ofstream(broken.home + "/lib/rt.jar.pack") << "not packed";
        Launch run(broken.bundle);
        expectRefusal(run, "internal error: could not run unpack200");
        EXPECT_EQ(contentOf(broken.home + "/lib/rt.jar.pack"), "not packed");
    }
    {
        const PackedBundle toolless;
        fs::remove(toolless.home + "/bin/unpack200");
        Launch run(toolless.bundle);
        expectRefusal(run, "internal error: could not start " + toolless.home + "/bin/unpack200: ");
    }
    // Where the tool cannot write: the archives' folders, or the whole runtime.
    for (const bool homeWritable : {true, false}) {
        const PackedBundle readOnly;
        constexpr auto readable = static_cast<fs::perms>(0555);
        for (const char *folder : {"", "/lib", "/lib/ext"}) {
            const bool writable = homeWritable && *folder == '\0';
            fs::permissions(readOnly.home + folder, writable ? fs::perms::all : readable);
        }
        Launch run(readOnly.bundle, {.asNobody = true});
        expectRefusal(run, homeWritable ? "internal error: could not run unpack200" : "not writable");
        EXPECT_FALSE(fs::exists(readOnly.home + "/_ksv_testdir"));
        for (const char *folder : {"", "/lib", "/lib/ext"}) {
            fs::permissions(readOnly.home + folder, fs::perms::all);
        }
    }
}

TEST(Runtime, OfAnEarlierInstallationIsFoundInTheRegistry) {
    AppBundle bundle;
    bundle.javaVM["SearchSequence"] = array({});
    bundle.info["ksv.appId"] = text("1234");
    const TemporaryDirectory installations;
    const std::string runtime = bundle.addRuntime(installations / "two/.kestrav/jre.bundle");
    const std::string registry =
        dictionary({{"allinstdirs1234", text(installations / "one;" + (installations / "two"))}});
    installations.write("kestrav/com.kestrav.installations.plist",
                        propertyList(dictionary({{"/com/kestrav/installations/", registry}})));
    Launch run(bundle, {.environment = {{"XDG_CONFIG_HOME", installations.path()}}});
    EXPECT_TRUE(run.report().has("-Dksv.jreBundle=" + runtime));
    EXPECT_EQ(run.wait(), 0) << run.errors();
}

} // namespace
} // namespace kestrav::tests
