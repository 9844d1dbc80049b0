#include "platform/Exception.h"
#include "platform/FileManager.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::ElementsAre;

class Configuration : public LauncherFixture {};

TEST_F(Configuration, TheSiblingFileLosesThreeCharactersWhateverTheyAre) {
    for (const auto &[bundle, sibling] : {std::pair{"A.app", "A.vmoptions"},
                                          {"Plain", "Plvmoptions"},
                                          {"x\u00e4\u00f6\u00fc", "xvmoptions"},
                                          {"xy\U0001F600", "xvmoptions"}}) {
        directory.makeDirectory(bundle);
        directory.write(sibling, "-from-sibling");
        platform::testing::replacements().mainBundle = platform::Bundle::create(directory / bundle);
        EXPECT_THAT(launcher.readJavaParameters().options, testing::Contains("-from-sibling")) << bundle;
    }
}

TEST_F(Configuration, AValueOfTheWrongTypeIsNamed) {
    launcher.runtime = JavaRuntime{"", {}, "17", 17, false, {}};
    for (const auto &[key, value] : {std::pair<const char *, PropertyList>("ClassPath", 7),
                                     {"StartOnMainThread", Array{}},
                                     {"VMOptionArray", Array{"-a", 7}},
                                     {"VersionSpecificVMOptions", Array{17, Array{}}},
                                     {"VersionSpecificVMOptions", Array{"17-17", true}}}) {
        configure({{"JavaVM", Dictionary{{key, value}}}});
        try {
            static_cast<void>(launcher.readJavaParameters());
            ADD_FAILURE() << key;
        } catch (const platform::Exception &exception) {
            EXPECT_THAT(exception.reason(), testing::HasSubstr(key));
        }
    }
}

TEST_F(Configuration, OfTheWrongTypeDoesNotHideANotice) {
    configure({{"CFBundleName", 7}, {"ksv.baseDir", Array{}}});
    Launcher::displayError("key");
    EXPECT_EQ(notices, Strings{"Tool: key\n" + platform::failureLogFile("Tool")});
}

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
        {"\t-x # no comment \t\n #\n", {"-x # no comment"}},
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
    directory.write("\"half", "-half\n-classpath/p x.jar"); // an unpaired quote
    std::filesystem::create_symlink("a.txt", directory / "link.txt");
    EXPECT_EQ(read("-include-options a.txt\n-include-options c.txt\n-include-options c.txt\n-include-options \"half"),
              "x.jar:(null)");
    EXPECT_THAT(options, ElementsAre("-a1", "-b", "-c", "-a2", "-c", "-c", "-half"));
    EXPECT_TRUE(wasLogged("includes itself"));
}

class Variables : public LauncherFixture {};

TEST_F(Variables, AreReplacedWhereTheyAreKnown) {
    setEnvironment({{"EMPTY", ""}, {"A", "${B}"}, {"B", "${A}!"}, {"WITH SPACE", "x y"}, {"Z}", "brace"}});
    const std::string &app = bundlePath;
    const std::pair<std::string, std::string> cases[] = {
        {"$APP_PACKAGE/lib:$APP_PACKAGE", app + "/lib:" + app},
        {"${launcher:sys.jvmHome}", "${launcher:sys.jvmHome}"}, // no runtime yet
        {"${NO_SUCH_VAR}${EMPTY}", "${NO_SUCH_VAR}"},
        {"${WITH SPACE}", "x y"},
        {"${Z}}", "brace"},
        {"${A}", "${A}!"}, // B is replaced after A, and A is not looked at again
        {"${B}", "${A}!"},
        {"${${A}", "${${A}!"},
        {"${", "${"},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(launcher.replaceVariables(text), expected) << text;
    }
    // The time for many unfinished names grows with their number, not with its square, which would take half an hour.
    std::string many;
    for (int count = 0; count < 1'000'000; ++count) {
        many += "${";
    }
    EXPECT_EQ(launcher.replaceVariables(many), many);
    EXPECT_EQ(launcher.replaceVariables(many + "B}"), many.substr(2) + "${A}!");
}

TEST_F(Variables, ThatHoldOneAnotherDoNotGrowWithoutEnd) {
    platform::ProcessInfo::Environment doubling;
    for (char name = 'a'; name < 'z'; ++name) {
        const std::string next = "${" + std::string(1, static_cast<char>(name + 1)) + "}";
        doubling[std::string(1, name)] = next + next;
    }
    setEnvironment(doubling);
    try {
        static_cast<void>(launcher.replaceVariables("-Dx=${a}"));
        FAIL();
    } catch (const platform::Exception &exception) {
        EXPECT_EQ(exception.reason(), "\"-Dx=${a}\" is too long once its variables are replaced");
    }
    EXPECT_EQ(launcher.replaceVariables("${s}").size(), 4U * 128);
}

} // namespace
} // namespace kestrav::tests
