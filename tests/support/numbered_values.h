#pragma once

#include <memory>
#include <vector>

namespace tav3d::test
{

/// Entries 0..n of an array, as ints, to be compared as a whole.
template <class T>
std::vector<int> ints(const std::unique_ptr<T[]>& array, int n)
{
    return {array.get(), array.get() + n + 1};
}

} // namespace tav3d::test
