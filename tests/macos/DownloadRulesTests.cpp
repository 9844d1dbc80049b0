#include "platform/macos/DownloadRules.h"

#include <gtest/gtest.h>

namespace kestrav::platform {
namespace {

TEST(DownloadRules, RedirectsLeadToServersAndKeepTheEncryption) {
    const struct {
        const char *from, *to;
        bool allowed;
    } cases[] = {
        {"http", "http", true},   {"http", "https", true}, {"http", "ftp", true},   {"https", "https", true},
        {"https", "http", false}, {"https", "ftp", false}, {"http", "file", false}, {"http", "data", false},
        {"https", "file", false}, {"http", "", false},
    };
    for (const auto &[from, to, allowed] : cases) {
        EXPECT_EQ(redirectIsAllowed(from, to), allowed) << from << " to " << to;
    }
}

TEST(DownloadRules, EncodesWhatNoURLContains) {
    EXPECT_EQ(percentEncoded("http://h/a b/\xC3\xA9%20?c#d\r\n"), "http://h/a%20b/%C3%A9%20?c#d%0D%0A");
}

} // namespace
} // namespace kestrav::platform
