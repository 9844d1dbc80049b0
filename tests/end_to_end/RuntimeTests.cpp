// Runtimes that are broken or packed.

#include "Launch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

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

TEST(Runtime, ThatCannotBeUsedEndsWithANotice) {
    constexpr auto readable = static_cast<fs::perms>(0555);
    const auto refuse = [](const PackedBundle &packed, const std::string &message, const Start &start = {}) {
        Launch run(packed.bundle, start);
        expectRefusal(run, message);
    };
    const PackedBundle broken;
    std::ofstream(broken.home + "/lib/rt.jar.pack") << "not packed";
    refuse(broken, "internal error: could not run unpack200");

    const PackedBundle javaless;
    fs::remove(javaless.home + "/bin/java");
    refuse(javaless, "internal error: could not start " + javaless.home + "/bin/java: ");

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
