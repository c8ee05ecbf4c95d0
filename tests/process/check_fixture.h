#pragma once

/// \file
/// Running `brellix check` on networks that were changed by hand.

#include "model_fixture.h"

#include <onnx/onnx_pb.h>

#include <functional>

namespace brellix::testing {

/// The program runs with the back-end that every build has, whose limits are the narrower ones.
class CheckTest : public ModelTest {
  protected:
    CheckTest();

    /// The report of `check CONFIG --json` with further options; fails the test unless the exit status says
    /// the same as "fits".
    nlohmann::json report(const std::string& config, const std::vector<std::string>& options = {}) const;

    /// The finding about `what`; null where there is none. Fails the test where there are several.
    static nlohmann::json finding(const nlohmann::json& report, const std::string& what);

    /// Expects a finding about `what` of that severity, whose text names each of `words`.
    static void expectFinding(const nlohmann::json& report, const std::string& what,
                              const std::string& severity, const std::vector<std::string>& words = {});

    /// What the errors are about, in their order.
    static std::vector<std::string> errors(const nlohmann::json& report);

    /// Reads a network, lets `change` work on it, and writes it as `to`.
    void change(const std::string& from, const std::string& to,
                const std::function<void(onnx::ModelProto&)>& change) const;

    /// `text` with the first `from` replaced.
    static std::string replaced(std::string text, const std::string& from, const std::string& to);
};

/// Makes the image input, and all outputs, float16 or another type.
void setTypes(onnx::ModelProto& model, onnx::TensorProto::DataType type);

/// Leaves height and width of the input open, and all of the outputs' extents.
void openShapes(onnx::ModelProto& model);

}  // namespace brellix::testing
