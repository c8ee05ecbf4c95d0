// The two suppressions alone.

#include "stage.h"

#include "reference/index_nms.h"
#include "reference/object_nms.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/nms.h"

#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::Object;

/// Candidates in heaps of about thirty around as many places as that makes.
std::vector<Object> candidates(int count, int classes) {
    testing::Random random(21);
    std::vector<Object> objects;
    cv::Rect2f place;
    int label = 0;
    for (int i = 0; i < count; ++i) {
        if (i % 30 == 0) {
            place = {random.real(0.0F, 1800.0F), random.real(0.0F, 1000.0F), random.real(20.0F, 200.0F),
                     random.real(20.0F, 200.0F)};
            label = random.integer(0, classes - 1);
        }
        Object object;
        object.rect = {place.x + random.real(-5.0F, 5.0F), place.y + random.real(-5.0F, 5.0F), place.width,
                       place.height};
        object.label = label;
        object.prob = random.real(0.25F, 1.0F);
        objects.push_back(object);
    }
    return objects;
}

Measured measureObjects(int count, int classes) {
    const auto objects = std::make_shared<std::vector<Object>>(candidates(count, classes));
    const auto ours = [=] {
        std::vector<Object> copy = *objects;
        ai_orvo::model::nms(copy, 0.65F);
        return copy;
    };
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(ours().data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(reference::keepGreedily(*objects, 0.65F).data()); };
    measured.floor = [=] {
        const std::vector<Object> copy = *objects;
        readOnce(copy.data(), copy.size() * sizeof(Object));
    };
    measured.agree = [=] {
        return static_cast<bool>(testing::sameObjects(ours(), reference::keepGreedily(*objects, 0.65F)));
    };
    return measured;
}

/// The lists that the index form works on.
struct Lists {
    std::vector<cv::Rect> boxes;
    std::vector<int> classIds;
    std::vector<float> scores;
    std::vector<int> order;
    std::set<int> classes;
};

Lists listsOf(const std::vector<Object>& objects) {
    Lists lists;
    for (const Object& object : objects) {
        lists.boxes.emplace_back(object.rect);
        lists.classIds.push_back(object.label);
        lists.scores.push_back(object.prob);
        lists.classes.insert(object.label);
    }
    lists.order.resize(objects.size());
    std::iota(lists.order.begin(), lists.order.end(), 0);
    return lists;
}

template <typename Sort, typename Suppress>
std::vector<int> suppressed(Lists lists, Sort sort, Suppress suppress) {
    const auto count = static_cast<int>(lists.order.size());
    sort(lists.scores, 0, count - 1, lists.order);
    for (const int id : lists.classes) {
        suppress(count, lists.boxes, lists.classIds, lists.order, id, 0.65F);
    }
    return lists.order;
}

Measured measureIndices(int count, int classes) {
    using Nms = void (*)(int, std::vector<cv::Rect>&, std::vector<int>, std::vector<int>&, int, float);
    const auto lists = std::make_shared<Lists>(listsOf(candidates(count, classes)));
    const auto ours = [=] {
        return suppressed(*lists, ai_orvo::model::quickSortIndiceInverse,
                          static_cast<Nms>(ai_orvo::model::nms));
    };
    const auto plain = [=] {
        return suppressed(*lists, reference::sortDescending, reference::suppressByIndex);
    };
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(ours().data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(plain().data()); };
    measured.floor = [=] {
        const Lists copy = *lists;
        readOnce(copy.boxes.data(), copy.boxes.size() * sizeof(cv::Rect));
    };
    measured.agree = [=] { return ours() == plain(); };
    return measured;
}

const bool registered = [] {
    for (const int count : {20, 60, 100, 2000}) {
        for (const int classes : {1, 80}) {
            const std::string name = std::to_string(count) + " candidates, " + std::to_string(classes) +
                                     (classes == 1 ? " class" : " classes");
            addStage("object NMS", name, Other::kNone, [=] { return measureObjects(count, classes); });
            addStage("index sort and NMS", name, Other::kNone,
                     [=] { return measureIndices(count, classes); });
        }
    }
    return true;
}();

}  // namespace
}  // namespace brellix::bench
