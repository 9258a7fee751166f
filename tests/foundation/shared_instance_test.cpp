#include "foundation/shared_instance.h"

#include <gtest/gtest.h>

namespace {

int g_built = 0;
int g_alive = 0;

struct STable {
    STable() {
        if (++g_built == 3) {
            throw g_built;
        }
        ++g_alive;
    }
    ~STable() { --g_alive; }
    static STable* Acquire() { return CSharedInstance<STable>::Acquire(); }
    static void Release() { CSharedInstance<STable>::Release(); }
};

TEST(SharedInstanceTest, LivesFromTheFirstUserToTheLast) {
    for (int round = 1; round <= 2; ++round) {
        const CSharedHolder<STable> first;
        EXPECT_EQ(&*CSharedHolder<STable>(), &*first);
        EXPECT_EQ(g_built, round);
        EXPECT_EQ(g_alive, 1);
    }
    EXPECT_EQ(g_alive, 0);
    // The third instance fails to build and leaves no user behind.
    EXPECT_THROW(CSharedHolder<STable>(), int);
    EXPECT_NE(&*CSharedHolder<STable>(), nullptr);
}

}  // namespace
