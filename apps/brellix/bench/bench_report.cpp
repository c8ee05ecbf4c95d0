#include "bench/bench_report.h"

#include "console/text.h"
#include "files/json_text.h"

#include <nlohmann/json.hpp>

#include <initializer_list>

namespace brellix::app {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchema = 1;
constexpr std::size_t kStageWidth = 6;
constexpr std::size_t kNumberWidth = 9;

std::string rowOf(const std::string& stage, std::initializer_list<std::string> columns) {
    std::string row = padRight(stage, kStageWidth);
    for (const std::string& column : columns) {
        row += ' ' + padLeft(column, kNumberWidth);
    }
    return row + '\n';
}

std::string rowOf(const std::string& stage, const TimeSummary& times) {
    const auto text = [](double milliseconds) { return fixed(milliseconds, 2); };
    return rowOf(stage,
                 {text(times.mean), text(times.p50), text(times.p90), text(times.p99), text(times.max)});
}

Json toJson(const TimeSummary& times) {
    return {
        {"mean", times.mean}, {"p50", times.p50}, {"p90", times.p90}, {"p99", times.p99}, {"max", times.max}};
}

}  // namespace

std::string benchTable(const BenchResult& result, std::size_t pictures) {
    const double mebibytes = static_cast<double>(result.peakMemoryBytes) / (1024.0 * 1024.0);
    return rowOf("ms", {"mean", "p50", "p90", "p99", "max"}) + rowOf("pre", result.pre) +
           rowOf("infer", result.infer) + rowOf("post", result.post) + rowOf("detect", result.detect) + '\n' +
           counted(result.frames, "frame") + " of " + counted(pictures, "picture") + ", " +
           fixed(result.framesPerSecond, 1) + " frames a second; peak memory " + fixed(mebibytes, 0) +
           " MiB; back-end " + result.backEnd + '\n';
}

std::string benchJson(const BenchResult& result, const std::string& config, std::size_t pictures) {
    const Json json = {{"schema", kSchema},
                       {"config", config},
                       {"back_end", result.backEnd},
                       {"pictures", pictures},
                       {"frames", result.frames},
                       {"frames_per_second", result.framesPerSecond},
                       {"peak_memory_bytes", result.peakMemoryBytes},
                       {"ms",
                        {{"pre", toJson(result.pre)},
                         {"infer", toJson(result.infer)},
                         {"post", toJson(result.post)},
                         {"detect", toJson(result.detect)}}}};
    return jsonText(json, 2);
}

}  // namespace brellix::app
