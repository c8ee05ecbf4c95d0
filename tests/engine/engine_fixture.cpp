#include "engine_fixture.h"

#include <algorithm>
#include <cstdlib>

namespace brellix::testing {

void expectSilentSuccess(const Answer& answer) {
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.standardError, "");
    EXPECT_EQ(answer.standardOutput, "");
}

void expectRefusal(const Answer& answer, int status, const std::vector<std::string>& parts) {
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.standardOutput, "");
    const std::string& text = answer.standardError;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    EXPECT_EQ(text.rfind("brellix_ai_engine: ", 0), 0U) << text;
    for (const std::string& part : parts) {
        EXPECT_NE(text.find(part), std::string::npos) << "'" << part << "' is not in: " << text;
    }
}

EnvironmentVariable::EnvironmentVariable(const char* name, const std::string& value) : name_(name) {
    if (const char* before = std::getenv(name)) {
        before_ = before;
    }
    ::setenv(name, value.c_str(), 1);
}

EnvironmentVariable::~EnvironmentVariable() {
    if (before_.has_value()) {
        ::setenv(name_, before_->c_str(), 1);
    } else {
        ::unsetenv(name_);
    }
}

AIBuff byteBuffer(std::size_t size, std::int8_t fill) {
    AIBuff buffer;
    buffer.data->assign(size, fill);
    return buffer;
}

std::vector<int> bytesOf(const AIBuff& buffer) {
    return {buffer.data->begin(), buffer.data->end()};
}

AIEngineConfig EngineTest::configFor(const NetworkBuilder& network, const std::string& name) {
    AIEngineConfig config;
    config.model_path = folder_.write(name, network.bytes());
    return config;
}

Answer EngineTest::init(const AIEngineConfig& config) {
    return answerOf([&] { return engine_.Init(config); });
}

Answer EngineTest::infer(TensorMap& inputs, TensorMap& outputs) {
    return answerOf([&] { return engine_.DoInference(inputs, outputs); });
}

}  // namespace brellix::testing
