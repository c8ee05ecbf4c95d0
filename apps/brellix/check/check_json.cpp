#include "check/check_json.h"

#include <graph/element_types.h>
#include "files/json_text.h"

#include <nlohmann/json.hpp>

namespace brellix::app {
namespace {

using Json = nlohmann::ordered_json;
using ai_orvo::alg::common::kUnknownExtent;
using ai_orvo::alg::common::TensorDescription;

constexpr int kSchema = 1;

Json foundJson(const TensorDescription& tensor) {
    Json shape = Json::array();
    for (const std::int64_t extent : tensor.shape) {
        shape.push_back(extent == kUnknownExtent ? Json() : Json(extent));
    }
    return {{"name", tensor.name},
            {"elements", tensor.isStatic() ? Json(tensor.elementCount()) : Json()},
            {"shape", tensor.hasShape ? shape : Json()},
            {"type", ai_orvo::alg::common::elementTypeName(tensor.elementType)}};
}

Json tensorJson(const TensorRow& row) {
    const ExpectedTensor& expected = row.expected;
    return {{"side", expected.isInput ? "input" : "output"},
            {"name", expected.name},
            {"expected",
             {{"elements", expected.elements}, {"shape", expected.shape}, {"type", nameOf(expected.form)}}},
            {"found", row.found ? foundJson(*row.found) : Json()},
            {"fits", row.verdict == TensorVerdict::kFits},
            {"verdict", nameOf(row.verdict)}};
}

Json findingJson(const Finding& finding) {
    return {{"severity", nameOf(finding.severity)},
            {"what", finding.what},
            {"where", finding.where},
            {"found", finding.found},
            {"expected", finding.expected},
            {"fix", finding.fix}};
}

}  // namespace

std::string checkJson(const CheckReport& report) {
    Json tensors = Json::array();
    for (const TensorRow& row : report.tensors) {
        tensors.push_back(tensorJson(row));
    }
    Json findings = Json::array();
    for (const Finding& finding : report.findings) {
        findings.push_back(findingJson(finding));
    }
    const Json object = {{"schema", kSchema},
                         {"config", report.configPath},
                         {"network", report.networkPath},
                         {"model", report.modelClass.empty() ? Json() : Json(report.modelClass)},
                         {"fits", report.fits()},
                         {"tensors", tensors},
                         {"findings", findings}};
    return jsonText(object, -1);
}

}  // namespace brellix::app
