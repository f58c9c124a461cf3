// The factory's detection of the cluster software on this machine, and its
// cache.

#include "facade/detection_cache.h"

#include "facade/freshness.h"
#include "host/clock.h"

namespace orv {

boost::shared_ptr<Cluster> PlainCluster() {
    boost::shared_ptr<Cluster> cluster(new Cluster());
    cluster->ClusterOpen();
    return cluster;
}

boost::shared_ptr<Cluster> OpenFirstBackend(const std::vector<BackendMaker>& backends,
                                            const wchar_t* machine, unsigned long* kind) {
    for (size_t i = 0; i < backends.size(); ++i) {
        boost::shared_ptr<Cluster> backend = backends[i](machine);
        if (backend->ClusterOpen()) {
            *kind = static_cast<unsigned long>(i + 1);
            return backend;
        }
    }
    *kind = 0;
    return boost::shared_ptr<Cluster>();
}

boost::shared_ptr<Cluster> DetectionCache::GetLocal(const std::vector<BackendMaker>& backends) {
    AutoLock lock(section_);
    if (IsFresh(stamp_, ClockTickCount())) {
        // The stamp is not renewed here, so detection runs again at the latest
        // 65,536 ms after the last one however often the factory is asked.
        const unsigned long kind = kind_.load(std::memory_order_relaxed);
        if (kind == 0) return PlainCluster();
        if (kind <= backends.size()) {
            boost::shared_ptr<Cluster> backend = backends[kind - 1](nullptr);
            backend->ClusterOpen();
            return backend;
        }
        kind_.store(0, std::memory_order_release);
        return PlainCluster();
    }

    unsigned long kind = 0;
    boost::shared_ptr<Cluster> backend = OpenFirstBackend(backends, nullptr, &kind);
    kind_.store(kind, std::memory_order_release);
    stamp_ = ClockTickCount();
    return backend ? backend : PlainCluster();
}

DetectionCache& LocalDetection() {
    static DetectionCache cache;
    return cache;
}

}  // namespace orv

