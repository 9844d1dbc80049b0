#include "platform/format.h"
#include "platform/path.h"
#include "platform/text.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>

namespace kestrav::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Text, ReadsIntegersAndBooleans) {
    const struct {
        const char *text;
        std::int32_t number;
        bool boolean;
    } cases[] = {
        {"", 0, false},
        {"42", 42, true},
        {"  \t-17x", -17, true},
        {"\u00A0+8", 8, true},
        {"+-5", 0, false},
        {"2147483648", INT32_MAX, true},
        {"-99999999999999999999", INT32_MIN, true},
        {"abc", 0, false},
        {"0", 0, false},
        {"-0007", -7, true},
        {"YES", 0, true},
        {" true", 0, true},
        {"00t", 0, true},
        {"no", 0, false},
        {"\u0665", 0, false},
    };
    for (const auto &[text, number, boolean] : cases) {
        EXPECT_EQ(intValue(text), number) << text;
        EXPECT_EQ(boolValue(text), boolean) << text;
    }
    EXPECT_EQ(longLongValue("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(longLongValue("9223372036854775808"), INT64_MAX);
}

TEST(Text, SplitsReplacesAndTrims) {
    EXPECT_THAT(componentsSeparatedBy("", ";"), ElementsAre(""));
    EXPECT_THAT(componentsSeparatedBy(";a,,b;", ";,"), ElementsAre("", "a", "", "b", ""));
    EXPECT_EQ(replacingOccurrences("aaa", "aa", "a"), "aa");
    EXPECT_EQ(replacingOccurrences("$A$A", "$A", "x$A"), "x$Ax$A");
    EXPECT_EQ(replacingOccurrences("abc", "", "x"), "abc");
    EXPECT_EQ(trimming(" \ta b\t", " \t"), "a b");
    EXPECT_EQ(trimmingWhitespaceAndNewlines("\u3000\r\n a b \u00A0\u0085\u2029\t"), "a b");
    EXPECT_EQ(trimmingWhitespaceAndNewlines(" \u2003 "), "");
    EXPECT_EQ(trimmingWhitespaceAndNewlines("\u200B\xA0"), "\u200B\xA0"); // the second is not even a character
}

TEST(Text, MatchesWildcards) {
    const struct {
        const char *text, *pattern;
        bool matches;
    } cases[] = {
        {"", "*", true},          {"", "?", false},           {"17.0.2", "17*", true},
        {"17.0.2", "*.2", true},  {"17.0.2", "1?.0.?", true}, {"17.0.2", "17.0", false},
        {"17.0.2", "7*", false},  {"abcabc", "*abc", true},   {"abcabd", "*abc", false},
        {"aXbXc", "a*b*c", true}, {"a*c", "a\\*c", true},     {"abc", "a\\*c", false},
        {"a\\", "a\\", true},     {"ABC", "abc", false},      {"ü😀", "??", true},
        {"ü", "??", false},
    };
    for (const auto &[text, pattern, matches] : cases) {
        EXPECT_EQ(isLike(text, pattern), matches) << text << " like " << pattern;
    }
    std::string stars;
    for (int count = 0; count < 500; ++count) {
        stars += "*a";
    }
    EXPECT_FALSE(isLike(std::string(5000, 'a'), stars + "b"));
}

TEST(Text, ConvertsUnicode) {
    const struct {
        std::string_view text;
        std::u16string_view units;
        bool valid;
    } cases[] = {
        {"aü€😀", u"aü€😀", true},
        {std::string_view("\0\x7F", 2), std::u16string_view(u"\0\x7F", 2), true},
        {"a\xC3", u"a\uFFFD", false},                             // cut off
        {"\xC0\x80", u"\uFFFD\uFFFD", false},                     // longer than necessary
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},           // a surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false}, // beyond the last character
        {"\x80z", u"\uFFFDz", false},
    };
    for (const auto &[text, units, valid] : cases) {
        EXPECT_EQ(utf16(text), units);
        EXPECT_EQ(isValidUTF8(text), valid);
        if (valid) {
            EXPECT_EQ(utf8(units), text);
        }
    }
    EXPECT_EQ(utf8(std::u16string{0xD83D, u'x', 0xDE00}), "\uFFFDx\uFFFD");
}

TEST(Text, ClassifiesCharacters) {
    const struct {
        bool (*is)(char16_t);
        std::u16string_view members, others;
    } cases[] = {
        {isDecimalDigit, u"09\u0665\uFF11", u"a\u00B2\u2160"},
        {isPunctuation, u".-_!\u2014\u00AB\u00BB\u3001", u"+$<~^|1\u20AC"},
        {isWhitespaceOrNewline, u" \t\v\u0085\u00A0\u2028\u3000", u"\x1F\u200B\uFEFF"},
    };
    for (const auto &[is, members, others] : cases) {
        EXPECT_TRUE(std::all_of(members.begin(), members.end(), is)) << utf8(members);
        EXPECT_TRUE(std::none_of(others.begin(), others.end(), is)) << utf8(others);
    }
    EXPECT_FALSE(isDecimalDigit(0xD835) || isPunctuation(0xDC00) || isWhitespaceOrNewline(0));
}

TEST(Path, AppendsComponents) {
    const struct {
        const char *path, *component, *expected;
    } cases[] = {
        {"/x", "y", "/x/y"}, {"/x/", "/y/", "/x/y"}, {"", "y", "y"},        {"", "/y/", "/y"}, {"//", "y", "/y"},
        {"/x", "", "/x"},    {"/x/", "/", "/x"},     {"x", "y/z", "x/y/z"}, {"", "", ""},      {"/", "", "/"},
    };
    for (const auto &[path, component, expected] : cases) {
        EXPECT_EQ(appendingPathComponent(path, component), expected) << path << " + " << component;
    }
}

TEST(Path, TakesPathsApart) {
    const struct {
        const char *path, *parent, *last;
    } cases[] = {
        {"/a/b", "/a", "b"}, {"/a", "/", "a"},  {"a", "", "a"},       {"/", "/", "/"},    {"", "", ""},
        {"a/b/", "a", "b"},  {"/a/", "/", "a"}, {"/a//b", "/a", "b"}, {"///a", "/", "a"}, {"//", "/", "/"},
    };
    for (const auto &[path, parent, last] : cases) {
        EXPECT_EQ(deletingLastPathComponent(path), parent) << path;
        EXPECT_EQ(lastPathComponent(path), last) << path;
        EXPECT_EQ(isAbsolutePath(path), *path == '/') << path;
    }
    EXPECT_TRUE(isAbsolutePath("~user/a"));
    EXPECT_THAT(pathComponents(""), IsEmpty());
    EXPECT_THAT(pathComponents("///"), ElementsAre("/"));
    EXPECT_THAT(pathComponents("jre/"), ElementsAre("jre", "/"));
    EXPECT_THAT(pathComponents("/a//b"), ElementsAre("/", "a", "b"));
    EXPECT_THAT(pathComponents("./../x//"), ElementsAre(".", "..", "x", "/"));
}

TEST(Path, WritesFileURLs) {
    EXPECT_EQ(fileURLString("/azAZ09 b/ü", false), "file:///azAZ09%20b/%C3%BC");
    EXPECT_EQ(fileURLString("/a/", true), "file:///a/");
    EXPECT_EQ(fileURLString("/;?#%[]\"!$&'()*+,=:@-._~", false), "file:///%3B%3F%23%25%5B%5D%22!$&'()*+,=:@-._~");
}

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
