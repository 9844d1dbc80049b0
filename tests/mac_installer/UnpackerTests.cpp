#include "mac_installer/Cancellation.h"
#include "mac_installer/Unpacker.h"
#include "platform/Exception.h"
#include "support/LauncherFixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

namespace kestrav::tests {
namespace {

using testing::DoubleNear;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Unpacking : public LauncherFixture {
protected:
    void useTool(const std::string &script) {
        const std::string tool = directory.write("jre/bin/unpack200", "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    }
    bool unpack() {
        return Unpacker::unpack(directory / "jre", [this](double percentage, const OptionalText &text) {
            EXPECT_EQ(text, std::nullopt);
            percentages.push_back(percentage);
        });
    }
    std::vector<double> percentages;
};

TEST_F(Unpacking, NothingPackedIsNothingToDo) {
    EXPECT_TRUE(unpack());
    directory.write("jre/lib/x.JAR.PACK", "");
    directory.write("jre/lib/security/deep.jar.pack", "");
    EXPECT_TRUE(unpack()); // there is no tool that could run
    EXPECT_THAT(percentages, IsEmpty());
}

TEST_F(Unpacking, EveryArchiveGoesThroughTheTool) {
    directory.write("jre/lib/a b.jar.pack", "1");
    directory.write("jre/lib/ext/c.jar.pack", "2");
    // Our standard input is the program's, the terminal's signals are ours.
    useTool(R"sh([ $# = 3 ] && [ "$1" = -r ] && [ "$(readlink /proc/$$/fd/0)" = /dev/null ] &&
                 [ "$(cut -d ' ' -f 5 /proc/$$/stat)" = $$ ] && mv "$2" "$3")sh");
    EXPECT_TRUE(unpack());
    EXPECT_THAT(percentages, ElementsAre(50.0, 100.0));
    EXPECT_TRUE(std::filesystem::exists(directory / "jre/lib/a b.jar"));
    EXPECT_TRUE(std::filesystem::exists(directory / "jre/lib/ext/c.jar"));
    EXPECT_THAT(logged("found ("), ElementsAre("found (\n    \"lib/a b.jar.pack\",\n    lib/ext/c.jar.pack\n)"));
    EXPECT_THAT(logged("] unpacking"), SizeIs(2));
}

TEST_F(Unpacking, AnArchiveThatDisappearedCountsAsDone) {
    directory.write("jre/lib/a.jar.pack", "");
    directory.write("jre/lib/b.jar.pack", "");
    useTool("rm " + (directory / "jre/lib/*.pack"));
    EXPECT_TRUE(unpack());
    EXPECT_THAT(percentages, ElementsAre(50.0, 100.0));
    EXPECT_THAT(logged("] unpacking"), SizeIs(1));
}

TEST_F(Unpacking, TheFirstFailureEndsIt) {
    for (const char *name : {"a", "b", "c"}) {
        directory.write(std::string("jre/lib/") + name + ".jar.pack", "");
    }
    const std::string marker = directory / "ran";
    useTool("[ ! -e " + marker + " ] && touch " + marker + " && rm \"$2\"");
    launchGlobals.logStatus = 2;
    EXPECT_FALSE(unpack());
    EXPECT_THAT(percentages, ElementsAre(DoubleNear(100.0 / 3, 1e-9)));
    EXPECT_THAT(log, ElementsAre("+[Unpacker unpack:withProgress:] [Line 35] Unpack task failed."));
}

TEST_F(Unpacking, AToolThatCannotStartRaises) {
    directory.write("jre/lib/a.jar.pack", "");
    EXPECT_THROW(unpack(), platform::Exception);
}

/// In a process of its own, because a cancel is for good.
void unpackAndCancel(const std::string &runtime, const std::string &started) {
    std::thread canceller([&] {
        while (!std::filesystem::exists(started)) {
            std::this_thread::yield();
        }
        Unpacker::cancel();
    });
    const auto attempt = [&] {
        try {
            static_cast<void>(Unpacker::unpack(runtime, nullptr));
        } catch (const platform::Exception &exception) {
            return exception.name() == CancelledException;
        }
        return false;
    };
    const bool ended = attempt();
    canceller.join();
    _exit(ended && attempt() ? 42 : 1); // the second attempt does not even start
}

TEST_F(Unpacking, ACancelEndsAToolThatHangs) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    directory.write("jre/lib/a.jar.pack", "");
    const std::string started = directory / "started";
    useTool("trap '' TERM INT HUP; touch " + started + "; while :; do sleep 1; done");
    EXPECT_EXIT(unpackAndCancel(directory / "jre", started), testing::ExitedWithCode(42), "");
}

} // namespace
} // namespace kestrav::tests
