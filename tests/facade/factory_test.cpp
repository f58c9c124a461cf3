// The factory's detection and its 65,536 ms cache, with stand-in backends and
// the virtual clock.

#include <gtest/gtest.h>

#include "facade/detection_cache.h"
#include "facade/freshness.h"
#include "orvcluster.h"
#include "simclock.h"

namespace {

// A backend whose open answer the test decides; counts what the factory does.
struct BackendScript {
    bool opens = false;
    int made = 0;
    int opened = 0;
};
BackendScript scripts[2];

class StandInBackend : public Cluster {
public:
    StandInBackend(int index, const wchar_t* machine) : index_(index) {
        type_ = static_cast<ClusterType>(index + 1);
        SetTargetMachine(machine);
        ++scripts[index].made;
    }
    bool ClusterOpen() override {
        ++scripts[index_].opened;
        open_ = scripts[index_].opens;
        return open_;
    }

private:
    int index_;
};

template <int Index>
boost::shared_ptr<Cluster> MakeStandIn(const wchar_t* machine) {
    return boost::shared_ptr<Cluster>(new StandInBackend(Index, machine));
}

const std::vector<orv::BackendMaker> kBothBackends = {&MakeStandIn<0>, &MakeStandIn<1>};

class Factory : public ::testing::Test {
protected:
    void SetUp() override {
        scripts[0] = BackendScript();
        scripts[1] = BackendScript();
        SimClock_Set(5000000);
    }
    // Detections so far: every detection asks the first backend.
    int Detections() const { return scripts[0].opened; }
    orv::DetectionCache cache_;
};

TEST(Freshness, SixtyFiveThousandFiveHundredThirtySixMillisecondsTheShortWayRound) {
    const struct {
        DWORD stamp, now;
        bool fresh;
    } rows[] = {
        {1000, 1000, true}, {1000, 1000 + 0xFFFF, true}, {1000, 1000 + 0x10000, false},
        {0xFFFFFF00u, 0x100, true}, {0xFFFFFF00u, 0xFF00, false},  // across the wrap
        {0x10000, 0x100, true},                                   // the clock behind the stamp
        {0, 0, false}, {0, 5, false},                             // 0: never stamped
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.fresh, orv::IsFresh(row.stamp, row.now)) << row.stamp << " " << row.now;
}

TEST_F(Factory, DetectsInOrderAndCachesTheAnswerUntilItIsStale) {
    scripts[1].opens = true;
    boost::shared_ptr<Cluster> first = cache_.GetLocal(kBothBackends);
    EXPECT_EQ(Cluster::NRX, first->GetClusterType());
    EXPECT_EQ(2u, cache_.Kind());
    EXPECT_EQ(1, Detections());

    SimClock_Sleep(0xFFFF);
    boost::shared_ptr<Cluster> second = cache_.GetLocal(kBothBackends);
    EXPECT_EQ(Cluster::NRX, second->GetClusterType());
    EXPECT_NE(first.get(), second.get());  // a new object for every caller
    EXPECT_EQ(1, Detections());
    EXPECT_EQ(2, scripts[1].opened);        // still asked to open

    SimClock_Sleep(1);  // the cache stamp is not renewed by cached answers
    cache_.GetLocal(kBothBackends);
    EXPECT_EQ(2, Detections());

    // A detection stamped at tick 0 counts as never made.
    SimClock_Set(2ull << 32);
    cache_.GetLocal(kBothBackends);
    cache_.GetLocal(kBothBackends);
    EXPECT_EQ(4, Detections());
}

TEST_F(Factory, NoneIsCachedTooAndACachedKindIsTrustedWhileItsBackendIsThere) {
    boost::shared_ptr<Cluster> cluster = cache_.GetLocal(kBothBackends);
    ASSERT_TRUE(cluster);
    EXPECT_EQ(Cluster::NotClustered, cluster->GetClusterType());
    EXPECT_FALSE(cluster->Open());
    cache_.GetLocal(kBothBackends);
    EXPECT_EQ(1, Detections());
    EXPECT_EQ(1, scripts[1].made);

    SimClock_Sleep(0x10000);  // an answer of "none" is asked again as well
    scripts[1].opens = true;
    EXPECT_EQ(Cluster::NRX, cache_.GetLocal(kBothBackends)->GetClusterType());
    // Deliberately trusted even when the cluster has gone since.
    scripts[1].opens = false;
    EXPECT_EQ(Cluster::NRX, cache_.GetLocal(kBothBackends)->GetClusterType());
    EXPECT_EQ(2, Detections());
    EXPECT_EQ(2u, cache_.Kind());
    // A cached kind without its backend falls back to none.
    const std::vector<orv::BackendMaker> firstOnly = {&MakeStandIn<0>};
    EXPECT_EQ(Cluster::NotClustered, cache_.GetLocal(firstOnly)->GetClusterType());
    EXPECT_EQ(0u, cache_.Kind());
}

TEST_F(Factory, OpenNeedsTheMachineWideDetectionToo) {
    scripts[0].opens = true;
    StandInBackend backend(0, nullptr);
    ASSERT_TRUE(backend.ClusterOpen());
    SimClock_Sleep(0x10000);
    orv::LocalDetection().GetLocal({});
    EXPECT_FALSE(backend.Open());  // this machine was last seen without cluster

    SimClock_Sleep(0x10000);
    orv::LocalDetection().GetLocal(kBothBackends);
    EXPECT_TRUE(backend.Open());
}

TEST_F(Factory, BackendsStoreTheTargetWithoutBackslashesAndEmptyForThisMachine) {
    std::wstring local = OrvGetComputerName();
    for (wchar_t& c : local) c = static_cast<wchar_t>(towlower(c));
    const std::pair<std::wstring, const wchar_t*> rows[] = {
        {L"\\\\" + local, L""}, {L"", L""}, {L"\\\\\\NODE2", L"NODE2"}, {L"node2", L"node2"}};
    for (const auto& [machine, stored] : rows)
        EXPECT_STREQ(stored, StandInBackend(0, machine.c_str()).GetClusterName()) << machine;
    EXPECT_STREQ(L"", StandInBackend(0, nullptr).GetClusterName());
}

}  // namespace
