// A configuration that is broken, or of the wrong types, ends with a notice or does no harm.

#include "Launch.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

std::string binary(const std::string &xml) {
    plist_t list = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
    char *bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_bin(list, &bytes, &size);
    std::string result(bytes, size);
    plist_free(list);
    std::free(bytes); // NOLINT: allocated by the library
    return result;
}

/// Starts the bundle and waits until its configuration has been read: the child runs.
void startAndKeep(const AppBundle &bundle, Launches &runs) {
    runs.push_back(std::make_unique<Launch>(bundle));
    EXPECT_TRUE(runs.back()->report().has("org.example.Main"));
}

void expectSuccess(const Launches &runs) {
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0) << run->errors();
    }
}

TEST(Configuration, WrongTypeIsNamedOrHarmless) {
    const std::string data = "<data>AAEC</data>";
    struct {
        std::string key;
        std::vector<std::string> values;
        bool harmless = false;
    } const topLevel[] =
        {
            {"CFBundleIconFile", {integer(1), "<true/>"}},
            {"JavaVM", {text("x"), array({})}},
            {"ksv.minVersion", {integer(17), "<real>17.0</real>", array({text("17")})}},
            {"ksv.maxVersion", {integer(17)}},
            {"ksv.vmIdPrefix", {integer(1)}},
            {"ksv.baseDir", {integer(1), dictionary({})}},
            {"ksv.allowBeta", {array({}), data}},
            {"ksv.allowPassthrough", {dictionary({})}},
            {"ksv.initialProgress", {array({}), "<date>2026-11-21T00:00:00Z</date>"}},
            {"ksv.initialProgress", {text("NO"), integer(0), "<real>0.5</real>"}, true},
            {"ksv.appId", {integer(1)}, true}, // read only if no runtime was found
            {"CFBundleIdentifier", {integer(1), array({})}, true},
            {"CFBundleDevelopmentRegion", {integer(1)}, true},
            {"ksv.unknown", {data}, true},
        },
            javaVM[] = {
                {"WorkingDirectory", {integer(1)}},
                {"ClassPath", {integer(1), array({text("a.jar")})}},
                {"OptionsFile", {integer(1)}},
                {"SplashFile", {integer(1)}},
                {"ModulePath", {integer(1)}},
                {"MainClass", {integer(1), array({}), text("")}},
                {"StartOnMainThread", {array({})}},
                {"VMOptionArray", {text("-Dx"), array({integer(1)}), dictionary({})}},
                {"ArgumentArray", {text("x"), array({array({})})}},
                {"VersionSpecificVMOptions",
                 {text("17-17"), array({integer(17), array({})}), array({text("17-17"), text("-Dx")})}},
                {"VersionSpecificVMOptions", {array({}), array({text("17-17")})}, true},
                {"SearchSequence", {text("Y"), array({integer(1)}), dictionary({})}},
            };
    AppBundle bundle;
    Launches runs;
    const auto tryAll = [&](std::map<std::string, std::string> &place, const auto &cases) {
        for (const auto &[key, values, harmless] : cases) {
            const auto saved = place;
            for (const std::string &value : values) {
                SCOPED_TRACE(key + " " + value);
                place[key] = value;
                if (harmless) {
                    startAndKeep(bundle, runs);
                } else {
                    Launch run(bundle);
                    expectRefusal(run, key);
                }
            }
            place = saved;
        }
    };
    tryAll(bundle.info, topLevel);
    tryAll(bundle.javaVM, javaVM);

    // A name that cannot be shown leaves the program's.
    bundle.info["CFBundleName"] = integer(1);
    Launch nameless(bundle);
    expectRefusal(nameless, "CFBundleName", "launcher");
    expectSuccess(runs);
}

TEST(Configuration, BrokenFileEndsWithANotice) {
    AppBundle bundle;
    const std::string whole = propertyList(dictionary({{"CFBundleName", text("Test")}}));
    const std::string binaryList = binary(whole);
    std::string nested;
    for (int i = 0; i < 200'000; ++i) {
        nested += "<array>";
    }
    for (const std::string &content :
         {std::string(), std::string("\0\0\0\0", 4), std::string("no property list"), whole.substr(0, whole.size() / 2),
          whole.substr(0, 60), binaryList.substr(0, binaryList.size() - 12), binaryList.substr(0, 12),
          std::string("bplist00"), propertyList(array({})), propertyList(text("x")), propertyList(nested),
          propertyList("<dict><key>CFBundleName</key></dict>"),
          std::string("<!DOCTYPE plist [<!ENTITY a SYSTEM \"/dev/zero\">]>") +
              propertyList(dictionary({{"a", "&a;"}}))}) {
        SCOPED_TRACE(content.substr(0, 100));
        bundle.rawInfo = content;
        Launch run(bundle);
        expectRefusal(run, "", "launcher");
    }
    // No file at all, then none that can be read: a link that leads nowhere, so that the test writes none either.
    const std::string file = bundle.path() + "/Contents/Info.plist";
    for (const char *target : {"nowhere/at/all", "Resources"}) {
        fs::remove(file);
        fs::create_symlink(target, file);
        Launch run(bundle);
        expectRefusal(run, "", "launcher");
    }
}

TEST(Configuration, BinaryFileIsAsGoodAsText) {
    AppBundle bundle;
    bundle.rawInfo = binary(propertyList(
        dictionary({{"CFBundleName", text("Tést")},
                    {"JavaVM", dictionary({{"MainClass", text("org.example.Main")},
                                           {"SearchSequence", array({text("R" + bundle.runtime())})}})}})));
    Launches runs;
    startAndKeep(bundle, runs);
    expectSuccess(runs);
}

TEST(Configuration, WorkingDirectoryThatCannotBeEnteredIsLeftAlone) {
    AppBundle bundle;
    const std::string own = fs::current_path().string();
    Launches runs;
    for (const std::string &directory :
         {bundle.folder() / "missing", bundle.folder().write("file", ""), std::string(), std::string(5000, 'x')}) {
        bundle.javaVM["WorkingDirectory"] = text(directory);
        startAndKeep(bundle, runs);
        EXPECT_EQ(runs.back()->report().directory, own) << directory;
    }
    expectSuccess(runs);
}

TEST(Configuration, VariablesInValuesOfVariablesEnd) {
    AppBundle bundle;
    bundle.javaVM["VMOptionArray"] =
        array({text("-Da=${AA}"), text("-Dc=${CC}"), text("-Dd=${DD}"), text("-De=${}${ ${NO}")});
    Launch run(bundle, {.environment = {{"AA", "${BB}"}, {"BB", "${AA}"}, {"CC", "${CC}"}, {"DD", "${DD}${DD}"}}});
    const Report report = run.report();
    ASSERT_GE(report.arguments.size(), 5U);
    EXPECT_TRUE(report.arguments[1].starts_with("-Da=${"));
    EXPECT_EQ(report.arguments[2], "-Dc=${CC}");
    EXPECT_EQ(report.arguments[3], "-Dd=${DD}${DD}");
    EXPECT_EQ(report.arguments[4], "-De=${}${ ${NO}");
    EXPECT_EQ(run.wait(), 0);
}

} // namespace
} // namespace kestrav::tests
