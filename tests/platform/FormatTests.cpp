#include "platform/format.h"

#include <gtest/gtest.h>

#include <limits>

namespace kestrav::platform {
namespace {

TEST(Format, FillsPlaceholders) {
    const std::vector<std::string> list = {"a", "-b"};
    const struct {
        std::string actual;
        const char *expected;
    } cases[] = {
        {format("no placeholder"), "no placeholder"},
        {format("%s [Line %d] %@: %@", "f()", 42, std::string("x"), list), "f() [Line 42] x: (\n    a,\n    \"-b\"\n)"},
        {format("%@|%s|%@", std::nullopt, static_cast<const char *>(nullptr), std::optional<std::string>()),
         "(null)|(null)|(null)"},
        {format("100%% %@%%", "x"), "100% x%"},
        {format("%2$@ %1$@ %@ %3$@", "a", "b"), "b a a (null)"},
        {format("%@ %d %@", "only"), "only 0 (null)"},
        {format("%5d|%-5d|%05d|%+d|% d|%.3d|%*d", 42, 42, -42, 42, 42, 42, -5, 42),
         "   42|42   |-0042|+42| 42|042|42   "},
        {format("%x %X %#x %#o %u", 255, 255, 255U, 8, 7U), "ff FF 0xff 010 7"},
        {format("%x %lx %u", -1, -1L, -1), "ffffffff ffffffffffffffff 4294967295"},
        {format("%ld %lld %qi %hhd", std::numeric_limits<long>::min(), 5LL, 6LL, 7), "-9223372036854775808 5 6 7"},
        {format("%lu", std::numeric_limits<unsigned long>::max()), "18446744073709551615"},
        {format("%.1f MB %6.2f %e %g", 12.34, 3.14159, 1e10, 0.5), "12.3 MB   3.14 1.000000e+10 0.5"},
        {format("%5s|%-5s|%.2s|%3@", "ä", "ä", "äöü", "x"), "    ä|ä    |äö|  x"},
        {format("%c%C", 'A', 0x20AC), "A€"},
        {format("%p %p", nullptr, reinterpret_cast<const void *>(0x10)), "0x0 0x10"},
        {format("%@ %@ %@", 0.1, true, PropertyList("text")), "0.1 1 text"},
    };
    for (const auto &[actual, expected] : cases) {
        EXPECT_EQ(actual, expected);
    }
}

TEST(Format, ConvertsArgumentsOfAnotherKind) {
    const PropertyList number(std::int64_t{7});
    const std::vector<std::string> list = {"a"};
    EXPECT_EQ(format("%d %d %d %d", "12x", 3.9, number, list), "12 3 7 0");
    EXPECT_EQ(format("%s %@ %s", 5, -6, 2.5), "5 -6 2.5");
    EXPECT_EQ(format("%.1f %.1f %.1f", 2, "3", list), "2.0 3.0 0.0");
    EXPECT_EQ(format("%d %x", 1e300, std::numeric_limits<double>::quiet_NaN()), "18446744073709551615 0");
}

TEST(Format, KeepsWhatIsNoPlaceholder) {
    for (const char *text : {"%", "100%", "%-5", "%n", "%y %", "%1$", "%99999999999999999999y", "%.*"}) {
        EXPECT_EQ(format(text, "argument"), text);
    }
    // A width from a damaged string table must not fill the memory.
    EXPECT_LT(format("%999999999d%.999999999f%*d", 1, 1.0, 999999999, 1).size(), 20000U);
}

} // namespace
} // namespace kestrav::platform
