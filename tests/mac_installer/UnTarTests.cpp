#include "mac_installer/archive/GzipTrailer.h"
#include "mac_installer/archive/TarHeader.h"
#include "platform/format.h"
#include "support/UnTarFixture.h"

#include <unistd.h>

#include <cmath>
#include <vector>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::HasSubstr;

using UnTarTest = UnTarFixture;

TEST(TarHeader, NumericFields) {
    const struct {
        std::string_view field;
        std::int64_t value;
    } cases[] = {
        {"00000001750 "sv, 1000},
        {"  1750\0 777"sv, 1000},
        {"17 50"sv, 15},
        {"77777777777\0"sv, 8589934591},
        {"777777777777"sv, 68719476735},
        {"0000000\0"sv, 0},
        {""sv, 0},
        {"19"sv, 17},
        {"1-"sv, 5},
        {"\x80\0\0\0\0\0\0\2\0\0\0\0"sv, 8589934592},
        {"\x80\0\0\0\x7f\xff\xff\xff\xff\xff\xff\xff"sv, INT64_MAX},
        {"\x80\0\0\0\x80\0\0\0\0\0\0\0"sv, -1},
        {"\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff"sv, -1},
    };
    for (const auto &[field, value] : cases) {
        EXPECT_EQ(parseNumericField(field), value) << testing::PrintToString(field);
    }
}

TEST(TarHeader, TextFields) {
    const auto header = [](const ArchiveWriter &archive) {
        return TarHeader(std::span<const char, TarHeader::size>(archive.unclosed().data(), TarHeader::size));
    };
    const std::string hundred(100, 'n');
    ArchiveWriter archive;
    archive.link("short", hundred);
    EXPECT_EQ(header(archive).name(), "short");
    EXPECT_EQ(header(archive).linkName(), hundred);
    archive.patch(0, hundred);
    EXPECT_EQ(header(archive).name(), hundred);
    archive.patch(345, std::string(155, 'p'));
    EXPECT_EQ(header(archive).name(), std::string(155, 'p') + "/" + hundred);
    archive.patch(257, "ustar  \0"sv); // the older GNU form, which has times in that place
    EXPECT_EQ(header(archive).name(), hundred);
    EXPECT_TRUE(header(archive).hasMagic());
    archive.patch(0, std::string(500, 'x'));
    EXPECT_FALSE(header(archive).hasMagic());
}

TEST_F(UnTarTest, ArchivesOfOrdinaryToolsAreExtractedAlike) {
    const std::string source = directory.makeDirectory("source");
    const std::map<std::string, mode_t> files{
        {"bin/java", 0755}, {"lib/modules", 0644}, {"readonly", 0444}, {"a folder/private", 0600}};
    for (const auto &[name, mode] : files) {
        const std::string file = platform::format("source/jre/%@", name);
        chmod(directory.write(file, std::string(name.size() * 12345, name.front())).c_str(), mode);
    }
    directory.makeDirectory("source/jre/empty");
    directory.write("source/jre/nothing", "");
    fs::create_symlink("../lib/modules", source + "/jre/bin/relative");
    fs::create_symlink("/nowhere", source + "/jre/dangling");
    const std::string folder(120, 'f');
    const std::string deep = "jre/" + folder + "/" + std::string(200, 'g') + "/"; // with a name, more than 255 bytes
    fs::create_hard_link(directory.write("source/jre/" + folder + "/first", "linked"), source + "/jre/second");
    directory.write("source/" + deep + "file", "deep");
    fs::create_symlink(std::string(300, '/'), source + "/" + deep + "link");
    const std::string pack = platform::format(" -C '%@' -czf '%@' ", source, archive);
    const std::string python =
        platform::format(" -c \"import tarfile; tarfile.open('%@', 'w:gz').add('%@/jre', 'jre')\"", archive, source);
    for (const std::string &command : {
             KESTRAV_GNU_TAR " --format=posix" + pack + "jre",
             KESTRAV_GNU_TAR " --format=gnu" + pack + ".",
             KESTRAV_BSDTAR " --format=gnutar" + pack + "jre",
             KESTRAV_BSDTAR + pack + ".",
             KESTRAV_PYTHON + python,
         }) {
        refresh();
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        EXPECT_TRUE(UnTar::untar(archive, destination, 1).complete) << command;
        EXPECT_EQ(treeOf(destination), treeOf(source)) << command;
        EXPECT_EQ(fs::hard_link_count(destination + "/jre/second"), 2U) << command;
        EXPECT_EQ(log, "");
    }
}

TEST_F(UnTarTest, WhatIsExtractedAndWhatIsLogged) {
    const auto f = [] { return archiveOf("f=data"); };
    const std::string large(300000, 'x');
    const std::string packed = gzip(f().closed());
    constexpr std::size_t longerThanAChunk = 800'000; // a chunk is inflated as a whole, ahead of what is extracted
    const std::string packedWithTail = gzip(f().closed() + std::string(longerThanAChunk, '\0'));
    const auto damaged = [](std::string bytes, std::size_t fromEnd) {
        bytes[bytes.size() - fromEnd] = static_cast<char>(bytes[bytes.size() - fromEnd] ^ 1);
        return bytes;
    };
    // A first member that ends with a chunk, and one whose header has everything it may have.
    const std::string manyChunks =
        ArchiveWriter().entry('V', "v", std::string(1048064, 'v')).raw(f().closed()).closed();
    const std::string firstMember = gzip(manyChunks.substr(0, 1048576));
    const auto lastMember = [&](char headerSum) {
        return "\x1f\x8b\x08\x1e\0\0\0\0\2\3\2\0xxname\0note\0"s + headerSum + '\x07' +
               gzip(manyChunks.substr(1048576)).substr(10);
    };
    const struct {
        const char *what;
        std::string packed;
        bool complete;
        std::string tree;
        std::string logged; ///< "" for nothing
    } cases[] = {
        {"skipped kinds", gzip(ArchiveWriter().entry('\0', "g", large).entry('V', "l", "x").raw(f().closed()).closed()),
         true, "f=data", ""},
        {"hard links", gzip(archiveOf("f=data; h#g; ._h#f").entry('1', "g", large).patch(157, "./f").closed()), true,
         "f=data; g=data", "244] ERROR: could not create hard link at " + destination + "/h (No such file"},
        {"records",
         gzip(ArchiveWriter()
                  .record("path", "g", 'g')
                  .record("linkpath", "t")
                  .record("comment", large)
                  .link("l", "x")
                  .record("path", "")
                  .entry('L', "l", "f\0x"sv)
                  .raw(ArchiveWriter().record("size", "4").file("x", "data").size(70).unclosed())
                  .closed()),
         true, "f=data; g>t", ""},
        {"padded records", gzip(ArchiveWriter().entry('x', "x", std::string(100, '\0')).raw(f().unclosed()).closed()),
         true, "f=data", ""},
        {"record without a line break", gzip(ArchiveWriter().entry('x', "x", "9 path=abc").raw(f().closed()).closed()),
         false, "", "248] ERROR: gzseek 2 failed"},
        {"record that is too long", gzip(ArchiveWriter().entry('x', "x", "99 a=b\n").raw(f().closed()).closed()), false,
         "", "248] ERROR: gzseek 2 failed"},
        {"size that is none", gzip(ArchiveWriter().record("size", "-1").raw(f().closed()).closed()), false, "",
         "248] ERROR: gzseek 2 failed"},
        {"name without end", gzip(ArchiveWriter().entry('L', "l", large).raw(f().closed()).closed()), false, "",
         "248] ERROR: gzseek 2 failed"},
        {"metadata files", gzip(ArchiveWriter().file("a/._b", large).file("._c", "x").raw(f().closed()).closed()), true,
         "f=data", ""},
        {"mode", gzip(ArchiveWriter().file("\u00fc", "x", 06401).closed()), true, "\u00fc=x 601", ""},
        {"directories only", gzip(archiveOf("a/b/").closed()), true, "a/; a/b/", "203] ERROR: no magic number"},
        {"no parent", gzip(archiveOf("a/b=x; f=data").closed()), true, "f=data",
         "95] Could not create file " + destination + "/a/b 2 No such file or directory"},
        {"file over directory", gzip(archiveOf("a/; a=x; f=data").closed()), true, "a/; f=data",
         "95] Could not create file " + destination + "/a 21 "},
        {"directory over file", gzip(archiveOf("f=data; f/; g=x").closed()), false, "f=data",
         "227] ERROR: extract creating directory"},
        {"link over tree", gzip(archiveOf("a/b; a/b/c=x; a>f; f=data").closed()), true, "a>f; f=data", ""},
        {"file over file", gzip(ArchiveWriter().file("f", large, 0444).file("f", "data").closed()), true, "f=data", ""},
        {"impossible link", gzip(archiveOf("a/l>f; f=data").closed()), true, "f=data",
         "244] ERROR: could not create symlink at " + destination + "/a/l (No such file or directory)"},
        {"several members", firstMember + gzip("") + lastMember('\xe3'), true, "f=data", ""},
        {"wrong check sum between", damaged(firstMember, 8) + lastMember('\xe3'), false, "",
         "248] ERROR: gzseek 2 failed"},
        {"wrong check sum of a header", firstMember + lastMember('\xe4'), false, "", "197] ERROR: gzread failed"},
        {"part of a header of gzip", firstMember + lastMember('\xe3').substr(0, 20), false, "",
         "191] ERROR: unexpected eof"},
        {"bytes after the gzip stream", packed + "garbage", true, "f=data", ""},
        {"wrong check sum", damaged(packed, 8), false, "", "197] ERROR: gzread failed"},
        {"wrong check sum behind a long tail", damaged(packedWithTail, 8), false, "f=data",
         "197] ERROR: gzread failed"},
        {"wrong length behind a long tail", damaged(packedWithTail, 4), false, "f=data", "197] ERROR: gzread failed"},
        {"text for a header", gzip(f().raw(std::string(512, 'x')).closed()), false, "f=data",
         "203] ERROR: no magic number"},
        {"part of a header", gzip(f().raw(f().unclosed().substr(0, 499)).unclosed()), false, "f=data",
         "191] ERROR: unexpected eof"},
        {"data end", gzip(f().size(70000).unclosed().substr(0, 516)), false, "f=data",
         "144] ERROR: sizes don't match: 4, 70000"},
        {"size below zero", gzip(f().patch(124, "-0000000001").closed()), false, "", "236] ERROR: extract file failed"},
        {"size in base 256", gzip(f().patch(124, "\x80\0\0\0\0\0\0\0\0\0\0\4"sv).closed()), true, "f=data", ""},
        {"size of 2 GiB", gzip(f().size(1UL << 31).closed()), false, "", "236] ERROR: extract file failed"},
        {"size of skipped data", gzip(f().entry('V', "x").size(1UL << 32).closed()), false, "f=data",
         "248] ERROR: gzseek 2 failed"},
        {"size of unwanted file", gzip(f().file("._x").size(5000).closed()), false, "f=data",
         "158] ERROR: gzseek 3 failed"},
        {"no padding", gzip(f().unclosed().substr(0, 600)), true, "f=data", ""},
        {"nothing but zeros", gzip(std::string(1024, '\0')), false, "", "203] ERROR: no magic number"},
        {"empty file", "", false, "", "191] ERROR: unexpected eof"},
        {"not gzip", f().closed(), true, "f=data", ""},
    };
    for (const auto &[what, bytes, complete, tree, logged] : cases) {
        SCOPED_TRACE(what);
        refresh();
        const UntarResult result = untar(bytes);
        EXPECT_EQ(result.complete, complete);
        EXPECT_EQ(result.reason.empty(), complete) << result.reason;
        EXPECT_EQ(treeOf(destination), tree);
        EXPECT_THAT(log, HasSubstr(logged));
        EXPECT_EQ(log.empty(), logged.empty()) << log;
    }
}

TEST_F(UnTarTest, TopDirectoryAndUnusablePaths) {
    platform::testing::replacements().debugLog = true;
    EXPECT_EQ(untar(gzip(archiveOf("jre/; readme=x").closed())).topDirectory, "jre");
    EXPECT_THAT(log, HasSubstr("+[UnTar untar:to:uncompressedLength:withProgress:] [Line 221] extracting jre/\n"));
    platform::testing::replacements().debugLog = false;
    EXPECT_EQ(untar(gzip(archiveOf("readme=x").closed())).topDirectory, std::nullopt);
    EXPECT_FALSE(UnTar::untar(archive, directory / "missing", 1).complete);
    ASSERT_EQ(mkfifo((directory / "fifo").c_str(), 0600), 0);
    for (const std::string &unreadable : {directory / "missing", directory.path(), directory / "fifo"}) {
        log.clear();
        EXPECT_FALSE(UnTar::untar(unreadable, destination, 1, [](double) { FAIL(); }).complete);
        EXPECT_THAT(log, HasSubstr("[Line 174] error reading JRE "));
    }
}

TEST_F(UnTarTest, ProgressFollowsThePosition) {
    std::vector<double> calls;
    const auto note = [&](double percent) { calls.push_back(percent); };
    const auto at = [](float position) { return double{position / 100000.0F * 100.0F}; };
    const std::string packed = gzip(archiveOf("d/").file("a", std::string(40000, 'a')).file("empty").closed());
    EXPECT_TRUE(untar(packed, note).complete);
    EXPECT_THAT(calls, ElementsAre(0.0, at(1024), at(1024 + 32768), at(41024), at(41984), 100.0));
    calls.clear();
    EXPECT_TRUE(UnTar::untar(archive, destination, 0, note).complete);
    EXPECT_TRUE(std::isinf(calls[1]));
    calls.clear();
    EXPECT_FALSE(untar("not gzip", note).complete);
    EXPECT_THAT(calls, ElementsAre(0.0, 100.0));
}

TEST_F(UnTarTest, ThePlausibleSizeInTheTrailerCounts) {
    const std::string member = gzip(std::string(600'000, 'x') + "yz");
    const std::string tail = member.substr(member.size() - 4);
    const struct {
        std::string bytes;
        std::optional<std::int32_t> size;
    } cases[] = {
        {member, 600'002},
        {gzip("x"), {}},
        {member + member, {}},
        {gzipMembers(std::string(3'000'000, 'x')), 3'000'000},
        {gzipMembers(std::string(100, 'x')) + std::string(100, '\0'), {}},
        {member.substr(0, 10) + std::string(300'000, 'x') + member + tail, {}},
        {member.substr(0, member.size() - 4) + "\xff\xff\xff\xff", {}},
        {std::string(1000, 'x') + tail, {}},
        {"", {}},
    };
    for (const auto &[bytes, size] : cases) {
        EXPECT_EQ(uncompressedSizeOf(directory.write("archive", bytes)), size) << &bytes - &cases[0].bytes;
    }
}

TEST_F(UnTarTest, ALongFileArrivesWhole) {
    std::string data;
    for (unsigned number = 0; data.size() < 4'000'000; ++number) {
        data += std::to_string(number);
    }
    directory.write("archive", gzip(ArchiveWriter().file("f", data).closed()));
    EXPECT_TRUE(UnTar::untar(archive, destination, 1).complete);
    std::ifstream file(destination + "/f", std::ios::binary);
    EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(file), {}) == data);
}

TEST_F(UnTarTest, WhatACallbackThrowsPassesAndNothingStaysOpen) {
    struct Cancelled {};
    const auto open = [] { return std::distance(fs::directory_iterator("/dev/fd"), {}); };
    const auto before = open();
    const std::string moreThanIsInflatedAhead(1'500'000, 'x');
    const std::string moreThanOneMember(3 << 20, 'x');
    for (const std::string &packed : {gzip(archiveOf("d/; d/x=x").file("a", moreThanIsInflatedAhead).closed()),
                                      gzip(archiveOf("d/; d/x=x").file("._skipped", moreThanIsInflatedAhead).closed()),
                                      gzipMembers(archiveOf("d/; d/x=x").file("a", moreThanOneMember).closed())}) {
        int checks = 0;
        int reports = 0;
        EXPECT_TRUE(untar(
                        packed, [&](double) { ++reports; }, [&] { ++checks; })
                        .complete);
        EXPECT_GE(checks, 7 + 4) << "every chunk and every header";
        for (int last = 1; last <= checks + reports; ++last) {
            int left = last;
            const auto cancel = [&] { --left == 0 ? throw Cancelled() : void(); };
            EXPECT_THROW((void)untar(
                             packed, [&](double) { cancel(); }, cancel),
                         Cancelled);
            EXPECT_EQ(open(), before);
        }
    }
}

} // namespace
} // namespace kestrav::tests
