#include "platform/threads.h"

#include <stdexcept>

#include "support/test.h"

namespace {

// What `wait` throws; empty for nothing.
template <class TWait>
std::string Thrown(const TWait& wait) {
    try {
        wait();
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return {};
}

TEST(ThreadsTest, WhatAWorkerThrowsReachesWhoeverWaits) {
    platform::CWorkerThread thread;
    EXPECT_EQ(Thrown([&thread] { thread.Wait(); }), "");
    thread.Start([] { throw std::runtime_error("body"); });
    EXPECT_EQ(Thrown([&thread] { thread.Join(); }), "");
    EXPECT_EQ(Thrown([&thread] { thread.Wait(); }), "body");
    bool hasRun = false;
    thread.Start([&hasRun] { hasRun = true; });
    EXPECT_EQ(Thrown([&thread] { thread.Wait(); }), "");
    EXPECT_TRUE(hasRun);
}

TEST(ThreadsTest, AJobThatThrowsIsToldOnceAndHoldsUpNoOther) {
    platform::CJobQueue queue(1);
    std::string done;
    for (const char* const name : {"a", "b", "c", "d"}) {
        queue.Add([&done, name] {
            done += name;
            if (*name == 'b' || *name == 'c') {
                throw std::runtime_error(name);
            }
        });
    }
    EXPECT_EQ(Thrown([&queue] { queue.Finish(); }), "b");
    EXPECT_EQ(done, "abcd");
    EXPECT_EQ(Thrown([&queue] { queue.Finish(); }), "");
    // Nobody asks for this one.
    queue.Add([] { throw std::runtime_error("last"); });
}

}  // namespace
