#include "stage.h"

#include "allocation_count.h"

#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/core/utility.hpp>

#include <cstdint>
#include <cstring>
#include <iostream>
#include <streambuf>

namespace brellix::bench {
namespace {

/// While one exists, what is written to `std::cout` goes nowhere: the fused model writes a line at every run.
class SilentOutput {
  public:
    SilentOutput() : buffer_(std::cout.rdbuf(&nowhere_)) {}
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;
    ~SilentOutput() { std::cout.rdbuf(buffer_); }

  private:
    struct Nowhere : std::streambuf {
        int overflow(int c) override { return traits_type::not_eof(c); }
        std::streamsize xsputn(const char* /*text*/, std::streamsize count) override { return count; }
    };

    Nowhere nowhere_;
    std::streambuf* buffer_;
};

void run(benchmark::State& state, const Work& work) {
    const SilentOutput silent;
    work();  // memory that is kept from frame to frame is there afterwards
    const Allocations before = allocationsSoFar();
    for (auto iteration : state) {
        static_cast<void>(iteration);
        work();
    }
    const Allocations after = allocationsSoFar();
    const auto runs = static_cast<double>(state.iterations());
    state.counters["allocations"] = static_cast<double>(after.count - before.count) / runs;
    state.counters["allocated_bytes"] = static_cast<double>(after.bytes - before.bytes) / runs;
}

using Member = Work Measured::*;

}  // namespace

void addStage(const std::string& stage, const std::string& caseName, Other other,
              std::function<Measured()> make) {
    const auto add = [&](const char* kind, Member member) {
        const std::string name = stage + '/' + caseName + '/' + kind;
        benchmark::RegisterBenchmark(name.c_str(), [make, member](benchmark::State& state) {
            cv::setNumThreads(1);
            const Measured measured = make();
            if (!measured.agree()) {
                state.SkipWithError("ours and the reference differ");
                return;
            }
            run(state, measured.*member);
        })->Unit(benchmark::kMicrosecond);
    };
    add("ours", &Measured::ours);
    add("reference", &Measured::reference);
    add("floor", &Measured::floor);
    if (other == Other::kMeasured) {
        add("other", &Measured::other);
    }
}

void readOnce(const void* bytes, std::size_t count) {
    const auto* const first = static_cast<const std::uint8_t*>(bytes);
    cv::v_uint8x16 sum = cv::v_setzero_u8();
    std::size_t i = 0;
    for (; i + 64 <= count; i += 64) {
        sum = sum ^ (cv::v_load(first + i) ^ cv::v_load(first + i + 16)) ^
              (cv::v_load(first + i + 32) ^ cv::v_load(first + i + 48));
    }
    std::uint8_t rest = cv::v_reduce_max(sum);
    for (; i < count; ++i) {
        rest = static_cast<std::uint8_t>(rest ^ first[i]);
    }
    benchmark::DoNotOptimize(rest);
}

void writeOnce(void* bytes, std::size_t count) {
    std::memset(bytes, 1, count);
    benchmark::ClobberMemory();
}

}  // namespace brellix::bench
