// The singleton holder that every binding is made by.

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "orvcluster/singleton.h"

namespace {

struct AsksForItself {
    AsksForItself() { orvclass::singleton<AsksForItself>::instance(); }
};

TEST(Singleton, ConstructorAskingForItselfGetsTheReentrancyException) {
    try {
        orvclass::singleton<AsksForItself>::instance();
        FAIL() << "no exception";
    } catch (const orvclass::singleton_details::reentrant_exception& error) {
        EXPECT_STREQ("singleton creation and/or destuction code can not be recursively called.",
                     error.what());
    }
    // The guard is cleared again: the next try meets the same answer, not a hang.
    EXPECT_THROW(orvclass::singleton<AsksForItself>::instance(), std::exception);
}

std::atomic<int> failingConstructions{0};
struct FailsOnce {
    FailsOnce() {
        if (failingConstructions++ == 0) throw std::runtime_error("first construction fails");
    }
    int value = 42;
};

TEST(Singleton, ConstructorFailurePassesOnAndTheNextCallTriesAgain) {
    EXPECT_THROW(orvclass::singleton<FailsOnce>::instance(), std::runtime_error);
    orvclass::shared_ptr<FailsOnce> made = orvclass::singleton<FailsOnce>::instance();
    EXPECT_EQ(42, made->value);
    EXPECT_EQ(2, failingConstructions.load());
}

std::atomic<int> slowConstructions{0};
struct SlowToMake {
    SlowToMake() {
        ++slowConstructions;
        Sleep(50);  // real time: other threads arrive while this one builds
    }
};

TEST(Singleton, ThreadsArrivingTogetherShareOneObject) {
    std::vector<std::thread> threads;
    std::vector<SlowToMake*> seen(8);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&seen, i] { seen[i] = orvclass::singleton<SlowToMake>::instance().get(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(1, slowConstructions.load());
    for (SlowToMake* object : seen) EXPECT_EQ(seen[0], object);
}

}  // namespace
