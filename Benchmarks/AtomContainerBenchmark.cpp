// An atom container of a thousand atoms: finding the last one, walking all of them, building it.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "AtomContainers.h"
#include "Handles.h"
#include "UQuickTimeAtom.h"

namespace {

std::atomic<std::int64_t> allocations{0};

}  // namespace

// Counts what the measured calls allocate. Not inlined: GCC would take std::free for the release of
// something that its own operator new gave.
[[gnu::noinline]] void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* place = std::malloc(size))
        return place;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* place) noexcept {
    std::free(place);
}

[[gnu::noinline]] void operator delete(void* place, std::size_t) noexcept {
    std::free(place);
}

namespace {

using namespace TWQuickTime;

constexpr int kAtoms = 1000;
constexpr OSType kType = fourCC("leaf");

QTAtomContainer makeContainer() {
    QTAtomContainer container = nullptr;
    QTNewAtomContainer(&container);
    for (int i = 1; i <= kAtoms; ++i)
        QTInsertChild(container, kParentAtomIsContainer, kType, i, 0, sizeof i, &i, nullptr);
    return container;
}

void findLastByID(benchmark::State& state) {
    const QTAtomContainer container = makeContainer();
    const std::int64_t before = allocations;
    for (auto _ : state)
        benchmark::DoNotOptimize(QTFindChildByID(container, 0, kType, kAtoms, nullptr));
    state.counters["allocations"] = static_cast<double>(allocations - before);
    QTDisposeAtomContainer(container);
}
BENCHMARK(findLastByID);

void findLastByIndex(benchmark::State& state) {
    const QTAtomContainer container = makeContainer();
    const std::int64_t before = allocations;
    for (auto _ : state)
        benchmark::DoNotOptimize(QTFindChildByIndex(container, 0, kType, kAtoms, nullptr));
    state.counters["allocations"] = static_cast<double>(allocations - before);
    QTDisposeAtomContainer(container);
}
BENCHMARK(findLastByIndex);

void walkAll(benchmark::State& state) {
    const QTAtomContainer container = makeContainer();
    for (auto _ : state) {
        QTAtom child = 0;
        while (QTNextChildAnyType(container, 0, child, &child) == noErr && child != 0)
            benchmark::DoNotOptimize(child);
    }
    state.SetItemsProcessed(state.iterations() * kAtoms);
    QTDisposeAtomContainer(container);
}
BENCHMARK(walkAll);

/// The framework's search, which locks and asks for every atom's type.
void searchAll(benchmark::State& state) {
    const QTAtomContainer container = makeContainer();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            UQuickTimeAtom::AtomContainerContainsAtom(container, fourCC("none"), 0, 0));
    state.SetItemsProcessed(state.iterations() * kAtoms);
    QTDisposeAtomContainer(container);
}
BENCHMARK(searchAll);

void build(benchmark::State& state) {
    for (auto _ : state)
        QTDisposeAtomContainer(makeContainer());
    state.SetItemsProcessed(state.iterations() * kAtoms);
}
BENCHMARK(build);

}  // namespace
