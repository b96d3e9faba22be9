#include "app/OwnWrites.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kStart = 0x100000000U;  // a tick count above 32 bits

}  // namespace

TEST(OwnWrites, changesCountAsOwnForThreeSecondsAfterTheLastWrite) {
    OwnWrites writes;
    EXPECT_FALSE(writes.isOwn(TEXT("a"), kStart));
    writes.mark(TEXT("a"), kStart);
    EXPECT_TRUE(writes.isOwn(TEXT("a"), kStart));
    EXPECT_TRUE(writes.isOwn(TEXT("a"), kStart + 2999));
    EXPECT_FALSE(writes.isOwn(TEXT("a"), kStart + 3000));
    EXPECT_FALSE(writes.isOwn(TEXT("A"), kStart)) << "paths are compared exactly";
    writes.mark(TEXT("a"), kStart + 2000);
    EXPECT_TRUE(writes.isOwn(TEXT("a"), kStart + 4999));
    EXPECT_EQ(writes.size(), 1U);
    writes.forget(TEXT("a"));
    EXPECT_FALSE(writes.isOwn(TEXT("a"), kStart + 2000));
}

TEST(OwnWrites, entriesAreForgottenAfterFiveSeconds) {
    OwnWrites writes;
    writes.mark(TEXT("a"), kStart);
    writes.mark(TEXT("b"), kStart + 1);
    writes.forgetOlder(kStart + 5000);
    EXPECT_EQ(writes.size(), 2U) << "exactly 5000 stays";
    writes.forgetOlder(kStart + 5001);
    EXPECT_EQ(writes.size(), 1U);
    EXPECT_TRUE(writes.isOwn(TEXT("b"), kStart + 1));
}
