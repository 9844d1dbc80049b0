// Runtimes that are broken or packed.

#include "Launch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

TEST(Runtime, ThatCannotBeStartedEndsWithANotice) {
    const AppBundle bundle;
    const std::string java = bundle.runtime() + "/Contents/Home/bin/java";
    struct Case {
        const char *what;
        const char *content;
        fs::perms rights;
    };
    for (const auto &[what, content, rights] :
         {Case{"missing", nullptr, {}}, Case{"not executable", "#!/bin/true\n", fs::perms::owner_read},
          Case{"no program", "\x7F ELF, or not\n", fs::perms::all},
          Case{"a script for nobody", "#!/no/such/interpreter\n", fs::perms::all}}) {
        SCOPED_TRACE(what);
        fs::remove(java);
        if (content != nullptr) {
            std::ofstream(java) << content;
            fs::permissions(java, rights);
        }
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
};

TEST(Runtime, IsUnpackedOnceBeforeItsFirstStart) {
    const PackedBundle packed;
    Launches runs;
    for (int i = 0; i < 2; ++i) {
        runs.push_back(std::make_unique<Launch>(packed.bundle));
        EXPECT_TRUE(
            runs.back()->report().has("-Dksv.jreBundle=" + packed.bundle.path() + "/Contents/PlugIns/jre.bundle"));
        for (const auto &[name, content] : packed.archives) {
            EXPECT_EQ(contentOf(packed.home + "/" + name), content);
            EXPECT_FALSE(fs::exists(packed.home + "/" + name + ".pack"));
        }
        fs::remove(packed.home + "/bin/unpack200"); // the second start needs no tool
    }
    expectStatus(runs, 0);
}

TEST(Runtime, ThatCannotBeUnpackedEndsWithANotice) {
    constexpr auto readable = static_cast<fs::perms>(0555);
    const auto refuse = [](const PackedBundle &packed, const std::string &message, const Start &start = {}) {
        Launch run(packed.bundle, start);
        expectRefusal(run, message);
    };
    refuse({}, "internal error: could not run unpack200", {.environment = {{"FAKE_UNPACK", "fail"}}});

    const PackedBundle broken;
    std::ofstream(broken.home + "/lib/rt.jar.pack") << "not packed";
    refuse(broken, "internal error: could not run unpack200");

    const PackedBundle toolless;
    fs::remove(toolless.home + "/bin/unpack200");
    refuse(toolless, "internal error: could not start " + toolless.home + "/bin/unpack200: ");

    const PackedBundle readOnly;
    fs::permissions(readOnly.home, readable);
    refuse(readOnly, "not writable", {.asNobody = true});
    EXPECT_FALSE(fs::exists(readOnly.home + "/_ksv_testdir"));
    fs::permissions(readOnly.home, fs::perms::all);
}

} // namespace
} // namespace kestrav::tests
