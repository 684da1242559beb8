#include <gtest/gtest.h>

#include <string>

#include "foundation/linked_list.h"
#include "foundation/refcount.h"
#include "foundation/simple_vector.h"

namespace Tesslib {
namespace {

struct Node : LinkedListEntry {
    explicit Node(int value, int* n_alive = nullptr) : value(value), n_alive(n_alive) {
        if (n_alive) ++*n_alive;
    }
    ~Node() override {
        if (n_alive) --*n_alive;
    }
    int value;
    int* n_alive;
};

std::string Values(const LinkedList<Node>& list) {
    std::string values;
    for (const Node& node : list) values += std::to_string(node.value);
    return values;
}

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
    Node node(1);
    list.Append(&node);
    EXPECT_DEATH(other.Append(&node), "e->list == nullptr");
    EXPECT_DEATH(other.Remove(&node), "e->list == this");
    EXPECT_DEATH(list.~LinkedList(), "this->n_entries == 0");
    list.Remove(&node);
}

TEST(LinkedListTest, KeepsOrderAndOwnsItsEntries) {
    int n_alive = 0;
    {
        LinkedList<Node> list, other;
        for (int i = 1; i <= 4; ++i) list.Append(new Node(i, &n_alive));
        list.Insert(new Node(0, &n_alive), list.First());
        list.Delete(LinkedList<Node>::Next(list.First()));
        list.Swap(other);
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(Values(other), "0234");
        EXPECT_EQ(other.First()->list, &other);
        delete other.Remove(other.Last());
        EXPECT_EQ(Values(other), "023");
    }
    EXPECT_EQ(n_alive, 0);
}

struct Counted : RefCount {
    explicit Counted(int& n_alive) : n_alive(n_alive) { ++n_alive; }
    ~Counted() override { --n_alive; }
    int& n_alive;
};

TEST(RefCountTest, LastReferenceDeletes) {
    int n_alive = 0;
    RefPtr<Counted> first = MakeRef<Counted>(n_alive);
    RefPtr<Counted> second = first;
    RefPtr<RefCount> base = second;
    first = nullptr;
    second = std::move(first);
    EXPECT_EQ(n_alive, 1);
    base = nullptr;
    EXPECT_EQ(n_alive, 0);
}

}  // namespace
}  // namespace Tesslib
