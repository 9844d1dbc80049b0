#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;

class Options : public LauncherFixture {
protected:
    /// Reads `content` as an options file; the class path starts as `classPath`.
    OptionalText read(std::string_view content, OptionalText classPath = std::nullopt) {
        options.clear();
        return launcher.readOptionsFile(directory.write("tool.vmoptions", content), options, std::move(classPath),
                                        bundlePath);
    }
    Strings options;
};

TEST_F(Options, LinesBecomeOptions) {
    const std::pair<std::string, Strings> cases[] = {
        {"-a\r\n-b\n\r\n-c\r-d", {"-a", "-b", "-c", "-d"}},
        {"\t-x # no comment\n #\n", {"-x # no comment"}},
        {"\xEF\xBB\xBF-first", {"-first"}}, // editors put a byte-order mark before it
        {"-classpath:x\n-include-options\n-classpath", {"-classpath:x", "-include-options", "-classpath"}},
        {"-D=\xE4\n", {}}, // not UTF-8
        {"-Dname=\u00fcber \U0001F600", {"-Dname=\u00fcber \U0001F600"}},
    };
    for (const auto &[content, expected] : cases) {
        EXPECT_EQ(read(content), std::nullopt) << content;
        EXPECT_EQ(options, expected) << content;
    }
}

TEST_F(Options, IncludesWithoutEndEnd) {
    constexpr int length = 10'000; // a chain, each of whose files includes the next one twice
    for (int i = 0; i < length; ++i) {
        const std::string next = "-include-options " + std::to_string(i + 1) + "\n";
        directory.write("twice/" + std::to_string(i), next + next);
    }
    read("-include-options twice/0\n-last");
    EXPECT_THAT(options, ElementsAre("-last"));
    EXPECT_TRUE(wasLogged("too many files are included"));
}

TEST_F(Options, AFileThatIncludesItselfIsReadOnce) {
    directory.write("a.txt", "-a1\n-include-options b.txt\n-a2");
    directory.write("b.txt", "-b\n-include-options ./a.txt\n-include-options link.txt\n-include-options c.txt");
    directory.write("c.txt", "-c");
    directory.write("\"half", "-half\n-classpath/p x.jar"); // no pair of quotes
    std::filesystem::create_symlink("a.txt", directory / "link.txt");
    EXPECT_EQ(read("-include-options a.txt\n-include-options c.txt\n-include-options c.txt\n-include-options \"half"),
              "x.jar:(null)");
    EXPECT_THAT(options, ElementsAre("-a1", "-b", "-c", "-a2", "-c", "-c", "-half"));
    EXPECT_TRUE(wasLogged("includes itself"));
}

TEST_F(Options, PredefinedOptionsIncludeBesideTheBundle) {
    directory.write("extra.txt", "-extra\n-classpath x.jar");
    setEnvironment({{"V", "value"}});
    EXPECT_EQ(launcher.addPredefinedOptions({"-D=${V}", "-include-options extra.txt", "-classpath y.jar",
                                             "-include-options \"" + (directory / "extra.txt") + "\""},
                                            options, bundlePath, "old"),
              "x.jar");
    EXPECT_THAT(options, ElementsAre("-D=value", "-extra", "-classpath y.jar", "-extra"));
    EXPECT_EQ(launcher.addPredefinedOptions({}, options, bundlePath, std::nullopt), std::nullopt);
}

} // namespace
} // namespace kestrav::tests
