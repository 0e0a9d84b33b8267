#include "verify/lumo_list.h"

#include <gtest/gtest.h>

#include <vector>

#include "verify/lumo_vrf.h"

namespace {

std::vector<void*> g_freed;
int g_compared = 0;

void Note(const LUMO_VRF*, void* item) {
  g_freed.push_back(item);
}

TEV_INT CompareTens(const void* left, const void* right) {
  ++g_compared;
  return *static_cast<const int*>(left) / 10 - *static_cast<const int*>(right) / 10;
}

class LumoList : public ::testing::Test {
 protected:
  void SetUp() override {
    g_freed.clear();
    g_compared = 0;
  }

  void Fill(const std::vector<int>& values) {
    values_ = values;
    for (int& value : values_) ASSERT_EQ(lumo_list_add(&list_, &value), LUMO_OK);
  }

  [[nodiscard]] std::vector<int> Values() const {
    std::vector<int> values;
    for (TEV_UINT32 i = 0; i < list_.num; ++i) values.push_back(*static_cast<const int*>(list_.data[i]));
    return values;
  }

  LUMO_LIST_DUMMY list_{};
  std::vector<int> values_;
};

TEST_F(LumoList, TheSeventeenthElementIsRefused) {
  Fill(std::vector<int>(16, 1));
  int extra = 2;
  EXPECT_EQ(lumo_list_add(&list_, &extra), LUMO_ERR_LIST_FULL);
  EXPECT_EQ(list_.num, 16u);
  EXPECT_EQ(Values(), std::vector<int>(16, 1));
}

TEST_F(LumoList, AddRefusesNull) {
  int item = 0;
  EXPECT_EQ(lumo_list_add(nullptr, &item), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_list_add(&list_, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(list_.num, 0u);
}

TEST_F(LumoList, FreeWithoutACallbackKeepsTheCount) {
  Fill({1, 2});
  lumo_list_free(nullptr, &list_, nullptr);
  EXPECT_EQ(list_.num, 2u);
}

TEST_F(LumoList, FreeHandsOutEveryElementOnceAndEmptiesTheList) {
  Fill({1, 2, 3});
  list_.data[1] = nullptr;
  lumo_list_free(nullptr, &list_, Note);
  EXPECT_EQ(g_freed, (std::vector<void*>{&values_[0], nullptr, &values_[2]}));
  EXPECT_EQ(list_.num, 0u);
  EXPECT_EQ(list_.data[2], &values_[2]);
}

LUMO_LIST_DUMMY* g_shortened = nullptr;
void NoteAndShorten(const LUMO_VRF* vrf, void* item) {
  Note(vrf, item);
  g_shortened->num = 2;
}

TEST_F(LumoList, FreeHeedsACountThatTheCallbackChanges) {
  Fill({1, 2, 3, 4});
  g_shortened = &list_;
  lumo_list_free(nullptr, &list_, NoteAndShorten);
  EXPECT_EQ(g_freed, (std::vector<void*>{&values_[0], &values_[1]}));
  EXPECT_EQ(list_.num, 0u);
}

void NoteContext(const LUMO_VRF* vrf, void*) {
  g_freed.push_back(const_cast<LUMO_VRF*>(vrf));
}

TEST_F(LumoList, FreeHandsTheContextOn) {
  LUMO_VRF vrf{};
  Fill({1});
  lumo_list_free(&vrf, &list_, NoteContext);
  EXPECT_EQ(g_freed, (std::vector<void*>{&vrf}));
}

TEST_F(LumoList, ACountAboveTheSlotsIsNeverFollowed) {
  Fill(std::vector<int>(16, 1));
  list_.num = 0xFFFFFFFF;
  int extra = 2;
  EXPECT_EQ(lumo_list_add(&list_, &extra), LUMO_ERR_LIST_FULL);
  EXPECT_EQ(lumo_list_sort(&list_, CompareTens), LUMO_OK);
  EXPECT_EQ(g_compared, 15);
  lumo_list_free(nullptr, &list_, Note);
  EXPECT_EQ(g_freed.size(), 16u);
  EXPECT_EQ(list_.num, 0u);
}

TEST_F(LumoList, FreeOfNoListDoesNothing) {
  lumo_list_free(nullptr, nullptr, Note);
  EXPECT_TRUE(g_freed.empty());
}

TEST_F(LumoList, SortRefusesNull) {
  EXPECT_EQ(lumo_list_sort(nullptr, CompareTens), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_list_sort(&list_, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoList, SortOfNoneOrOneComparesNothing) {
  EXPECT_EQ(lumo_list_sort(&list_, CompareTens), LUMO_OK);
  Fill({1});
  EXPECT_EQ(lumo_list_sort(&list_, CompareTens), LUMO_OK);
  EXPECT_EQ(g_compared, 0);
}

TEST_F(LumoList, SortOfAnOrderedListNeedsOnePass) {
  Fill({10, 20, 30, 40});
  EXPECT_EQ(lumo_list_sort(&list_, CompareTens), LUMO_OK);
  EXPECT_EQ(g_compared, 3);
}

TEST_F(LumoList, SortIsAscendingAndStable) {
  Fill({31, 12, 30, 11, 10, 22, 21});
  EXPECT_EQ(lumo_list_sort(&list_, CompareTens), LUMO_OK);
  EXPECT_EQ(Values(), (std::vector<int>{12, 11, 10, 22, 21, 31, 30}));
}

TEST_F(LumoList, SortOfAFullListInReverse) {
  std::vector<int> reverse;
  std::vector<int> ascending;
  for (int i = 0; i < 16; ++i) {
    reverse.push_back(10 * (16 - i));
    ascending.push_back(10 * (i + 1));
  }
  Fill(reverse);
  EXPECT_EQ(lumo_list_sort(&list_, CompareTens), LUMO_OK);
  EXPECT_EQ(Values(), ascending);
}

void FreeInt(const LUMO_VRF* vrf, int* item) {
  Note(vrf, item);
}

TEST_F(LumoList, ATypedListHasTheGenericLayout) {
  static_assert(sizeof(LumoListOf<int>) == sizeof(LUMO_LIST_DUMMY));
  int item = 7;
  LumoListOf<int> typed{};
  ASSERT_EQ(typed.add(&item), LUMO_OK);
  EXPECT_EQ(typed.num(), 1u);
  EXPECT_EQ(typed.at(0), &item);
  typed.free_each<FreeInt>(nullptr);
  EXPECT_EQ(g_freed, (std::vector<void*>{&item}));
  EXPECT_EQ(typed.num(), 0u);
}

}  // namespace
