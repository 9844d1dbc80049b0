#include "platform/Reexecution.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

namespace kestrav::platform {
namespace {

TEST(ReexecutionTests, OnlyThisProcessIsBelieved) {
    constexpr const char *variable = "KESTRAV_REEXEC";
    prepareReexecution("17 \n0", "/a b/12");
    const std::string own = std::getenv(variable);
    const std::size_t start = own.find(' ') + 1;
    std::string ofAnotherTime = own;
    ofAnotherTime[start] = ofAnotherTime[start] == '1' ? '2' : '1';
    const struct {
        std::string value;
        bool isBelieved;
    } cases[] = {
        {own, true},
        {ofAnotherTime, false},
        {std::to_string(getpid() + 1) + own.substr(start - 1), false},
        {std::to_string(getpid()) + " 6 17.0.9/a b", false}, // without a time
        {own.substr(0, own.find(' ', start)) + " -2 17/lib", false},
        {own.substr(0, own.find(' ', start)) + " 3 17", false},
        {own.substr(0, own.find("17")), false},
        {"", false},
    };
    for (const auto &[value, isBelieved] : cases) {
        setenv(variable, value.c_str(), 1);
        const auto taken = takeReexecution();
        ASSERT_EQ(taken.has_value(), isBelieved) << value;
        EXPECT_TRUE(!taken || (taken->version == "17 \n0" && taken->libraryPath == "/a b/12"));
        EXPECT_EQ(std::getenv(variable), nullptr);
    }
}

} // namespace
} // namespace kestrav::platform
