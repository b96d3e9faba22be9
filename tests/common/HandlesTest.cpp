#include "common/Handles.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string closed;

struct LetterTraits {
    using Raw = char;
    static Raw none() { return 0; }
    static bool isEmpty(Raw raw) { return raw == 0; }
    static void close(Raw raw) {
        closed += raw;
        SetLastError(9999);
    }
};
using Letter = Guard<LetterTraits>;

}  // namespace

TEST(Handles, guardReleasesOnceAndKeepsTheLastError) {
    closed.clear();
    SetLastError(1234);
    {
        Letter a('a');
        Letter b('b');
        a = std::move(b);
        EXPECT_EQ(closed, "a") << "what was held is released by the assignment";
        EXPECT_FALSE(b);
        Letter& self = a;
        a = std::move(self);
        EXPECT_EQ(a.get(), 'b');
        *b.put() = 'c';
        *b.put() = 'd';
        EXPECT_EQ(closed, "ac");
        Letter e(std::move(b));
        EXPECT_EQ(e.release(), 'd');
        e.reset('f');
    }
    EXPECT_EQ(closed, "acfb");
    EXPECT_EQ(GetLastError(), 1234U);
}

TEST(Handles, nullAndInvalidFileHandlesAreEmpty) {
    EXPECT_FALSE(FileHandle());
    EXPECT_FALSE(FileHandle(nullptr));
    EXPECT_EQ(FileHandle().get(), INVALID_HANDLE_VALUE);
}
