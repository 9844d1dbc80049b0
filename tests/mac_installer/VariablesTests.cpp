#include "platform/Exception.h"
#include "support/LauncherFixture.h"

namespace kestrav::tests {
namespace {

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
        {"${A}", "${A}!"}, // B's turn comes after A's, A's does not come again
        {"${B}", "${A}!"},
        {"${${A}", "${${A}!"},
        {"${", "${"},
    };
    for (const auto &[text, expected] : cases) {
        EXPECT_EQ(launcher.replaceVariables(text), expected) << text;
    }
    // Many names without an end take no longer than their number asks for: the square of it is half an hour.
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

TEST_F(Variables, TheJavaHomeFollowsTheRuntimesLayout) {
    launcher.javaBundlePath = makeRuntime("jdk", "17");
    EXPECT_EQ(launcher.replaceVariables("${launcher:sys.jvmHome}"), directory / "jdk/Contents/Home");
    directory.makeDirectory("jdk/Contents/Home/jre");
    EXPECT_EQ(launcher.replaceVariables("${launcher:sys.jvmHome}"), directory / "jdk/Contents/Home/jre");
    directory.write("plain/bin/java", "");
    launcher.javaBundlePath = directory / "plain";
    EXPECT_EQ(launcher.replaceVariables("${launcher:sys.jvmHome}"), directory / "plain");
}

TEST_F(Variables, ArtifactPathsAreResolved) {
    setEnvironment({{"LIB", "/opt/a:/opt/b"}, {"EMPTY", ""}});
    directory.write("two/only.zip", "");
    directory.write("two/sub/deep.jar", "");
    const std::pair<std::string, OptionalText> cases[] = {
        {"", ""},
        {"a.jar::$LIB", "a.jar::/opt/a:/opt/b"},
        {"$EMPTY:x*", ":x*"},
        {directory / "two/*", directory / "two/only.zip"},
        {"$LIB/x", std::nullopt}, // the whole rest is the name
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(Launcher::resolveArtifactPath(path), expected) << path;
    }
    EXPECT_EQ(Launcher::resolveArtifactPath(std::nullopt), std::nullopt);
}

} // namespace
} // namespace kestrav::tests
