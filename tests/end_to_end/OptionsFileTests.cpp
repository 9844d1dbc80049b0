// Options files that cannot be used, or hardly, do no harm.

#include "Launch.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace kestrav::tests {
namespace {

using Options = std::vector<std::string>;

constexpr std::size_t hugeSize = 100'000'000;

TEST(OptionsFiles, OddOnesDoNoHarm) {
    AppBundle bundle;
    const TemporaryDirectory &folder = bundle.folder();
    folder.write("Test.vmoptions", "-Dfrom=sibling\n");
    const std::string unreadable = folder.write("unreadable", "-Dx");
    std::filesystem::permissions(unreadable, std::filesystem::perms::none);
    const std::string fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
    std::string huge = "-Dfirst\n";
    huge.reserve(hugeSize);
    while (huge.size() < hugeSize) {
        huge += "# a comment, as long as most lines of such files are or even a little longer\n";
    }
    const std::pair<std::string, Options> cases[] = {
        {unreadable, {}},
        {folder.makeDirectory("directory"), {}},
        {folder / "missing", {}},
        {fifo, {}},
        {"/dev/zero", {}},
        {folder.write("latin", "-Dname=M\xFCller\n"), {}},
        {folder.write("self", "-Dbefore\n-include-options self\n-include-options \"./self\"\n-Dafter\n"),
         {"-Dbefore", "-Dafter"}},
        {folder.write("huge", huge + "-Dlast"), {"-Dfirst", "-Dlast"}},
    };
    Launches runs;
    for (const auto &[file, expected] : cases) {
        bundle.javaVM["OptionsFile"] = text(file);
        runs.push_back(std::make_unique<Launch>(bundle, Start{.asNobody = true}));
        const Options arguments = runs.back()->report().arguments;
        Options options{"-Dfrom=sibling"};
        options.insert(options.end(), expected.begin(), expected.end());
        options.push_back("-Dksv.ownBundlePath=" + bundle.path()); // the first that every run has
        ASSERT_GT(arguments.size(), options.size()) << file;
        EXPECT_EQ(Options(arguments.begin() + 1, arguments.begin() + 1 + std::ssize(options)), options) << file;
    }
    expectStatus(runs, 0);

    // One option longer than any command line.
    bundle.javaVM["OptionsFile"] = text(folder.write("long", "-D" + std::string(hugeSize, 'x')));
    Launch tooLong(bundle);
    expectRefusal(tooLong, "could not start");
}

} // namespace
} // namespace kestrav::tests
