#include "interpolation/tree_queries.h"

#include "common/compiler.h"

#include <algorithm>
#include <cmath>

namespace tav3d::interpolation
{

namespace
{

/// The nearest point in the first of the growing cubes that holds at least `wanted` points, or else in the largest. Starts from the largest cube
/// and shrinks it as points are met that fill a smaller one.
template <int wanted>
class NearestInFirstCube
{
public:
    static constexpr bool usesReach = true;
    std::array<double, 3> target;

    /// boxes: by rank - 1, of which that of the nearest point will be read; it is on its way while the search goes on. Or none.
    explicit NearestInFirstCube(const Point& from, const CellBox* boxes = nullptr)
        : target{from.x, from.y, from.z}
        , boxes_(boxes)
    {
    }

    [[nodiscard]] SearchLimits limits() const
    {
        return {best_.square, radius_, smaller_, wanted > 1 ? std::numeric_limits<std::int32_t>::max() : best_.number};
    }

    void meet(double square, double reach, const IndexedPoint& point)
    {
        if (!(reach < radius_))
            return;
        const Found found{square, point.number, point.tag};
        if (reach < smaller_)
            meetInSmaller({found, reach});
        keep(found);
    }

    [[nodiscard]] const Found& best() const { return best_; }
    [[nodiscard]] bool isTied() const { return isTied_; }
    [[nodiscard]] double radius() const { return radius_; }

private:
    static_assert(wanted == 1 || wanted == 2);

    struct Met
    {
        Found found;
        double reach;
    };
    static constexpr double infinity = std::numeric_limits<double>::infinity();
    static constexpr Met none{{infinity, 0, 0}, infinity};

    /// Fewer than wanted were in the smaller cube before: at most first_. With this one they may be enough to shrink to it or to a still smaller
    /// one, which holds nothing else that has been met.
    void meetInSmaller(const Met& met)
    {
        if (wanted == 2 && first_.found.number == 0)
        {
            first_ = met;
            return;
        }
        shrinkTo(wanted == 2 ? std::max(first_.reach, met.reach) : met.reach);
        best_ = first_.found;
        isTied_ = false;
        if (met.reach < smaller_)
            first_ = met;
        else if (!(first_.reach < smaller_))
            first_ = none;
    }

    void keep(const Found& found)
    {
        isTied_ = found.square == best_.square || (isTied_ && !(found.square < best_.square));
        if (found < best_)
        {
            best_ = found;
            if (boxes_ != nullptr)
                common::prefetch(&boxes_[found.number - 1]);
        }
    }

    void shrinkTo(double reach)
    {
        while (level_ > 0 && reach < searchRadii[level_ - 1])
            --level_;
        radius_ = searchRadii[level_];
        smaller_ = level_ > 0 ? searchRadii[level_ - 1] : 0.0;
    }

    std::size_t level_ = searchRadii.size() - 1;
    double radius_ = searchRadii.back();
    double smaller_ = searchRadii[searchRadii.size() - 2];
    Found best_ = none.found;
    bool isTied_ = false;
    Met first_ = none; // the one point met in the smaller cube, of two wanted
    const CellBox* boxes_;
};

class NearestInCube : public KeepNearest
{
public:
    static constexpr bool usesReach = true;

    NearestInCube(const Point& from, double radius, std::span<Found> best)
        : KeepNearest(from, std::numeric_limits<double>::infinity(), best)
        , radius_(radius)
    {
    }

    [[nodiscard]] SearchLimits limits() const
    {
        SearchLimits limits = KeepNearest::limits();
        limits.radius = radius_;
        return limits;
    }

    void meet(double square, double reach, const IndexedPoint& point)
    {
        if (reach < radius_)
            KeepNearest::meet(square, reach, point);
    }

private:
    double radius_;
};

/// Calls an action with every point in a cube that is not farther than `farthest`.
template <class Action>
struct EachInCube
{
    static constexpr bool usesReach = true;
    std::array<double, 3> target;
    double radius;
    double farthest;
    Action action;

    [[nodiscard]] SearchLimits limits() const { return {.square = farthest, .radius = radius}; }
    void meet(double square, double reach, const IndexedPoint& point)
    {
        if (reach < radius && square <= farthest)
            action(Found{square, point.number, point.tag});
    }
};

bool isFinite(const Point& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

IndexedPoints ranked(std::span<const Point> points, std::span<const std::int32_t> visited)
{
    IndexedPoints ranks;
    ranks.reserve(visited.size());
    std::int32_t rank = 0;
    for (const std::int32_t number : visited)
    {
        const Point& p = points[static_cast<std::size_t>(number)];
        ranks.push_back({{p.x, p.y, p.z}, ++rank, number});
    }
    return ranks;
}

} // namespace

void sortByKey(std::vector<double>& key, std::vector<std::int32_t>& number, std::size_t n)
{
    std::size_t gap = 1;
    while (3 * gap + 1 <= n)
        gap = 3 * gap + 1;
    for (; gap >= 1; gap /= 3)
    {
        for (std::size_t i = gap + 1; i <= n; ++i)
        {
            const double movingKey = key[i];
            const std::int32_t movingNumber = number[i];
            std::size_t j = i;
            for (; j > gap && key[j - gap] > movingKey; j -= gap)
            {
                key[j] = key[j - gap];
                number[j] = number[j - gap];
            }
            key[j] = movingKey;
            number[j] = movingNumber;
        }
    }
}

TreeQueries::TreeQueries(std::span<const Point> points, std::span<const std::int32_t> visited)
    : index_(ranked(points, visited))
{
}

std::int32_t TreeQueries::nearest(const Point& target, double& square) const
{
    square = -1.0;
    if (!isFinite(target))
        return -1;
    NearestInFirstCube<1> search(target);
    index_.run(search);
    if (search.best().number == 0)
        return -1;
    square = search.best().square;
    return search.best().tag;
}

std::int32_t TreeQueries::onlyNearest(const Point& target) const
{
    if (!isFinite(target))
        return 0;
    NearestInFirstCube<2> search(target);
    index_.run(search);
    if (search.best().number == 0 || search.isTied())
        return 0;
    return search.best().tag + 1;
}

// A box read from the cell's nodes costs some fifteen misses of the caches, one that is kept costs one, and to make all boxes, in the order of the mesh,
// about as much as reading a tenth of them.
std::int32_t TreeQueries::onlyNearest(const Point& target, const CellNodes& cells, bool& isInBox)
{
    if (!(cells == cells_))
    {
        cells_ = cells;
        forgetBoxes();
    }
    if (boxes_.empty())
    {
        const std::int32_t cell = onlyNearest(target);
        isInBox = cell > 0 && boxOf(cells, cell).holds(target);
        if (++asked_ > index_.size() / 16)
            keepBoxes();
        return cell;
    }

    isInBox = false;
    if (!isFinite(target))
        return 0;
    NearestInFirstCube<2> search(target, boxes_.data());
    index_.run(search);
    if (search.best().number == 0 || search.isTied())
        return 0;
    const CellBox& box = boxes_[static_cast<std::size_t>(search.best().number) - 1];
    isInBox = box.holds(target);
    return box.cell;
}

void TreeQueries::forgetBoxes()
{
    asked_ = 0;
    boxes_.clear();
}

void TreeQueries::keepBoxes()
{
    std::vector<std::int32_t> cells(index_.size());
    index_.forEach([&](const IndexedPoint& p) { cells[static_cast<std::size_t>(p.number) - 1] = p.tag + 1; });
    boxes_ = boxesOf(cells_, cells);
}

std::size_t TreeQueries::candidates(const Point& target, std::span<std::int32_t, 10> numbers)
{
    if (!isFinite(target))
        return 0;
    NearestInFirstCube<2> cube(target);
    index_.run(cube);

    // One more than asked for, to see whether the last one has an equal.
    std::array<Found, 11> best{};
    NearestInCube search(target, cube.radius(), best);
    index_.run(search);
    const auto end = std::find_if(best.begin(), best.end(), [](const Found& found) { return found.number == 0; });
    const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(end - best.begin()), numbers.size());
    const bool isTied = std::adjacent_find(best.begin(), end, [](const Found& a, const Found& b) { return a.square == b.square; }) != end;
    if (isTied)
    {
        listTies(target, cube.radius(), best[count - 1].square);
        std::transform(listed_.begin(), listed_.begin() + static_cast<std::ptrdiff_t>(count), best.begin(),
                       [](const Listed& l) { return l.found; });
    }
    for (std::size_t i = 0; i < count; ++i)
        numbers[i] = best[i].tag + 1;
    return count;
}

/// Puts the points of the cube that are not farther than `farthest` into listed_, in the order that sortByKey gives to them when it sorts all
/// points of the cube.
///
/// A pass with gap h sorts each of the h interleaved sequences stably. As the listed points are nearer than all others, they come to the front of
/// their sequences whatever the others are: their positions before a pass, and the length of the list, tell their positions after it.
void TreeQueries::listTies(const Point& target, double radius, double farthest)
{
    const std::array<double, 3> from{target.x, target.y, target.z};
    listed_.clear();
    const auto list = [this](const Found& found) { listed_.push_back({found, 0}); };
    EachInCube<decltype(list)> listSearch{from, radius, farthest, list};
    index_.run(listSearch);
    std::sort(listed_.begin(), listed_.end(), [](const Listed& a, const Listed& b) { return a.found.number < b.found.number; });

    // The position in the list is the number of points in the cube of lower rank.
    between_.assign(listed_.size() + 1, 0); // points from one listed point to the next
    const auto count = [this](const Found& found)
    {
        const auto after = std::upper_bound(listed_.begin(), listed_.end(), found.number,
                                            [](std::int32_t rank, const Listed& l) { return rank < l.found.number; });
        ++between_[static_cast<std::size_t>(after - listed_.begin())];
    };
    EachInCube<decltype(count)> countSearch{from, radius, std::numeric_limits<double>::infinity(), count};
    index_.run(countSearch);
    std::size_t n = 0;
    for (std::size_t i = 0; i < listed_.size(); ++i)
    {
        n += between_[i];
        listed_[i].position = n++;
        between_[i + 1] -= 1; // the listed point itself
    }
    n += between_[listed_.size()];

    std::size_t gap = 1;
    while (3 * gap + 1 <= n)
        gap = 3 * gap + 1;
    for (; gap >= 1; gap /= 3)
    {
        std::sort(listed_.begin(), listed_.end(),
                  [gap](const Listed& a, const Listed& b)
                  {
                      if (a.position % gap != b.position % gap)
                          return a.position % gap < b.position % gap;
                      return a.found.square < b.found.square || (a.found.square == b.found.square && a.position < b.position);
                  });
        std::size_t sequence = gap;
        std::size_t next = 0;
        for (Listed& l : listed_)
        {
            if (l.position % gap != sequence)
                next = sequence = l.position % gap;
            l.position = next;
            next += gap;
        }
    }
}

} // namespace tav3d::interpolation
