// Puts the entries of a linked list in order.
#pragma once

#include <algorithm>
#include <vector>

#include "foundation/linked_list.h"

namespace Orvane {

// Sorts by `less`; equal entries keep their order. A list in order is left untouched. True if anything moved.
template <class T, class Less>
bool SortList(Foundation::LinkedList<T>& list, Less less) {
    std::vector<T*> entries;
    entries.reserve(static_cast<size_t>(list.size()));
    for (T& e : list) entries.push_back(&e);
    const auto by_value = [&less](const T* a, const T* b) { return less(*a, *b); };
    if (std::is_sorted(entries.begin(), entries.end(), by_value)) return false;
    std::stable_sort(entries.begin(), entries.end(), by_value);
    for (T* e : entries) list.Append(list.Remove(e));
    return true;
}

}  // namespace Orvane
