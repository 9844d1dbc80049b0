// A configuration that is broken, or of the wrong types, ends with a notice or does no harm.

#include "Launch.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

/// Starts the bundle and waits until its configuration has been read: the child runs.
void startAndKeep(const AppBundle &bundle, Launches &runs) {
    runs.push_back(std::make_unique<Launch>(bundle));
    EXPECT_TRUE(runs.back()->report().has("org.example.Main"));
}

TEST(Configuration, WrongTypeIsNamedOrHarmless) {
    AppBundle bundle;
    const struct {
        std::map<std::string, std::string> &place;
        std::string key;
        std::vector<std::string> values;
        bool harmless = false;
    } cases[] = {
        {bundle.info, "CFBundleIconFile", {integer(1), "<true/>"}},
        {bundle.info, "JavaVM", {text("x"), array({})}},
        {bundle.info, "ksv.minVersion", {integer(17), "<real>17.0</real>", array({text("17")})}},
        {bundle.info, "ksv.allowPassthrough", {dictionary({})}},
        {bundle.info, "ksv.initialProgress", {"<date>2026-11-21T00:00:00Z</date>"}},
        {bundle.info, "ksv.initialProgress", {text("NO"), "<real>0.5</real>"}, true},
        {bundle.info, "ksv.appId", {integer(1)}, true}, // read only if no runtime was found
        {bundle.info, "CFBundleIdentifier", {integer(1), array({})}, true},
        {bundle.javaVM, "WorkingDirectory", {text("/missing"), text(""), text(std::string(5000, 'x'))}, true},
        {bundle.javaVM, "MainClass", {integer(1), text("")}},
        {bundle.javaVM, "VersionSpecificVMOptions", {array({}), array({text("17-17")})}, true},
        {bundle.javaVM, "SearchSequence", {text("Y"), array({integer(1)})}},
    };
    Launches runs;
    for (const auto &[place, key, values, harmless] : cases) {
        const auto saved = place;
        for (const std::string &value : values) {
            SCOPED_TRACE(testing::Message() << key << " " << value);
            place[key] = value;
            if (harmless) {
                startAndKeep(bundle, runs);
                EXPECT_EQ(runs.back()->report().directory,
                          key == "WorkingDirectory" ? fs::current_path().string() : bundle.path());
            } else {
                Launch run(bundle);
                expectRefusal(run, key);
            }
        }
        place = saved;
    }
    // A name that cannot be shown leaves the program's.
    bundle.info["CFBundleName"] = integer(1);
    Launch nameless(bundle);
    expectRefusal(nameless, "CFBundleName", "launcher");
    expectStatus(runs, 0);
}

TEST(Configuration, OnlyAWholeFileIsRead) {
    AppBundle bundle;
    const std::string whole = propertyList(dictionary({{"CFBundleName", text("Test")}}));
    const std::pair<std::string, const char *> cases[] = {
        {"", ": Info.plist is damaged: line 1"},
        {"\n\n" + whole.substr(0, whole.find("CFBundleName")), ": Info.plist is damaged: line "},
        {propertyList(array({})), ": Info.plist is an array, not a dictionary"},
        {"<!DOCTYPE plist [<!ENTITY a SYSTEM \"/dev/zero\">]>" + propertyList(dictionary({{"a", "&a;"}})),
         ": Info.plist is damaged: line "},
        {"bplist00", ": Info.plist is damaged"},
    };
    for (const auto &[content, message] : cases) {
        SCOPED_TRACE(content);
        bundle.rawInfo = content;
        Launch run(bundle);
        expectRefusal(run, message, "launcher");
    }
    // No file at all, then none that can be read: a link that leads nowhere, so that the test writes none either.
    const std::string file = bundle.path() + "/Contents/Info.plist";
    for (const auto &[target, message] :
         {std::pair{"nowhere/at/all", "no MainClass"}, {"Resources", "Info.plist cannot be read"}}) {
        fs::remove(file);
        fs::create_symlink(target, file);
        Launch run(bundle);
        expectRefusal(run, message, "launcher");
    }
}

} // namespace
} // namespace kestrav::tests
