// V_Mutex beside std::recursive_mutex: taken and given back by one thread, and by two that compete.

#include "vl/core/mutex.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <thread>

namespace {

template <class Mutex>
Mutex &shared() {
    static Mutex mutex;
    return mutex;
}

template <class Mutex>
void lockUnlock(benchmark::State &state) {
    Mutex &mutex = shared<Mutex>();
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}
BENCHMARK(lockUnlock<V_Mutex>)->ThreadRange(1, 2);
BENCHMARK(lockUnlock<std::recursive_mutex>)->ThreadRange(1, 2);

} // namespace

int main(int count, char **arguments) {
    std::thread([] {}).join(); // locks are cheaper in a process that never had a second thread
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
