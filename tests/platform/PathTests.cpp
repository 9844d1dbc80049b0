#include "platform/path.h"

#include <gmock/gmock.h>

namespace kestrav::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
    EXPECT_EQ(fileURLString("/a b/ü", false), "file:///a%20b/%C3%BC");
    EXPECT_EQ(fileURLString("/a/", true), "file:///a/");
    EXPECT_EQ(fileURLString("/;?#%[]\"!$&'()*+,=:@-._~", false), "file:///%3B%3F%23%25%5B%5D%22!$&'()*+,=:@-._~");
}

} // namespace
} // namespace kestrav::platform
