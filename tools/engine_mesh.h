#pragma once

// A grid in the form that the interpolation engine borrows: arrays numbered from 1, cell rows as counted lists.

#include "field_grid.h"
#include "vec3.h"

#include <memory>
#include <span>
#include <utility>
#include <vector>

class CTAVOptKer;

namespace tav3d::tools
{

/// The arrays stay where they are as long as the object lives; it cannot be copied or moved.
class EngineMesh
{
public:
    explicit EngineMesh(const FieldGrid& grid);
    ~EngineMesh();
    EngineMesh(const EngineMesh&) = delete;
    EngineMesh& operator=(const EngineMesh&) = delete;

    std::vector<double> nodeX, nodeY, nodeZ; ///< entries 1..nodeTotal()
    std::vector<double> cellX, cellY, cellZ; ///< cell centres (means of the corners), entries 1..cellTotal()
    std::vector<int*> row;                   ///< entries 1..cellTotal()

    [[nodiscard]] int nodeTotal() const noexcept { return static_cast<int>(nodeX.size()) - 1; }
    [[nodiscard]] int cellTotal() const noexcept { return static_cast<int>(row.size()) - 1; }

    /// Smallest shape function of the cell at the point: 0 on the surface, negative outside. Minus infinity outside of the cell's box.
    [[nodiscard]] double smallestShape(int cell, Vec3 p) const;

    /// A point belongs to a cell when its smallest shape function is not below this: what rounding makes of a point on a face.
    static constexpr double onSurface = -1e-6;

    /// The cell that holds the point, the deepest of several; 0 = none. Searches all cells, by a box tree that the first call builds.
    [[nodiscard]] int cellThatHolds(Vec3 p) const;

    /// The node of the cell that is no farther from the point than `reach`; 0 = none, the nearest of several.
    [[nodiscard]] int nodeAt(int cell, Vec3 p, double reach) const;

    /// The cell whose surface is nearest to a point that lies in no cell, the lowest of several, and how far it is. There must be cells.
    [[nodiscard]] std::pair<int, double> nearestCell(Vec3 p) const;

    /// Distance from the point to the surface of the cell. Warped faces count as two triangles.
    [[nodiscard]] double distanceToSurface(int cell, Vec3 p) const;

private:
    [[nodiscard]] Vec3 node(int number) const noexcept
    {
        const auto n = static_cast<std::size_t>(number);
        return {nodeX[n], nodeY[n], nodeZ[n]};
    }
    void needTree() const;
    [[nodiscard]] std::span<const int> cellsNear(Vec3 p, double reach) const;
    void keepNearest(std::span<const int> cells, Vec3 p, std::pair<int, double>& nearest) const;

    const FieldGrid& grid_;
    std::vector<int> entry_;                   // of all rows
    mutable std::unique_ptr<CTAVOptKer> tree_; // of the cells' boxes
    mutable Vec3 low_, high_;                  // corners of the box around all cells; with the tree
};

} // namespace tav3d::tools
