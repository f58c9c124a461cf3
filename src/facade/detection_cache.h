#pragma once

#include <windows.h>

#include <atomic>

#include <boost/shared_ptr.hpp>

#include "facade/backends.h"
#include "support/critical_section.h"

namespace orv {

// The factory's memory of which backend answered on this machine, and when.
class DetectionCache {
public:
    // A backend for the local machine: the cached kind while it is fresh
    // (its open answer is then not looked at), else a new detection over
    // `backends` in order. Never empty; a plain Cluster stands for "none".
    boost::shared_ptr<Cluster> GetLocal(const std::vector<BackendMaker>& backends);

    // The kind decided last: 0 none, else the backend's place plus one.
    // Read without the lock (by Cluster::Open), so it is atomic.
    unsigned long Kind() const { return kind_.load(std::memory_order_acquire); }

private:
    CriticalSection section_;
    std::atomic<unsigned long> kind_{0};
    DWORD stamp_ = 0;
};

// The process-wide cache behind Cluster::GetInstance and Cluster::Open.
DetectionCache& LocalDetection();

// A plain Cluster, asked to open as every object the factory hands out is.
boost::shared_ptr<Cluster> PlainCluster();

// Tries each backend in order and answers the first that opens, or null.
boost::shared_ptr<Cluster> OpenFirstBackend(const std::vector<BackendMaker>& backends,
                                            const wchar_t* machine, unsigned long* kind);

}  // namespace orv
