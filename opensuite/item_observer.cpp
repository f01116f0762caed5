#include "item_observer.h"

#include <utility>

namespace tav3d::opensuite
{

namespace
{
thread_local ItemObserver current;
}

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

} // namespace tav3d::opensuite
