#include "mac_installer/archive/Unpacker.h"
#include "platform/FileDescriptor.h"
#include "platform/FileManager.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;

class Unpacking : public LauncherFixture {
protected:
    void useTool(const std::string &script) {
        const std::string tool = directory.write("jre/bin/unpack200", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    }
    bool unpack() {
        return Unpacker::unpack(directory / "jre", [this](double percentage) { percentages.push_back(percentage); });
    }
    std::vector<double> percentages;
};

TEST_F(Unpacking, EveryArchiveGoesThroughTheTool) {
    for (const char *other : {"jre/lib/x.JAR.PACK", "jre/lib/security/deep.jar.pack"}) {
        directory.write(other, "");
    }
    EXPECT_TRUE(unpack()); // there is nothing to do, and no tool
    directory.write("jre/lib/a b.jar.pack", "1");
    directory.write("jre/lib/ext/c.jar.pack", "2");
    directory.write("jre/lib/ext/interrupted.jar.part", "3");
    // Our standard input belongs to the Java program, and the terminal's signals are for us.
    ASSERT_EQ(dup2(platform::FileDescriptor::open("/", O_RDONLY).get(), STDIN_FILENO), STDIN_FILENO);
    useTool(R"sh([ $# = 3 ] && [ "$1" = -r ] && [ "$(readlink /proc/$$/fd/0)" = /dev/null ] &&
                 [ "$(cut -d ' ' -f 5 /proc/$$/stat)" = $$ ] && mv "$2" "$3")sh");
    EXPECT_TRUE(unpack());
    EXPECT_THAT(percentages, ElementsAre(50.0, 100.0));
    for (const char *jar : {"jre/lib/a b.jar", "jre/lib/ext/c.jar", "jre/lib/ext/interrupted.jar"}) {
        EXPECT_TRUE(std::filesystem::exists(directory / jar)) << jar;
    }
    EXPECT_THAT(logged("found ("), Contains("found (\n    \"lib/a b.jar.pack\",\n    lib/ext/c.jar.pack\n)"));
}

TEST_F(Unpacking, AnArchiveMayDisappearMeanwhile) {
    directory.write("jre/lib/a.jar.pack", "");
    directory.write("jre/lib/b.jar.pack", "");
    useTool("cd " + directory.path() + "/jre/lib && echo >>ran && rm *.pack");
    EXPECT_TRUE(unpack());
    EXPECT_THAT(percentages, ElementsAre(50.0, 100.0));
    EXPECT_EQ(platform::contentsOfFile(directory / "jre/lib/ran"), "\n");
}

TEST_F(Unpacking, OfTwoRunsOneWaits) {
    const std::string jar = directory / "jre/lib/a.jar";
    directory.write("jre/lib/a.jar.pack", "1");
    useTool("mkdir " + (directory / "busy") + " && sleep 0.2 && cp \"$2\" \"$3\" && [ ! -e " + jar + " ] && rm \"$2\"");
    const pid_t other = fork();
    const bool unpacked = unpack() && std::filesystem::exists(jar);
    if (other == 0) {
        _exit(unpacked ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_TRUE(unpacked && status == 0) << status;
    EXPECT_THAT(platform::contentsOfDirectoryAtPath(directory / "jre"), testing::Optional(testing::SizeIs(2)));
}

} // namespace
} // namespace kestrav::tests
