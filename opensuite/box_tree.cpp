// CTAVOptKer on Boost.Geometry's R-tree. Boxes are collected first and packed into a tree at the first query after an insertion, which is several
// times faster than inserting them one by one and makes a better tree. A few boxes that arrive after that are inserted; many pack it anew.

#include "TAVOptKer.h"

#include <boost/geometry/core/cs.hpp>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>
#include <vector>

namespace
{

namespace bg = boost::geometry;

using Point = bg::model::point<double, 3, bg::cs::cartesian>;
using Box = bg::model::box<Point>;
using Entry = std::pair<Box, int>;
using Tree = bg::index::rtree<Entry, bg::index::quadratic<16>>;

/// Beyond this the tree's centres and volumes would overflow; such boxes are kept in a list of their own.
constexpr double largest = 1e100;

/// Insert one by one as long as the new boxes are fewer than this part of the tree.
constexpr std::size_t smallPart = 16;

bool isBox(const Box& box)
{
    return bg::get<0>(box.min_corner()) <= bg::get<0>(box.max_corner()) && bg::get<1>(box.min_corner()) <= bg::get<1>(box.max_corner()) &&
           bg::get<2>(box.min_corner()) <= bg::get<2>(box.max_corner()); // false for NaN
}

bool isHuge(const Box& box)
{
    const auto tooFar = [](double v) { return std::abs(v) > largest; };
    return tooFar(bg::get<0>(box.min_corner())) || tooFar(bg::get<0>(box.max_corner())) || tooFar(bg::get<1>(box.min_corner())) ||
           tooFar(bg::get<1>(box.max_corner())) || tooFar(bg::get<2>(box.min_corner())) || tooFar(bg::get<2>(box.max_corner()));
}

bool overlap(const Box& a, const Box& b)
{
    return bg::get<0>(a.min_corner()) <= bg::get<0>(b.max_corner()) && bg::get<0>(b.min_corner()) <= bg::get<0>(a.max_corner()) &&
           bg::get<1>(a.min_corner()) <= bg::get<1>(b.max_corner()) && bg::get<1>(b.min_corner()) <= bg::get<1>(a.max_corner()) &&
           bg::get<2>(a.min_corner()) <= bg::get<2>(b.max_corner()) && bg::get<2>(b.min_corner()) <= bg::get<2>(a.max_corner());
}

/// Output iterator that keeps the numbers of the entries it is given.
class NumberCollector
{
public:
    using iterator_category = std::output_iterator_tag;
    using value_type = void;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = void;

    explicit NumberCollector(std::vector<int>& numbers)
        : numbers_(&numbers)
    {
    }
    NumberCollector& operator*() { return *this; }
    NumberCollector& operator++() { return *this; }
    NumberCollector operator++(int) { return *this; }
    NumberCollector& operator=(const Entry& entry)
    {
        numbers_->push_back(entry.second);
        return *this;
    }

private:
    std::vector<int>* numbers_;
};

} // namespace

class CTAVOptKer::Impl
{
public:
    void add(int id, const Box& box)
    {
        if (isBox(box))
            (isHuge(box) ? huge_ : waiting_).emplace_back(box, id);
    }

    std::vector<int>& search(const Box& query)
    {
        found_.clear();
        if (isBox(query))
        {
            takeIn();
            tree_.query(bg::index::intersects(query), NumberCollector(found_));
            for (const Entry& entry : huge_)
                if (overlap(entry.first, query))
                    found_.push_back(entry.second);
            std::sort(found_.begin(), found_.end());
        }
        return found_;
    }

private:
    void takeIn()
    {
        if (waiting_.empty())
            return;
        if (waiting_.size() < tree_.size() / smallPart)
            tree_.insert(waiting_.begin(), waiting_.end());
        else
        {
            waiting_.insert(waiting_.end(), tree_.begin(), tree_.end());
            tree_ = Tree(waiting_.begin(), waiting_.end());
        }
        waiting_ = {};
    }

    Tree tree_;
    std::vector<Entry> waiting_;
    std::vector<Entry> huge_;
    std::vector<int> found_ = std::vector<int>(1); // never without storage, so that a search that finds nothing returns an address as well
};

CTAVOptKer::CTAVOptKer()
    : m_pImpl(new Impl)
{
}

CTAVOptKer::~CTAVOptKer()
{
    delete m_pImpl;
}

// The tree grows with its boxes: it needs neither range nor tuning.
void CTAVOptKer::SetADTreeRange(double, double, double, double, double, double, int, int, int) {}

void CTAVOptKer::AddSurfaceToADTree(int id, double xMax, double yMax, double zMax, double xMin, double yMin, double zMin)
{
    m_pImpl->add(id, Box({xMin, yMin, zMin}, {xMax, yMax, zMax}));
}

int* CTAVOptKer::SearchNearBlockID(double xMin, double yMin, double zMin, double xMax, double yMax, double zMax, int& count, int)
{
    std::vector<int>& found = m_pImpl->search(Box({xMin, yMin, zMin}, {xMax, yMax, zMax}));
    count = static_cast<int>(found.size());
    return found.data();
}
