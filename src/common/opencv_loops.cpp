#include <opencv2/core/utility.hpp>

namespace ai_orvo::model {
namespace {

/// OpenCV makes what runs its parallel loops with the first of them, and destroys it without a trace for
/// those that come later: static objects of an application that were there before its first frame. Asked for
/// while this library is loaded, it is older than them and outlives them. (Asking for the number of threads
/// would do, too, but would settle that number before the application has chosen its processors.)
[[maybe_unused]] const int kLoopsOutliveTheApplication = cv::getThreadNum();

}  // namespace
}  // namespace ai_orvo::model
