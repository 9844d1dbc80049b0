// Options files that cannot be used, or hardly, do no harm.

#include "Launch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace kestrav::tests {
namespace {

using Options = std::vector<std::string>;

/// The child's options up to those that every run has.
Options optionsOf(const Report &report) {
    Options options;
    for (std::size_t i = 1; i < report.arguments.size() && !report.arguments[i].starts_with("-Dksv."); ++i) {
        options.push_back(report.arguments[i]);
    }
    return options;
}

constexpr std::size_t hugeSize = 100'000'000;

TEST(OptionsFiles, ThatCannotBeReadAddNothing) {
    AppBundle bundle;
    const TemporaryDirectory &folder = bundle.folder();
    folder.write("Test.vmoptions", "-Dfrom=sibling\n");
    const std::string unreadable = folder.write("unreadable", "-Dx");
    std::filesystem::permissions(unreadable, std::filesystem::perms::none);
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
    const std::string link = folder / "link";
    std::filesystem::create_symlink(link, link);
    Launches runs;
    for (const std::string &file :
         {unreadable, folder.makeDirectory("directory"), folder / "missing", fifo, link, std::string("/dev/zero"),
          folder.write("latin", "-Dname=M\xFCller\n"), std::string()}) {
        bundle.javaVM["OptionsFile"] = text(file);
        runs.push_back(std::make_unique<Launch>(bundle, Start{.asNobody = true}));
        const Options options = optionsOf(runs.back()->report());
        EXPECT_EQ(options, Options{"-Dfrom=sibling"}) << file;
    }
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0) << run->errors();
    }
}

TEST(OptionsFiles, MayIncludeThemselvesAndBeHuge) {
    AppBundle bundle;
    const TemporaryDirectory &folder = bundle.folder();
    const std::string huge = folder.write("huge", "-Dfirst\n");
    {
        std::ofstream file(huge, std::ios::app);
        const std::string comment = "# a comment, as long as most lines of such files are or even a little longer\n";
        for (std::size_t size = 0; size < hugeSize; size += comment.size()) {
            file << comment;
        }
        file << "-Dlast";
    }
    const std::pair<std::string, Options> cases[] = {
        {folder.write("self", "-Dbefore\n-include-options self\n-include-options \"./self\"\n-Dafter\n"),
         {"-Dbefore", "-Dafter"}},
        {folder.write("one", "-Done\n-include-options two\n-Dend"), {"-Done", "-Dtwo", "-Dend"}},
        {huge, {"-Dfirst", "-Dlast"}},
    };
    folder.write("two", "-Dtwo\n-include-options one\n");
    Launches runs;
    for (const auto &[file, expected] : cases) {
        bundle.javaVM["OptionsFile"] = text(file);
        runs.push_back(std::make_unique<Launch>(bundle));
        EXPECT_EQ(optionsOf(runs.back()->report()), expected) << file;
    }
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 0) << run->errors();
    }

    // One option longer than any command line.
    bundle.javaVM["OptionsFile"] = text(folder.write("long", "-D" + std::string(hugeSize, 'x')));
    Launch tooLong(bundle);
    expectRefusal(tooLong, "could not start");
}

} // namespace
} // namespace kestrav::tests
