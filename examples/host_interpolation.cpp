// A host that wants the values of a result at points of its own.
//
//   host_interpolation MESH.txt RESULT FIELD POINTS.txt
//
// The mesh is the host's; here it is read from a text file: the number of nodes, x y z of each; the number of cells, and for each the number of its
// nodes and their numbers, which count from 1. RESULT is a result file on this mesh, FIELD the place of an item in it, counted from 0. Each line of the
// points file is "x y z". For each point a line is printed: x y z, its cell, the value by shape functions, the value by the multiquadric fit.

#include <Tav3dInterpolation.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

namespace
{

/// Everything that the engine borrows. It keeps the pointers, so none of these vectors may change its size while the engine is used.
/// All arrays count from 1: entry 0 is there and carries nothing.
struct Mesh
{
    std::vector<double> x, y, z;             // nodes
    std::vector<double> cellX, cellY, cellZ; // cell centres
    std::vector<std::vector<int>> rows;      // per cell: a count, and as many node numbers
    std::vector<int*> cellNode;              // the rows as the engine takes them

    Mesh()
        : x(1)
        , y(1)
        , z(1)
        , cellX(1)
        , cellY(1)
        , cellZ(1)
        , rows(1)
    {
    }
    int nodeCount() const { return static_cast<int>(x.size()) - 1; }
    int cellCount() const { return static_cast<int>(rows.size()) - 1; }
};

/// The engine does not check what it is handed, so the host does.
bool readMesh(const char* fileName, Mesh& mesh)
{
    std::ifstream file(fileName);
    int nodes = 0;
    int cells = 0;
    double x = 0.0, y = 0.0, z = 0.0;
    for (file >> nodes; mesh.nodeCount() < nodes && file >> x >> y >> z;)
    {
        mesh.x.push_back(x);
        mesh.y.push_back(y);
        mesh.z.push_back(z);
    }
    int size = 0;
    for (file >> cells; mesh.cellCount() < cells && file >> size;)
    {
        if (size != 4 && size != 5 && size != 6 && size != 8) // tetrahedron, pyramid, prism, hexahedron
            return false;
        std::vector<int> row(1, size);
        double centre[3] = {0.0, 0.0, 0.0};
        for (int k = 0; k < size; ++k)
        {
            int node = 0;
            if (!(file >> node) || node < 1 || node > nodes)
                return false;
            row.push_back(node);
            centre[0] += mesh.x[static_cast<std::size_t>(node)] / size;
            centre[1] += mesh.y[static_cast<std::size_t>(node)] / size;
            centre[2] += mesh.z[static_cast<std::size_t>(node)] / size;
        }
        mesh.rows.push_back(row);
        mesh.cellX.push_back(centre[0]);
        mesh.cellY.push_back(centre[1]);
        mesh.cellZ.push_back(centre[2]);
    }
    for (std::vector<int>& row : mesh.rows)
        mesh.cellNode.push_back(row.empty() ? nullptr : row.data());
    return !file.fail() && nodes > 0 && cells > 0 && mesh.nodeCount() == nodes && mesh.cellCount() == cells;
}

struct Points
{
    std::vector<double> x, y, z; // from entry 1 on
    Points()
        : x(1)
        , y(1)
        , z(1)
    {
    }
    int count() const { return static_cast<int>(x.size()) - 1; }
};

Points readPoints(const char* fileName)
{
    Points points;
    std::ifstream file(fileName);
    double x = 0.0, y = 0.0, z = 0.0;
    while (file >> x >> y >> z)
    {
        points.x.push_back(x);
        points.y.push_back(y);
        points.z.push_back(z);
    }
    return points;
}

double lowest(const std::vector<double>& values)
{
    return *std::min_element(values.begin() + 1, values.end());
}

double highest(const std::vector<double>& values)
{
    return *std::max_element(values.begin() + 1, values.end());
}

/// The nodal values of a loaded field. The engine evaluates in cells, so each node is asked for in one of the cells that use it. Nothing is written
/// where there is no such field: then not-a-number stays in all values.
std::vector<double> nodalValues(CTav3dInterpolation& engine, int field, Mesh& mesh)
{
    std::vector<int*> rowOfNode(mesh.x.size(), nullptr);
    for (std::size_t c = 1; c < mesh.cellNode.size(); ++c)
        for (int k = 1; k <= mesh.cellNode[c][0]; ++k)
            rowOfNode[static_cast<std::size_t>(mesh.cellNode[c][k])] = mesh.cellNode[c];
    std::vector<double> values(mesh.x.size(), std::numeric_limits<double>::quiet_NaN());
    engine.GetCellData(field, mesh.nodeCount(), rowOfNode.data(), mesh.x.data(), mesh.y.data(), mesh.z.data(), values.data());
    return values;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
    {
        std::fprintf(stderr, "usage: host_interpolation MESH.txt RESULT FIELD POINTS.txt\n");
        return 2;
    }
    Mesh mesh;
    if (!readMesh(argv[1], mesh))
    {
        std::fprintf(stderr, "%s: not a mesh\n", argv[1]);
        return 1;
    }
    Points points = readPoints(argv[4]);
    const int field = std::atoi(argv[3]);

    // The range comes first; it sets below which distance two cell centres count as one.
    CTav3dInterpolation engine;
    engine.SetBaseRange(lowest(mesh.cellX), highest(mesh.cellX), lowest(mesh.cellY), highest(mesh.cellY), lowest(mesh.cellZ),
                        highest(mesh.cellZ));
    engine.SetBaseData(mesh.nodeCount(), mesh.cellCount(), mesh.x.data(), mesh.y.data(), mesh.z.data(), mesh.cellX.data(),
                       mesh.cellY.data(), mesh.cellZ.data(), mesh.cellNode.data(), false);

    // All items of the file become fields 0, 1, ... of the engine, which has to be asked for none beyond them. The operations on cells pass over such a
    // field, so they tell whether it is there. A file that cannot be opened is reported on standard output and leaves the engine without fields.
    engine.SetResourceFileName(argv[2]);
    std::vector<double> values = nodalValues(engine, field, mesh);
    if (std::isnan(values[1]))
    {
        std::fprintf(stderr, "%s: no field %d\n", argv[2], field);
        return 1;
    }

    // First way: the cell that holds the point, and its shape functions. SetDataPoint answers the cell's number, 0 when no cell is near.
    std::vector<int> cell(points.x.size(), 0);
    std::vector<double> byShape(points.x.size(), 0.0);
    engine.SetNDataPoint(points.count());
    for (int i = 1; i <= points.count(); ++i)
    {
        const std::size_t k = static_cast<std::size_t>(i);
        cell[k] = engine.SetDataPoint(i, points.x[k], points.y[k], points.z[k]);
        engine.GetPhiValue(i, field, byShape[k]); // stays 0 for a point without a cell
    }
    engine.CleanDataPoint(); // these data points are the engine's own

    // Second way: the multiquadric fit over the neighbourhoods of the nearest nodes. It takes values as doubles on nodes. The data points stay the
    // host's this time: CleanDataPoint would release the host's arrays, so it is not called again.
    std::vector<double> byFit(points.x.size(), 0.0);
    engine.SetSorting(mesh.nodeCount(), mesh.cellCount(), mesh.x.data(), mesh.y.data(), mesh.z.data(), mesh.cellNode.data(), points.count(),
                      points.x.data(), points.y.data(), points.z.data());
    for (int i = 1; i <= points.count(); ++i)
        engine.GetInterpolation(i, values.data(), byFit[static_cast<std::size_t>(i)]);

    for (std::size_t k = 1; k < points.x.size(); ++k)
        std::printf("%.9g %.9g %.9g %d %.9g %.9g\n", points.x[k], points.y[k], points.z[k], cell[k], byShape[k], byFit[k]);
    return 0;
}
