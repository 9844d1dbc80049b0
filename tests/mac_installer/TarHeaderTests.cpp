#include "mac_installer/archive/TarHeader.h"
#include "support/ArchiveWriter.h"

#include <gtest/gtest.h>

namespace kestrav::tests {
namespace {

using namespace std::string_view_literals;

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
        {"\x80\0\0\0\0\0\0\2\0\0\0\0"sv, -176},
    };
    for (const auto &[field, value] : cases) {
        EXPECT_EQ(parseOctalField(field), value) << testing::PrintToString(field);
    }
    EXPECT_LT(parseOctalField("\x80" + std::string(11, '\x7f')), 0) << "base 256 must never look like a small size";
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
    EXPECT_EQ(header(archive).name(), hundred + "0000644");
    archive.patch(0, std::string(500, 'x'));
    EXPECT_EQ(header(archive).name(), std::string(500, 'x'));
    EXPECT_FALSE(header(archive).hasMagic());
    archive.patch(257, "ustar  \0"sv);
    EXPECT_TRUE(header(archive).hasMagic()) << "the older GNU form";
}

} // namespace
} // namespace kestrav::tests
