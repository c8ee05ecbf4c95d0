#pragma once

/// \file
/// What the engine's tests share: networks on disk, tensors, and what a refusal looks like.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "brellix/ai_engine.h"
#include "network_builder.h"
#include "support/temporary_folder.h"
#include "support/tensor_values.h"

namespace brellix::testing {

using ai_orvo::alg::common::AIBuff;
using ai_orvo::alg::common::AIEngine;
using ai_orvo::alg::common::AIEngineConfig;
using ai_orvo::alg::common::TensorMap;

/// What one operation of the engine answered.
struct Answer {
    int status;
    std::string standardError;
    std::string standardOutput;
};

template <typename Operation>
Answer answerOf(Operation&& operation) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    const int status = operation();
    std::string standardError = ::testing::internal::GetCapturedStderr();
    return {status, std::move(standardError), ::testing::internal::GetCapturedStdout()};
}

/// Success without a word.
void expectSilentSuccess(const Answer& answer);

/// The status, one line on standard error that holds every one of `parts`, nothing on standard output.
void expectRefusal(const Answer& answer, int status, const std::vector<std::string>& parts);

/// Sets an environment variable as long as it lives.
class EnvironmentVariable {
  public:
    EnvironmentVariable(const char* name, const std::string& value);
    ~EnvironmentVariable();
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

  private:
    const char* name_;
    std::optional<std::string> before_;
};

AIBuff byteBuffer(std::size_t size, std::int8_t fill = 0);
std::vector<int> bytesOf(const AIBuff& buffer);

class EngineTest : public ::testing::Test {
  protected:
    /// Writes the network to a file of its own. \return a configuration that only names it.
    AIEngineConfig configFor(const NetworkBuilder& network, const std::string& name = "network.onnx");
    Answer init(const AIEngineConfig& config);
    Answer infer(TensorMap& inputs, TensorMap& outputs);

    TemporaryFolder folder_;
    AIEngine engine_;
};

}  // namespace brellix::testing
