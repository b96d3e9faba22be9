#include "common/OrderedMap.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/Text.h"

namespace {

std::string keys(OrderedMap<int>& map) {
    std::string all;
    for (const auto& [key, value] : map)
        all += utf8(key) + "=" + std::to_string(value) + " ";
    return all;
}

}  // namespace

TEST(OrderedMap, iteratesInInsertionOrderAndIsCaseSensitive) {
    OrderedMap<int> map;
    map.set(TEXT("b"), 1);
    map.set(TEXT("a"), 2);
    map.set(TEXT("B"), 3);
    map.set(TEXT("b"), 4);
    EXPECT_EQ(keys(map), "b=4 a=2 B=3 ") << "a key that is there keeps its place";
    map.erase(TEXT("b"));
    map.erase(TEXT("never there"));
    map.set(TEXT("b"), 5);
    EXPECT_EQ(keys(map), "a=2 B=3 b=5 ");
    EXPECT_EQ(map.find(TEXT("A")), nullptr);
    EXPECT_EQ(map.size(), 3U);
    map.eraseIf([](int value) { return value > 2; });
    EXPECT_EQ(keys(map), "a=2 ");
    map.clear();
    EXPECT_EQ(map.find(TEXT("a")), nullptr);
}

TEST(OrderedMap, elementKeepsItsAddressAndCanBeErasedByItsOwnKey) {
    OrderedMap<std::unique_ptr<int>> map;
    map.set(TEXT("first"), std::make_unique<int>(1));
    const auto* const value = map.find(TEXT("first"));
    for (int i = 0; i < 1000; ++i)
        map.set(wide(std::to_string(i)), std::make_unique<int>(i));
    EXPECT_EQ(map.find(TEXT("first")), value);
    map.erase(map.begin()->first);  // the key argument is part of the erased element
    EXPECT_EQ(map.find(TEXT("first")), nullptr);
    EXPECT_EQ(map.size(), 1000U);
}
