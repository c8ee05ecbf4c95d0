#include "quantization/second_document.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>

#include <sstream>

namespace ai_orvo::alg::common {
namespace {

/// Keeps where the latest document begins and passes over what is in it.
class DocumentStart : public YAML::EventHandler {
  public:
    void OnDocumentStart(const YAML::Mark& mark) override { mark_ = mark; }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark&, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark&, YAML::anchor_t) override {}
    void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t, const std::string&) override {}
    void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                         YAML::EmitterStyle::value) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                    YAML::EmitterStyle::value) override {}
    void OnMapEnd() override {}

    const YAML::Mark& mark() const { return mark_; }

  private:
    YAML::Mark mark_;
};

}  // namespace

std::optional<YAML::Mark> secondDocument(const std::string& text) {
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    DocumentStart start;
    if (!parser.HandleNextDocument(start) || !parser.HandleNextDocument(start)) {
        return std::nullopt;
    }
    return start.mark();
}

}  // namespace ai_orvo::alg::common
