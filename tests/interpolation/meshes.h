#pragma once

// Small meshes for the tests, in the arrays that hosts hand over: numbered from 1, entry 0 carries nothing.

#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <random>
#include <vector>

namespace meshes
{

/// Counted lists as the int** that hosts hand over. Row 0 is null.
class Rows
{
public:
    Rows() { pointers_.push_back(nullptr); }
    Rows(std::initializer_list<std::vector<int>> rows)
        : Rows()
    {
        for (const std::vector<int>& row : rows)
            add(row);
    }

    void add(const std::vector<int>& items)
    {
        auto row = std::make_unique<int[]>(items.size() + 1);
        row[0] = static_cast<int>(items.size());
        for (std::size_t k = 0; k < items.size(); ++k)
            row[k + 1] = items[k];
        pointers_.push_back(row.get());
        rows_.push_back(std::move(row));
    }

    /// The items of row r.
    [[nodiscard]] std::vector<int> row(int r) const
    {
        const int* list = pointers_[static_cast<std::size_t>(r)];
        return {list + 1, list + 1 + list[0]};
    }

    [[nodiscard]] int count() const { return static_cast<int>(rows_.size()); }
    [[nodiscard]] int** data() { return pointers_.data(); }

private:
    std::vector<int*> pointers_;
    std::vector<std::unique_ptr<int[]>> rows_;
};

/// Coordinates of points 1..n.
struct Points
{
    std::vector<double> x{0.0};
    std::vector<double> y{0.0};
    std::vector<double> z{0.0};

    Points() = default;
    Points(std::initializer_list<std::vector<double>> points)
    {
        for (const std::vector<double>& p : points)
            add(p[0], p[1], p[2]);
    }

    void add(double px, double py, double pz)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }

    [[nodiscard]] int count() const { return static_cast<int>(x.size()) - 1; }
};

struct Mesh
{
    Points node;
    Rows cell;
    Points centre;

    /// Appends the mean of the cell's nodes as its centre.
    void addCell(const std::vector<int>& nodes)
    {
        double x = 0, y = 0, z = 0;
        for (const int n : nodes)
        {
            x += node.x[static_cast<std::size_t>(n)];
            y += node.y[static_cast<std::size_t>(n)];
            z += node.z[static_cast<std::size_t>(n)];
        }
        const auto count = static_cast<double>(nodes.size());
        cell.add(nodes);
        centre.add(x / count, y / count, z / count);
    }
};

/// The unit cube as one hexahedron.
inline Mesh unitCube()
{
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    mesh.addCell({1, 2, 3, 4, 5, 6, 7, 8});
    return mesh;
}

/// One element of each kind, none of them regular: tetrahedron, pyramid, prism, hexahedron.
inline Mesh oneOfEach()
{
    Mesh mesh;
    const auto add = [&mesh](std::initializer_list<std::vector<double>> points)
    {
        std::vector<int> row;
        for (const std::vector<double>& p : points)
        {
            mesh.node.add(p[0], p[1], p[2]);
            row.push_back(mesh.node.count());
        }
        mesh.addCell(row);
    };
    add({{0, 0, 0}, {1.1, 0.1, 0}, {0.2, 0.9, 0.1}, {0.1, 0.2, 1.2}});
    add({{3, 0, 0}, {4.1, 0, 0.1}, {4, 1.2, 0}, {3.1, 1, 0.1}, {3.4, 0.6, 1.1}});
    add({{6, 0, 0}, {7.2, 0.1, 0}, {6.1, 1, 0.1}, {6.1, 0.1, 1}, {7.1, 0, 1.2}, {6, 1.1, 1.1}});
    add({{9, 0, 0}, {10.1, 0.1, 0}, {10, 1.2, 0.1}, {9.1, 1, 0}, {9, 0.1, 1.1}, {10.2, 0, 1}, {10.1, 1, 1.2}, {8.9, 1.1, 1}});
    return mesh;
}

/// n x n x n hexahedra over a cube of edge `size` at the origin. Nodes off the surface are moved by up to `jitter` spacings per axis.
inline Mesh grid(int n, double size, double jitter = 0.0, unsigned seed = 1)
{
    Mesh mesh;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> shift(-jitter, jitter);
    const double h = size / n;
    for (int k = 0; k <= n; ++k)
        for (int j = 0; j <= n; ++j)
            for (int i = 0; i <= n; ++i)
            {
                const bool inside = i > 0 && i < n && j > 0 && j < n && k > 0 && k < n;
                const double s = inside ? h : 0.0;
                const double dx = s * shift(random);
                const double dy = s * shift(random);
                const double dz = s * shift(random);
                mesh.node.add(h * i + dx, h * j + dy, h * k + dz);
            }
    const auto number = [n](int i, int j, int k) { return 1 + i + (n + 1) * (j + (n + 1) * k); };
    for (int k = 0; k < n; ++k)
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i)
                mesh.addCell({number(i, j, k), number(i + 1, j, k), number(i + 1, j + 1, k), number(i, j + 1, k), number(i, j, k + 1),
                              number(i + 1, j, k + 1), number(i + 1, j + 1, k + 1), number(i, j + 1, k + 1)});
    return mesh;
}

/// The same nodes with every hexahedron divided into the cells of a pattern, given by its corners 1..8.
inline Mesh divided(const Mesh& hexahedra, const std::vector<std::vector<int>>& pattern)
{
    Mesh mesh;
    mesh.node = hexahedra.node;
    for (int c = 1; c <= hexahedra.cell.count(); ++c)
    {
        const std::vector<int> corner = hexahedra.cell.row(c);
        for (const std::vector<int>& cell : pattern)
        {
            std::vector<int> row;
            for (const int k : cell)
                row.push_back(corner[static_cast<std::size_t>(k - 1)]);
            mesh.addCell(row);
        }
    }
    return mesh;
}

/// Each hexahedron as six tetrahedra around the diagonal from its first corner to its seventh.
inline Mesh inTetrahedra(const Mesh& hexahedra)
{
    return divided(hexahedra, {{1, 2, 3, 7}, {1, 3, 4, 7}, {1, 4, 8, 7}, {1, 8, 5, 7}, {1, 5, 6, 7}, {1, 6, 2, 7}});
}

/// Values of a function at points 1..n.
template <class Value, class Function>
std::vector<Value> sample(const Points& points, Function f)
{
    std::vector<Value> values(points.x.size());
    for (std::size_t i = 1; i < values.size(); ++i)
        values[i] = static_cast<Value>(f(points.x[i], points.y[i], points.z[i]));
    return values;
}

} // namespace meshes
