#include "evaluation/class_mapping.h"

#include "refusal.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

using namespace app;

Dataset dataset(const std::vector<Category>& categories) {
    Dataset result;
    result.path = "truth.json";
    result.categories = categories;
    return result;
}

void expectRefused(const Dataset& data, const NetworkClasses& classes, MappingRule rule,
                   const std::vector<std::string>& words) {
    expectRefusal([&] { static_cast<void>(mapClasses(data, classes, rule)); }, words);
}

const NetworkClasses kNamed{{"disc", "cone", "cube"}, 3};
const NetworkClasses kUnnamed{{}, 3};

TEST(ClassMapping, GoesByNameWhereBothSidesHaveNames) {
    const Dataset data = dataset({{1, "cube", {}, true}, {90, "disc", {}, true}});
    EXPECT_EQ(mapClasses(data, kNamed, MappingRule::kByName), (ClassMapping{{0, 1}, {2, 0}}));
}

TEST(ClassMapping, CategoriesWithoutObjectsNeedNoClass) {
    const Dataset data = dataset({{1, "cube", {}, true}, {2, "ball", {}, false}});
    EXPECT_EQ(mapClasses(data, kNamed, MappingRule::kByName), (ClassMapping{{2, 0}}));
}

TEST(ClassMapping, ObjectsOfAnUnknownNameAreRefused) {
    expectRefused(dataset({{5, "ball", {}, true}}), kNamed, MappingRule::kByName,
                  {"\"ball\" (id 5)", "disc, cone, cube", "--names", "--by-order"});
}

TEST(ClassMapping, GapsAmongTheNamesAreNotListed) {
    expectRefused(dataset({{5, "ball", {}, true}}), {{"disc", "", "cube"}, 3}, MappingRule::kByName,
                  {"(disc, cube)"});
}

TEST(ClassMapping, GoesBySortedIdsWhereASideHasNoNames) {
    const Dataset data = dataset({{1, "cube", {}, true}, {7, "disc", {}, true}, {90, "cone", {}, true}});
    EXPECT_EQ(mapClasses(data, kUnnamed, MappingRule::kByName), (ClassMapping{{0, 0}, {1, 1}, {2, 2}}));
    EXPECT_EQ(mapClasses(data, kNamed, MappingRule::kByOrder), (ClassMapping{{0, 0}, {1, 1}, {2, 2}}));
}

TEST(ClassMapping, AnOrderOfAnotherLengthIsRefused) {
    expectRefused(dataset({{1, "cube", {}, true}}), kUnnamed, MappingRule::kByName,
                  {"there is 1 category, and class_num of the configuration is 3", "--names"});
}

TEST(ClassMapping, ClassIndicesAreLabels) {
    Dataset data = dataset({{0, "", "a.txt:1", true}, {2, "", "a.txt:4", true}});
    data.idsAreLabels = true;
    EXPECT_EQ(mapClasses(data, kNamed, MappingRule::kByName), (ClassMapping{{0, 0}, {2, 1}}));
    data.categories[1].id = 3;
    expectRefused(data, kNamed, MappingRule::kByName,
                  {"a.txt:4: the class is 3", "class_num of the configuration is 3"});
}

/// `names` by rising class index from 0 on, as YOLO has them, with objects of each.
Dataset yoloNames(const std::vector<std::string>& names) {
    Dataset data = dataset({});
    for (const std::string& name : names) {
        data.categories.push_back({static_cast<std::int64_t>(data.categories.size()), name, {}, true});
    }
    data.idsAreLabels = true;
    return data;
}

TEST(ClassMapping, NamedClassIndicesGoByOrderWhereItIsAskedFor) {
    EXPECT_EQ(mapClasses(yoloNames({"ball", "disc", "prism"}), kNamed, MappingRule::kByOrder),
              (ClassMapping{{0, 0}, {1, 1}, {2, 2}}));
    Dataset sparse = yoloNames({"disc", "cone", "cube"});
    sparse.categories[1].id = 7;
    sparse.categories[2].id = 9;
    EXPECT_EQ(mapClasses(sparse, kNamed, MappingRule::kByOrder), (ClassMapping{{0, 0}, {1, 1}, {2, 2}}));
    EXPECT_EQ(mapClasses(sparse, kUnnamed, MappingRule::kByName), (ClassMapping{{0, 0}, {1, 1}, {2, 2}}));
}

TEST(ClassMapping, ANameTooManyIsNoClassThatWasFound) {
    Dataset data = yoloNames({"disc", "cone", "cube", "ball"});
    data.categories[3].isUsed = false;
    expectRefused(data, kUnnamed, MappingRule::kByName,
                  {"truth.json: there are 4 categories, and class_num of the configuration is 3"});
}

TEST(ClassMapping, ClassIndicesWithoutObjectsNeedNoClass) {
    Dataset data = yoloNames({"", "", "", ""});
    data.categories[3].isUsed = false;
    EXPECT_EQ(mapClasses(data, kNamed, MappingRule::kByName), (ClassMapping{{0, 0}, {1, 1}, {2, 2}}));
    data.categories[3].isUsed = true;
    data.categories[3].seenAt = "a.txt:2";
    expectRefused(data, kNamed, MappingRule::kByName, {"a.txt:2: the class is 3"});
}

TEST(ClassMapping, NamesThatRepeatAtTheSameIndicesOnBothSidesGoByIndex) {
    const Dataset data = yoloNames({"crane", "disc", "crane", "cube"});
    EXPECT_EQ(mapClasses(data, {{"crane", "cube", "crane", "disc"}, 4}, MappingRule::kByName),
              (ClassMapping{{0, 0}, {1, 3}, {2, 2}, {3, 1}}));
}

TEST(ClassMapping, NamesThatRepeatElsewhereAreRefused) {
    const Dataset data = yoloNames({"crane", "disc", "crane"});
    expectRefused(data, {{"crane", "crane", "disc"}, 3}, MappingRule::kByName,
                  {"truth.json: the category \"crane\" (id 0) has objects", "the dataset calls 0, 2 so",
                   "the network 0, 1", "--names FILE", "--by-order"});
    expectRefused(data, {{"crane", "disc", "cube"}, 3}, MappingRule::kByName,
                  {"\"crane\"", "the network 0;"});
    expectRefused(yoloNames({"crane", "disc"}), {{"crane", "disc", "crane"}, 3}, MappingRule::kByName,
                  {"\"crane\"", "the dataset calls 0 so", "the network 0, 2"});
}

TEST(ClassMapping, RepeatedClassNamesAreRefusedWhereACategoryWithObjectsNeedsThem) {
    const NetworkClasses repeated{{"cube", "disc", "cube"}, 3};
    // Ids of COCO are no labels, even where they look so.
    expectRefused(dataset({{0, "cube", {}, true}}), repeated, MappingRule::kByName,
                  {"\"cube\" (id 0)", "the network 0, 2"});
    EXPECT_EQ(
        mapClasses(dataset({{1, "cube", {}, false}, {2, "disc", {}, true}}), repeated, MappingRule::kByName),
        (ClassMapping{{1, 1}}));
}

}  // namespace
}  // namespace brellix::testing
