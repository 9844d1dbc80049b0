#include "platform/text.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace kestrav::platform {
namespace {

using ::testing::ElementsAre;

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
    EXPECT_EQ(trimmingWhitespaceAndNewlines("\u200B\xA0"), "\u200B\xA0"); // no white space, and no character
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

} // namespace
} // namespace kestrav::platform
