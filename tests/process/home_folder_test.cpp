// What the program, with all that it links, leaves behind where nobody asked for it.

#include "detect_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

namespace brellix::testing {
namespace {

/// The program with a home of its own, which is empty, and without what may send it elsewhere.
class HomeFolder : public DetectTest {
  protected:
    HomeFolder() {
        makeFolder("home");
        set("HOME", path("home"));
        set("XDG_CACHE_HOME", std::nullopt);
        set("ORT_DISABLE_TELEMETRY", std::nullopt);
    }
    ~HomeFolder() override {
        for (const auto& [name, value] : before_) {
            change(name, value);
        }
    }

    /// All files under it, and folders.
    std::vector<std::string> content() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path("home"))) {
            found.push_back(entry.path().string());
        }
        return found;
    }

  private:
    void set(const char* name, const std::optional<std::string>& value) {
        const char* const before = std::getenv(name);
        before_[name] = before == nullptr ? std::nullopt : std::optional<std::string>(before);
        change(name, value);
    }

    static void change(const std::string& name, const std::optional<std::string>& value) {
        if (value) {
            ::setenv(name.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(name.c_str());
        }
    }

    std::map<std::string, std::optional<std::string>> before_;
};

TEST_F(HomeFolder, StaysEmptyWhenANetworkRuns) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(content(), std::vector<std::string>());
}

}  // namespace
}  // namespace brellix::testing
