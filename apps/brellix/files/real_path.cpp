#include "files/real_path.h"

namespace brellix::app {

namespace fs = std::filesystem;

fs::path realPath(const fs::path& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    const fs::path real = fs::weakly_canonical(absolute, error);
    return error ? absolute : real;
}

}  // namespace brellix::app
