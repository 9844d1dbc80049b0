#include "platform/Bundle.h"
#include "platform/testing.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::HasSubstr;
using tests::TemporaryDirectory;
using Dictionary = PropertyList::Dictionary;
using Architectures = std::vector<std::optional<std::int32_t>>;

TEST(Bundle, OpensDirectoriesOnly) {
    const TemporaryDirectory directory;
    EXPECT_EQ(Bundle::create(directory.write("file", "")), nullptr);
    EXPECT_EQ(Bundle::create(directory / "missing"), nullptr);
    EXPECT_EQ(Bundle::create(directory.path() + "//")->bundlePath(), directory.path());
    EXPECT_EQ(Bundle::create("/")->bundlePath(), "/");
}

TEST(Bundle, FindsItsInformationAndResources) {
    const struct {
        const char *file, *resources;
    } cases[] = {
        {"Info.plist", ""},
        {"Resources/Info.plist", "/Resources"},
        {"Contents/Info.plist", "/Resources"},
        {"Contents/Resources/x.icns", "/Contents/Resources"},
    };
    const TemporaryDirectory directory; // each case adds a file that takes precedence over the earlier ones
    for (const auto &[file, resources] : cases) {
        directory.write(file, PropertyList(Dictionary{{"CFBundleIdentifier", file}}).serialize());
        const auto bundle = Bundle::create(directory.path());
        EXPECT_EQ(bundle->resourcePath(), directory.path() + resources);
        if (std::string_view(file).ends_with("Info.plist")) {
            EXPECT_EQ(bundle->bundleIdentifier(), file);
        }
    }
    const auto bundle = Bundle::create(directory.path());
    EXPECT_EQ(bundle->pathForResource("x", "icns"), directory / "Contents/Resources/x.icns");
    EXPECT_EQ(bundle->pathForResource("x.icns", ""), directory / "Contents/Resources/x.icns");
    EXPECT_EQ(bundle->pathForResource("x", "png"), std::nullopt);
}

TEST(Bundle, TextsOfKeysThatAreMissing) {
    const TemporaryDirectory directory;
    const PropertyList table(Dictionary{{"", "nothing"}, {"empty", ""}, {"list", PropertyList::Array{"a"}}});
    directory.write("Contents/Resources/en.lproj/Localizable.strings", table.serialize());
    testing::setEnvironment({{"LANG", "en"}}); // as for every user on GNUstep
    const auto bundle = Bundle::create(directory.path());
    EXPECT_EQ(bundle->localizedStringForKey("missing", ""), "missing");
    EXPECT_EQ(bundle->localizedStringForKey("missing", "value"), "value");
    EXPECT_EQ(bundle->localizedStringForKey("list", "value"), "value");
    EXPECT_EQ(bundle->localizedStringForKey("empty", "value"), "");
}

TEST(LinuxBundle, KeepsWhatIsWrongWithItsDescription) {
    std::vector<std::string> lines;
    testing::replacements().logSink = [&lines](std::string_view line) { lines.emplace_back(line); };
    const TemporaryDirectory directory;
    const auto damage = [&] {
        const auto bundle = Bundle::create(directory.path());
        EXPECT_EQ(bundle->infoDictionary(), Dictionary{});
        return bundle->damage().value_or("none");
    };
    EXPECT_EQ(damage(), "none");
    for (const char *content : {"", "<plist><dict>", "<plist><array/></plist>"}) {
        directory.write("Contents/Info.plist", content);
        EXPECT_THAT(damage(), HasSubstr("Info.plist is damaged")) << content;
    }
    EXPECT_TRUE(lines.empty()); // a runtime is not ours to report on
    testing::replacements().logSink = nullptr;
}

TEST(LinuxBundle, TellsArchitecturesOfItsExecutable) {
    constexpr std::int32_t x86 = 0x01000007;
    constexpr std::int32_t arm = 0x0100000C;
    const std::string x86Entry("\x01\x00\x00\x07", 4);
    const std::string armEntry("\x01\x00\x00\x0C", 4);
    const auto zeros = [](std::size_t count) { return std::string(count, '\0'); };
    const std::string fat = "\xCA\xFE\xBA\xBE" + zeros(3) + '\x02' + x86Entry + zeros(16) + armEntry + zeros(16);
    const auto elf = [&](const std::string &machine) {
        return std::string("\x7F") + "ELF\x02\x01" + zeros(12) + machine;
    };
    const struct {
        const char *what;
        std::string content;
        std::optional<Architectures> expected;
    } cases[] = {
        {"64 bits, little-endian", "\xCF\xFA\xED\xFE" + std::string("\x07\x00\x00\x01", 4), Architectures{x86}},
        {"32 bits, big-endian", "\xFE\xED\xFA\xCE" + zeros(3) + '\x12', Architectures{18}},
        {"fat", fat, Architectures{x86, arm}},
        {"fat, cut off in the second entry", fat.substr(0, 30), Architectures{x86, std::nullopt}},
        {"fat, cut off before the count", fat.substr(0, 6), std::nullopt},
        {"fat, far too many", "\xCA\xFE\xBA\xBE\x7F" + zeros(100), std::nullopt},
        {"Java class file", "\xCA\xFE\xBA\xBE" + zeros(3) + '\x34' + zeros(100), std::nullopt},
        {"ELF x86-64", elf(std::string("\x3E\0", 2)), Architectures{x86}},
        {"ELF aarch64", elf(std::string("\xB7\0", 2)), Architectures{arm}},
        {"ELF of another machine", elf(std::string("\xF3\0", 2)), std::nullopt},
        {"thin, cut off", "\xCF\xFA\xED\xFE\x07", std::nullopt},
        {"script", "#!/bin/sh\n", std::nullopt},
    };
    for (const std::string folder : {"", "Contents/MacOS/"}) {
        const TemporaryDirectory directory;
        directory.write(folder.empty() ? "Info.plist" : "Contents/Info.plist",
                        PropertyList(Dictionary{{"CFBundleExecutable", "program"}}).serialize());
        EXPECT_EQ(Bundle::create(directory.path())->executableArchitectures(), std::nullopt);
        for (const auto &[what, content, expected] : cases) {
            directory.write(folder + "program", content);
            EXPECT_EQ(Bundle::create(directory.path())->executableArchitectures(), expected) << what;
        }
    }
}

} // namespace
} // namespace kestrav::platform
