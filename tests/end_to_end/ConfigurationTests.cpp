// A configuration that is broken, or of the wrong types, ends with a notice or does no harm.

#include "Launch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

TEST(Configuration, WrongTypeIsNamedOrHarmless) {
    AppBundle bundle;
    bundle.info["ksv.initialProgress"] = 0.5;
    bundle.info["ksv.appId"] = 1; // read only if no runtime was found
    bundle.info["CFBundleIdentifier"] = Array{};
    bundle.javaVM["WorkingDirectory"] = "/missing";
    bundle.javaVM["VersionSpecificVMOptions"] = Array{"17-17"};
    Launch run(bundle);
    EXPECT_EQ(run.report().directory, fs::current_path().string());
    EXPECT_EQ(run.wait(), 0);
    EXPECT_EQ(run.errors(), "");
    const std::tuple<Dictionary &, const char *, PropertyList, const char *> cases[] = {
        {bundle.info, "CFBundleIconFile", 1, "Test"},
        {bundle.info, "ksv.allowPassthrough", Dictionary{}, "Test"},
        {bundle.info, "ksv.initialProgress", PropertyList::Date{}, "Test"},
        {bundle.javaVM, "MainClass", 1, "Test"},
        {bundle.javaVM, "SearchSequence", Array{1}, "Test"},
        {bundle.info, "CFBundleName", 1, "launcher"}, // what cannot be shown leaves the program's
    };
    for (const auto &[place, key, value, title] : cases) {
        const Dictionary saved = place;
        place[key] = value;
        Launch refused(bundle);
        expectRefusal(refused, key, title);
        place = saved;
    }
}

TEST(Configuration, OnlyAWholeFileIsRead) {
    AppBundle bundle;
    const std::pair<std::string, const char *> cases[] = {
        {"", ": Info.plist is damaged: line 1"},
        {PropertyList(Array{}).serialize(), ": Info.plist is an array, not a dictionary"},
        {"<!DOCTYPE plist [<!ENTITY a SYSTEM \"/dev/zero\">]><plist><string>&a;</string></plist>",
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
