#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
    setEnvironment({{"MEMORY", "512m"}});
    const std::pair<std::string, Strings> cases[] = {
        {"", {}},
        {"-Xmx1g", {"-Xmx1g"}},
        {"-a\r\n-b\n\r\n-c\r-d", {"-a", "-b", "-c", "-d"}},
        {"   -Xmx${MEMORY}\t\n", {"-Xmx512m"}},
        {"  # -Xmx512m\n#\n -x # no comment\n", {"-x # no comment"}},
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

TEST_F(Options, TheClassPathIsSetPrependedAndAppended) {
    struct Case {
        const char *content;
        OptionalText before;
        OptionalText after;
    };
    const Case cases[] = {
        {"-classpath a.jar", "old", "a.jar"},
        {"-classpath/p a.jar", "old", "a.jar:old"},
        {"-classpath/a a.jar", "old", "old:a.jar"},
        {"-classpath/a lib/x.jar", std::nullopt, std::nullopt},
        {"-classpath/p lib/x.jar", std::nullopt, "lib/x.jar:(null)"},
        {"-classpath $APP_PACKAGE", "old", bundlePath},
    };
    for (const auto &[content, before, after] : cases) {
        EXPECT_EQ(read(content, before), after) << content;
        EXPECT_THAT(options, IsEmpty()) << content;
    }
}

TEST_F(Options, IncludesAreReadInPlace) {
    directory.write("My Options.txt", "-quoted\n-classpath/a inner.jar");
    directory.write("sub/relative.txt", "-relative\n-include-options next.txt");
    directory.write("sub/next.txt", "-next");
    directory.write("\"half", "-half"); // no pair of quotes
    setEnvironment({});
    EXPECT_EQ(read("-before\n-include-options \"My Options.txt\"\n-include-options sub/relative.txt\n"
                   "-include-options $APP_PACKAGE/../sub/next.txt\n-include-options missing.txt\n"
                   "-include-options \"half\n-after",
                   "old"),
              "old:inner.jar");
    EXPECT_THAT(options, ElementsAre("-before", "-quoted", "-relative", "-next", "-next", "-half", "-after"));
    EXPECT_THAT(logged("option file"), testing::Contains("option file " + (directory / "missing.txt")));
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
    std::filesystem::create_symlink("a.txt", directory / "link.txt");
    read("-include-options a.txt\n-include-options c.txt\n-include-options c.txt");
    EXPECT_THAT(options, ElementsAre("-a1", "-b", "-c", "-a2", "-c", "-c"));
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
