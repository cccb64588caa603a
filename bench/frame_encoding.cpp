// What filling and encoding a frame costs, as against protobuf alone.
//
// Each iteration fills and encodes one frame twice: in a message and a string that are kept from
// frame to frame, which is the least that protobuf needs, and in a Radar::SocketBuffer. The time of
// a row is the buffer's. Its counters:
//
//   ratio        the buffer's time divided by protobuf's, of the same iterations
//   fill         the same for filling alone
//   allocations  the buffer's calls of operator new for each frame
//
// Both take turns, so that a busy machine slows down both.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "radar_objects/radar_objects.pb.h"
#include "socket/socket_buffer.h"

namespace {

std::size_t allocations = 0;

}  // namespace

__attribute__((noinline)) void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

__attribute__((noinline)) void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr unsigned long long kTimestamp = 1747301407042000;

struct Detection {
    float rcs, r, rdot, theta, snr;
};

/** Detections as a radar has them; the radial speed of the middle one is -0.0 where asked for. */
std::vector<Detection> make_detections(std::size_t count, bool negative_zero) {
    std::mt19937 random;
    const auto step = [&random](unsigned steps) { return static_cast<float>(random() % steps); };
    std::vector<Detection> detections(count);
    for (Detection& one : detections) {
        one = {step(20000) * 0.0011F - 56, step(80) * 0.0436F + 1, (step(17) - 8) * 0.125F + 0.01F,
               step(15000) * 0.0001F - 0.75F, step(3000) * 0.01F + 8};
    }
    if (negative_zero) detections[count / 2].rdot = -0.0F;
    return detections;
}

/** Fills a SocketBuffer or a protobuf message. */
template <typename Frame>
void fill(Frame& frame, std::vector<Detection> const& detections) {
    frame.set_timestamp(kTimestamp);
    for (Detection const& one : detections) {
        RO::TargetData* const target = frame.add_targets();
        target->set_rcs(one.rcs);
        target->set_r(one.r);
        target->set_rdot(one.rdot);
        target->set_theta(one.theta);
        target->set_snr(one.snr);
    }
}

/** The time of one or several pieces of work. */
struct Stopwatch {
    double seconds = 0;

    template <typename Work>
    void measure(Work const& work) {
        const auto begin = Clock::now();
        work();
        seconds += Seconds(Clock::now() - begin).count();
    }
};

void FillAndEncode(benchmark::State& state) {
    const auto detections =
        make_detections(static_cast<std::size_t>(state.range(0)), state.range(1) != 0);
    RO::RadarObjects message;
    message.set_magic(29061378);
    std::string encoding;
    Radar::SocketBuffer buffer(static_cast<int>(state.range(0)));

    Stopwatch protobuf_fill, protobuf_encode, buffer_fill, buffer_encode;
    std::size_t allocated = 0;
    for (auto _ : state) {
        protobuf_fill.measure([&] {
            message.clear_targets();
            fill(message, detections);
        });
        protobuf_encode.measure([&] { message.SerializeToString(&encoding); });
        benchmark::DoNotOptimize(encoding.data());

        const std::size_t before = allocations;
        const double buffer_before = buffer_fill.seconds + buffer_encode.seconds;
        buffer_fill.measure([&] {
            buffer.clear();
            fill(buffer, detections);
        });
        buffer_encode.measure([&] { benchmark::DoNotOptimize(buffer.data().data()); });
        allocated += allocations - before;
        state.SetIterationTime(buffer_fill.seconds + buffer_encode.seconds - buffer_before);
    }
    const double protobuf = protobuf_fill.seconds + protobuf_encode.seconds;
    state.counters["ratio"] = (buffer_fill.seconds + buffer_encode.seconds) / protobuf;
    state.counters["fill"] = buffer_fill.seconds / protobuf_fill.seconds;
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocated), benchmark::Counter::kAvgIterations);
}

BENCHMARK(FillAndEncode)
    ->ArgNames({"targets", "negative_zero"})
    ->ArgsProduct({{64, 1024}, {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
