#include <gtest/gtest.h>

#include <string>

#include "foundation/linked_list.h"
#include "foundation/simple_vector.h"

namespace Tesslib {
namespace {

struct Node : LinkedListEntry {};

TEST(SimpleVector, KeepsElementsThroughGrowthInsertEraseAndCopy) {
    simple_vector<std::string> texts(2);
    for (int i = 0; i < 100; ++i) texts.push_back(std::to_string(i));
    texts.insert(texts.cbegin() + 3, "three");
    texts.erase(texts.cbegin());
    EXPECT_EQ(texts[2], "three");
    const simple_vector<std::string> copy = texts;
    texts.clear();
    texts.shrink_to_fit();
    EXPECT_EQ(texts.capacity(), 0);
    ASSERT_EQ(copy.size(), 100);
    EXPECT_EQ(copy[99], "99");
}

TEST(ContainersDeathTest, MisuseIsCaught) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    simple_vector<int> numbers{1, 2, 3};
    EXPECT_DEATH(numbers[3] = 0, "\\(unsigned\\)result < \\(unsigned\\)m_size");
    EXPECT_DEATH(numbers.insert(numbers.cend() + 1, 4), "pos >= cbegin\\(\\) && pos <= cend\\(\\)");
    // One byte behind the last element: inside the block, so only the guard can tell.
    const auto overrun = [&] {
        *reinterpret_cast<char*>(numbers.data() + 3) = 0;
        numbers.push_back(4);
    };
    EXPECT_DEATH(overrun(), "guard_bytes\\[0\\] == 0xef");

    LinkedList<Node> list(false), other(false);
    Node node;
    list.Append(&node);
    EXPECT_DEATH(other.Append(&node), "e->list == nullptr");
    EXPECT_DEATH(other.Remove(&node), "e->list == this");
    EXPECT_DEATH(list.~LinkedList(), "this->n_entries == 0");
    list.Remove(&node);
}

}  // namespace
}  // namespace Tesslib
