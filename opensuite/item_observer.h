#pragma once

// Watching a result file grow and be completed, for programs that show progress and must know what became of a file that another object
// writes: the suite's interface has no such thing.

#include <functional>

namespace tav3d::opensuite
{

/// Called on the writing thread after each item that a writer has stored: items stored so far, and items in the file's item table.
using ItemObserver = std::function<void(int done, int total)>;

/// While it lives, `observer` watches the writers of this thread. Do not nest.
class WatchItems
{
public:
    explicit WatchItems(ItemObserver observer);
    ~WatchItems();
    WatchItems(const WatchItems&) = delete;
    WatchItems& operator=(const WatchItems&) = delete;
};

/// For writers: tells the observer of this thread, if there is one.
void tellItemStored(int done, int total);

/// How many result files the writers of this thread have completed so far: a caller that cannot see a writer's answer compares before and after.
[[nodiscard]] long long completedResultFiles() noexcept;

/// For writers: counts a file that stands complete under its name.
void countCompletedResultFile() noexcept;

} // namespace tav3d::opensuite
