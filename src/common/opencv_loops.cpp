#include <opencv2/core/utility.hpp>

namespace ai_orvo::model {
namespace {

/// OpenCV makes the object that runs its parallel loops on first use and destroys it at exit, before static
/// objects that are older: an application's static object that runs a model in its destructor would find it
/// gone. Asked for here, while the library is loaded, it is older than those and outlives them.
/// (`cv::getNumThreads` would do, too, but would settle the number before the application has chosen its
/// processors.)
[[maybe_unused]] const int kLoopsOutliveTheApplication = cv::getThreadNum();

}  // namespace
}  // namespace ai_orvo::model
