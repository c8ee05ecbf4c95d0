#include "compare/comparison.h"

#include "console/text.h"
#include "run/percentile.h"

#include <algorithm>
#include <numeric>

namespace brellix::app {
namespace {

constexpr int kDecimals = 4;

bool hasSmallerValue(const Measurement& a, const Measurement& b) {
    return a.value < b.value;
}

void count(const std::vector<Loss>& losses, LossCount& total) {
    for (const Loss& loss : losses) {
        ++(loss.isNearThreshold ? total.nearThreshold : total.clear);
    }
}

void checkCount(const std::string& what, std::size_t found, const std::optional<std::size_t>& limit,
                std::vector<std::string>& exceeded) {
    if (limit && found > *limit) {
        exceeded.push_back(std::to_string(found) + ' ' + what + ", allowed are " + std::to_string(*limit));
    }
}

/// \return how many digits behind the point say the limit, and tell the two numbers apart.
int decimalsApart(double found, double limit) {
    int decimals = decimalsOf(limit, kDecimals);
    while (decimals < kMostDecimals && fixed(found, decimals) == fixed(limit, decimals)) {
        ++decimals;
    }
    return decimals;
}

/// \param worst the measurement that decides, `nullptr` where there is none.
void checkMeasurement(const std::string& what, const Measurement* worst, double limit, bool mayExceed,
                      std::vector<std::string>& exceeded) {
    if (worst == nullptr) {
        exceeded.push_back("there is no " + what +
                           " to hold against the limit: no object that has one was found by both");
        return;
    }
    // Written so that a number that is none passes no limit.
    const bool holds = mayExceed ? worst->value >= limit : worst->value <= limit;
    if (!holds) {
        const int decimals = decimalsApart(worst->value, limit);
        exceeded.push_back("the worst " + what + " is " + fixed(worst->value, decimals) + " (" +
                           worst->source + "), allowed is " + fixed(limit, decimals));
    }
}

}  // namespace

double Measurements::mean() const {
    const double sum = std::accumulate(values_.begin(), values_.end(), 0.0,
                                       [](double total, const Measurement& m) { return total + m.value; });
    return sum / static_cast<double>(values_.size());
}

const Measurement& Measurements::smallest() const {
    return *std::min_element(values_.begin(), values_.end(), hasSmallerValue);
}

const Measurement& Measurements::largest() const {
    return *std::max_element(values_.begin(), values_.end(), hasSmallerValue);
}

double Measurements::percentile95() const {
    std::vector<double> sorted;
    for (const Measurement& measurement : values_) {
        sorted.push_back(measurement.value);
    }
    std::sort(sorted.begin(), sorted.end());
    return percentile(sorted, 0.95);
}

void Comparison::add(const PictureComparison& picture) {
    ++pictures;
    objectsA += picture.a.size();
    objectsB += picture.b.size();
    matched += picture.agreements.size();
    classChanged += picture.classChanged.size();
    count(picture.missed, missed);
    count(picture.extra, extra);
    for (const Agreement& agreement : picture.agreements) {
        const int label = picture.a[agreement.pair.a].label;
        boxOverlaps.add(agreement.pair.overlap, picture.source, label);
        drifts.add(agreement.drift, picture.source, label);
        if (agreement.maskOverlap) {
            maskOverlaps.add(*agreement.maskOverlap, picture.source, label);
        }
    }
}

std::vector<std::string> exceededLimits(const Comparison& comparison, const ComparisonLimits& limits) {
    std::vector<std::string> exceeded;
    checkCount("missed, not counting those near the threshold", comparison.missed.clear, limits.maxMissed,
               exceeded);
    checkCount("extra, not counting those near the threshold", comparison.extra.clear, limits.maxExtra,
               exceeded);
    checkCount("of another class", comparison.classChanged, limits.maxChanged, exceeded);
    const auto check = [&](const char* what, const std::optional<double>& limit, const Measurements& all,
                           bool mayExceed) {
        if (limit) {
            const Measurement* const worst = all.empty() ? nullptr
                                             : mayExceed ? &all.smallest()
                                                         : &all.largest();
            checkMeasurement(what, worst, *limit, mayExceed, exceeded);
        }
    };
    check("probability drift", limits.maxDrift, comparison.drifts, false);
    check("box IoU", limits.minBoxOverlap, comparison.boxOverlaps, true);
    check("mask IoU", limits.minMaskOverlap, comparison.maskOverlaps, true);
    return exceeded;
}

}  // namespace brellix::app
