#pragma once

/// \file
/// What all benchmarks do alike: one stage is measured as "ours", as the plain "reference", and as the
/// "floor", the time to read and write once the bytes that the stage cannot avoid. Names are STAGE/CASE/KIND.

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace brellix::bench {

/// One way of doing a stage's work.
using Work = std::function<void()>;

/// What is measured of one stage in one case.
struct Measured {
    Work ours;
    Work reference;
    Work floor;
    std::function<bool()>
        agree;   ///< whether ours and the reference give the same; asked before the first run
    Work other;  ///< what people write without the library, where that is measured
};

enum class Other { kNone, kMeasured };

/// Registers the benchmarks of one case. `make` prepares it anew for each of them; what it prepares is kept
/// by the functions alone.
void addStage(const std::string& stage, const std::string& caseName, Other other,
              std::function<Measured()> make);

/// Reads every byte once.
void readOnce(const void* bytes, std::size_t count);

/// Writes every byte once.
void writeOnce(void* bytes, std::size_t count);

}  // namespace brellix::bench
