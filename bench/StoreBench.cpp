#include "BeaconryKit/service/AskStore.h"

#include <benchmark/benchmark.h>

// One operation on a store that holds so many rows. The baseline of each is the store with 10 rows.

namespace {

using namespace pelorin;

AskEvent permission(qint64 number) {
    return {.sessionId = QStringLiteral("session-%1").arg(number % 100),
            .cwd = QStringLiteral("/home/user/project"),
            .requestId = QStringLiteral("request-%1").arg(number, 32),
            .toolName = QStringLiteral("Bash"),
            .actionSummary = QStringLiteral("make check")};
}

void fill(AskStore& store, qint64 rows) {
    for (qint64 row = 0; row < rows; ++row)
        store.upsert(permission(row));
}

void addAndRemove(benchmark::State& state) {
    AskStore store;
    fill(store, state.range(0));
    const AskEvent ask = permission(state.range(0));
    for (auto _ : state) {
        store.upsert(ask);
        store.remove(ask.requestId);
    }
}

void replaceLast(benchmark::State& state) {
    AskStore store;
    fill(store, state.range(0));
    const AskEvent ask = permission(state.range(0) - 1);
    for (auto _ : state)
        store.upsert(ask);
}

/// The oldest row goes and comes back as the newest.
void removeFirst(benchmark::State& state) {
    AskStore store;
    fill(store, state.range(0));
    qint64 first = 0;
    for (auto _ : state) {
        store.remove(permission(first).requestId);
        store.upsert(permission(first + state.range(0)));
        ++first;
    }
}

/// The gap is in the middle, where closing it takes longest.
void removeFromTheMiddle(benchmark::State& state) {
    AskStore store;
    fill(store, state.range(0));
    qint64 newest = state.range(0);
    for (auto _ : state) {
        store.remove(store.asks()[state.range(0) / 2]->id());
        store.upsert(permission(newest++));
    }
}

void clearNotifications(benchmark::State& state) {
    AskStore store;
    fill(store, state.range(0));
    for (auto _ : state)
        store.clearNotifications(QStringLiteral("session-1"));
}

} // namespace

BENCHMARK(addAndRemove)->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK(replaceLast)->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK(removeFirst)->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK(removeFromTheMiddle)->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK(clearNotifications)->RangeMultiplier(10)->Range(10, 10'000);
BENCHMARK_MAIN();
