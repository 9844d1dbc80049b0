#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#import <Foundation/Foundation.h>

namespace kestrav::tests {
namespace {

/// A home of its own, for the user's defaults, and the pool that Foundation wants.
class Environment : public ::testing::Environment {
public:
    void SetUp() override {
        setenv("HOME", home_.path().c_str(), 1);
        pool_ = [[NSAutoreleasePool alloc] init];
    }
    void TearDown() override { [pool_ drain]; }

private:
    TemporaryDirectory home_;
    NSAutoreleasePool *pool_ = nil;
};

const auto *const environment = ::testing::AddGlobalTestEnvironment(new Environment);

} // namespace
} // namespace kestrav::tests
