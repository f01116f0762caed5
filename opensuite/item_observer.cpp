#include "item_observer.h"

#include <utility>

namespace tav3d::opensuite
{

namespace
{
thread_local ItemObserver current;
thread_local long long completed = 0;
} // namespace

WatchItems::WatchItems(ItemObserver observer)
{
    current = std::move(observer);
}

WatchItems::~WatchItems()
{
    current = nullptr;
}

void tellItemStored(int done, int total)
{
    if (current)
        current(done, total);
}

long long completedResultFiles() noexcept
{
    return completed;
}

void countCompletedResultFile() noexcept
{
    ++completed;
}

} // namespace tav3d::opensuite
