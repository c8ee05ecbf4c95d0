#include "compare/picture_comparison.h"

#include "evaluation/overlap.h"

#include <algorithm>
#include <cmath>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;
using Objects = std::vector<Object>;

constexpr double kWeightNearThreshold = 0.1;

/// Two empty masks agree.
double maskAgreement(const cv::Mat& a, const cv::Mat& b) {
    const MeasuredMask inA = measured(runLengthsOf(a));
    const MeasuredMask inB = measured(runLengthsOf(b));
    return inA.area == 0 && inB.area == 0 ? 1.0 : maskOverlap(inA, inB);
}

Agreement agreementOf(const ObjectPair& pair, const Object& a, const Object& b) {
    Agreement agreement{pair, std::abs(static_cast<double>(b.prob) - static_cast<double>(a.prob)), {}};
    if (!a.mask.empty() && !b.mask.empty()) {
        agreement.maskOverlap = maskAgreement(a.mask, b.mask);
    }
    return agreement;
}

/// \return whether the score that exceeded the threshold of its `own` side may be close to the `other`'s.
bool mayComeAndGo(double probability, const SideRules& own, const SideRules& other, double margin) {
    // Of two factors of at most 1 the smaller one lies between their product and its root.
    const double least = own.probabilityIsProduct ? std::max(probability, own.confidence) : probability;
    const double most = own.probabilityIsProduct ? std::sqrt(std::max(probability, 0.0)) : probability;
    return margin > 0.0 && least < other.confidence + margin && most > other.confidence - margin;
}

std::vector<Loss> lossesOf(const std::vector<std::size_t>& indices, const Objects& objects,
                           const SideRules& own, const SideRules& other, double margin) {
    std::vector<Loss> losses;
    for (const std::size_t index : indices) {
        const auto probability = static_cast<double>(objects[index].prob);
        losses.push_back({index, mayComeAndGo(probability, own, other, margin)});
    }
    return losses;
}

double weightOf(const std::vector<Loss>& losses) {
    double weight = 0.0;
    for (const Loss& loss : losses) {
        weight += loss.isNearThreshold ? kWeightNearThreshold : 1.0;
    }
    return weight;
}

}  // namespace

PictureComparison comparePicture(const std::string& source, const Objects& a, const Objects& b,
                                 const ComparisonRules& rules) {
    const PairedObjects pairs = pairObjects(a, b, rules.overlap);
    PictureComparison result;
    result.source = source;
    result.a = a;
    result.b = b;
    for (const ObjectPair& pair : pairs.same) {
        result.agreements.push_back(agreementOf(pair, a[pair.a], b[pair.b]));
    }
    result.classChanged = pairs.classChanged;
    result.missed = lossesOf(pairs.onlyA, a, rules.a, rules.b, rules.margin);
    result.extra = lossesOf(pairs.onlyB, b, rules.b, rules.a, rules.margin);
    return result;
}

double PictureComparison::severity() const {
    double drift = 0.0;
    double boxLoss = 0.0;
    double maskLoss = 0.0;
    for (const Agreement& agreement : agreements) {
        drift = std::max(drift, agreement.drift);
        boxLoss = std::max(boxLoss, 1.0 - agreement.pair.overlap);
        maskLoss = std::max(maskLoss, 1.0 - agreement.maskOverlap.value_or(1.0));
    }
    return static_cast<double>(classChanged.size()) + weightOf(missed) + weightOf(extra) + drift + boxLoss +
           maskLoss;
}

}  // namespace brellix::app
