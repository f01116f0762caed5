#include "interpolation/sol_interpolation.h"

#include "interpolation/cell_boxes.h"
#include "interpolation/cell_reduction.h"
#include "interpolation/mq_quadrature.h"
#include "interpolation/nearest_points.h"
#include "interpolation/result_data_writer.h"

#include <cstdint>
#include <iostream>
#include <utility>

using namespace tav3d::interpolation;

static_assert(sizeof(int) == sizeof(std::int32_t), "numbers of nodes, cells and points are 32 bits wide");

namespace
{

constexpr int sortingStatus = 2; // DELIBERATE sorting-status-two: whatever the input

/// Releases an array that may be in the engine's storage or, borrowed, outside it.
template <class T>
void releaseArray(T*& array, std::unique_ptr<T[]>& storage)
{
    if (array != storage.get())
        delete[] array;
    storage.reset();
    array = nullptr;
}

/// Puts an array into the engine's storage, in place of an earlier one, and returns its address.
template <class T>
T* keep(std::unique_ptr<T[]>& storage, std::unique_ptr<T[]> array)
{
    storage = std::move(array);
    return storage.get();
}

} // namespace

CSolInterpolation::CSolInterpolation() = default;

CSolInterpolation::~CSolInterpolation()
{
    delete m_pSearchTree;
}

// ---- Mesh ----

void CSolInterpolation::SetBaseData(int nodeCount, int cellCount, double* nodeX, double* nodeY, double* nodeZ, double* cellX, double* cellY,
                                    double* cellZ, int** cellNode, bool reduceToHexa)
{
    m_nNode = nodeCount;
    m_pNodeX = nodeX;
    m_pNodeY = nodeY;
    m_pNodeZ = nodeZ;
    m_ppCellNode = cellNode;
    SetBaseData_Light(cellCount, cellX, cellY, cellZ);
    if (reduceToHexa)
        reduceCellsToHexa(m_ppCellNode, m_nCell, m_pNodeX, m_pNodeY, m_pNodeZ);
}

void CSolInterpolation::SetBaseData_Light(int cellCount, double* cellX, double* cellY, double* cellZ)
{
    m_nCell = cellCount;
    m_pCellX = cellX;
    m_pCellY = cellY;
    m_pCellZ = cellZ;
    BuildSearchTree();
}

/// Inserts the cell centres in ascending order: the point numbers of the tree are cell numbers less one.
void CSolInterpolation::BuildSearchTree()
{
    delete m_pSearchTree;
    m_pSearchTree = nullptr;
    m_pSearchTree = new CPointSearchTree(m_dXMin, m_dXMax, m_dYMin, m_dYMax, m_dZMin, m_dZMax);
    SetBaseData_PartitionCell(m_nCell, m_pCellX, m_pCellY, m_pCellZ);
}

void CSolInterpolation::SetBaseData_PartitionCell(int pointCount, double* x, double* y, double* z)
{
    m_pSearchTree->InsertAll({x, y, z, pointCount});
}

// ---- Data points ----

void CSolInterpolation::SetNDataPoint(int count)
{
    // All four first: without memory for one of them the engine stays as it was.
    const std::size_t size = static_cast<std::size_t>(count) + 1;
    auto x = std::make_unique<double[]>(size);
    auto y = std::make_unique<double[]>(size);
    auto z = std::make_unique<double[]>(size);
    auto cell = std::make_unique<int[]>(size);
    m_nDataPoint = count;
    m_pDataX = keep(m_Storage.dataX, std::move(x));
    m_pDataY = keep(m_Storage.dataY, std::move(y));
    m_pDataZ = keep(m_Storage.dataZ, std::move(z));
    m_pDataCell = keep(m_Storage.dataCell, std::move(cell));
}

int CSolInterpolation::SetDataPoint(int number, double x, double y, double z)
{
    if (number > m_nDataPoint || number < 1)
    {
        // DELIBERATE invalid-number-returns: the message says "exit", but only the operation ends.
        std::cout << "The input NodeID is invalid, now exit!!\n";
        return 0;
    }

    m_pDataX[number] = x;
    m_pDataY[number] = y;
    m_pDataZ[number] = z;
    int candidates = 0;
    const int cell = FindCell(x, y, z, candidates);
    m_pDataCell[number] = cell;
    if (m_nDebugLevel != 0)
    {
        const bool hasRow = m_ppCellNode != nullptr && cell >= 1 && cell <= m_nCell;
        std::cout << "NodeID= " << number << ",iCell=" << cell << ",N30=" << (hasRow ? m_ppCellNode[cell][0] : 0)
                  << ",index[0]=" << candidates << std::endl;
    }
    return cell;
}

int CSolInterpolation::SetDataPoint(double x, double y, double z)
{
    int candidates = 0;
    return FindCell(x, y, z, candidates);
}

/// The first candidate cell whose box holds the point, else the first candidate, else 0.
int CSolInterpolation::FindCell(double x, double y, double z, int& candidates) const
{
    // Mostly the first candidate is the one; the others are then not needed, except for their number in what is printed.
    if (m_nDebugLevel == 0)
    {
        bool isInBox = false;
        const int cell = m_pSearchTree->SearchOnlyNearest(x, y, z, {m_ppCellNode, m_pNodeX, m_pNodeY, m_pNodeZ, m_nCell}, isInBox);
        if (isInBox)
            return cell;
    }

    CPointSearchTree::Candidates found;
    m_pSearchTree->SearchCandidates(x, y, z, found);
    candidates = found.count;
    const std::span<const std::int32_t> cells(found.number.data(), static_cast<std::size_t>(found.count));
    for (const int cell : cells)
        if (IsPointInCellBox(cell, x, y, z))
            return cell;
    // DELIBERATE nearest-cell-without-box: a point in no candidate's box belongs to the cell with the nearest centre.
    return cells.empty() ? 0 : cells.front();
}

bool CSolInterpolation::IsPointInCellBox(int cell, double x, double y, double z) const
{
    return boxOf({m_ppCellNode, m_pNodeX, m_pNodeY, m_pNodeZ, m_nCell}, cell).holds({x, y, z});
}

void CSolInterpolation::CleanDataPoint()
{
    m_nDataPoint = 0;
    // DELIBERATE clean-releases-what-it-holds: after sorting these are the host's own arrays.
    releaseArray(m_pDataX, m_Storage.dataX);
    releaseArray(m_pDataY, m_Storage.dataY);
    releaseArray(m_pDataZ, m_Storage.dataZ);
    releaseArray(m_pDataCell, m_Storage.dataCell);
}

// ---- Fields ----

void CSolInterpolation::AllocateFieldTable(int count)
{
    m_ppPhiValue = keep(m_Storage.fieldTable, std::make_unique<float*[]>(static_cast<std::size_t>(count)));
    m_Storage.fields.clear();
}

void CSolInterpolation::SetResourceFileName(const char* fileName)
{
    std::optional<LoadedFields> loaded = loadFields(fileName);
    if (!loaded)
        return;
    // DELIBERATE loaded-fields-from-zero: the first item is field 0; the host numbers the fields of SetPhiValue as it likes.
    const int items = static_cast<int>(loaded->size());
    AllocateFieldTable(items);
    m_nResultItem = items;
    m_Storage.fields = std::move(*loaded);
    for (std::size_t k = 0; k < m_Storage.fields.size(); ++k)
        m_ppPhiValue[k] = m_Storage.fields[k].get();
}

void CSolInterpolation::WriteQ7XData(int cellCount, int** rows)
{
    writeTecplotData({m_pNodeX, m_pNodeY, m_pNodeZ, m_nNode}, m_ppPhiValue, {rows, cellCount});
}

// ---- Neighbours ----

void CSolInterpolation::SORTING(double* X, double* Y, double* Z, int n, double px, double py, double pz, int k, int* out, int& status)
{
    status = sortingStatus;
    selectNearest({X, Y, Z, n}, {px, py, pz}, k, out);
}

void CSolInterpolation::SetSorting(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, int nData, double* dataX,
                                   double* dataY, double* dataZ)
{
    StoreSortingInput(nNode, nCell, X, Y, Z, cellNode, nData, dataX, dataY, dataZ);
    const NumberedSpan<int* const> cells(m_ppCellNode, m_nCell);
    m_Storage.nodeNeighbour = nodesAroundNodes(cells, m_nNode, cellsAroundNodes(cells, m_nNode));
    m_ppNodeNeighbour = m_Storage.nodeNeighbour.rows();
    SortDataPoints(m_nNode, 4);
}

void CSolInterpolation::SetSortingCenter(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, double* cellX,
                                         double* cellY, double* cellZ, int nData, double* dataX, double* dataY, double* dataZ)
{
    StoreSortingInput(nNode, nCell, X, Y, Z, cellNode, nData, dataX, dataY, dataZ);
    m_pCellX = cellX;
    m_pCellY = cellY;
    m_pCellZ = cellZ;
    // DELIBERATE centre-search-over-nodes: the first m_nCell *node* coordinates are searched, and the number found is used as a node
    // number. With more cells than nodes it may lie beyond the nodes; empty rows stand there.
    m_Storage.nodeCell = cellsAroundNodes({m_ppCellNode, m_nCell}, m_nNode, m_nCell);
    m_ppNodeCell = m_Storage.nodeCell.rows();
    SortDataPoints(m_nCell, 1);
}

void CSolInterpolation::StoreSortingInput(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, int nData, double* dataX,
                                          double* dataY, double* dataZ)
{
    m_nNode = nNode;
    m_nCell = nCell;
    m_pNodeX = X;
    m_pNodeY = Y;
    m_pNodeZ = Z;
    m_ppCellNode = cellNode;
    m_nDataPoint = nData;
    m_pDataX = dataX;
    m_pDataY = dataY;
    m_pDataZ = dataZ;
}

/// Gives every data point the `wanted` nearest of the first `searched` nodes, and the status of that search in place of its cell.
void CSolInterpolation::SortDataPoints(int searched, int wanted)
{
    const std::size_t size = static_cast<std::size_t>(m_nDataPoint) + 1;
    m_Storage.dataStencil = CountedTable(std::vector<int>(size, wanted));
    m_ppDataStencil = m_Storage.dataStencil.rows();
    m_pDataCell = keep(m_Storage.dataCell, std::make_unique<int[]>(size));
    if (m_nDataPoint < 1)
        return;
    for (int q = 1; q <= m_nDataPoint; ++q)
    {
        m_ppDataStencil[q][0] = wanted; // nodes 0 until nodes are found
        m_pDataCell[q] = sortingStatus;
    }
    NearestPoints nodes({m_pNodeX, m_pNodeY, m_pNodeZ, searched}, wanted);
    nodes.selectAll({m_pDataX, m_pDataY, m_pDataZ, m_nDataPoint}, wanted, m_ppDataStencil);
}

// ---- Multiquadric differential quadrature ----

void CSolInterpolation::LMQDQ_Wighting(double* x, double* y, double* z, int n, double& c, double* wx, double* wy, double* wz)
{
    const Stencil stencil{itemsOf<const double>(x, n), itemsOf<const double>(y, n), itemsOf<const double>(z, n)};
    derivativeWeights(stencil, c, {itemsOf(wx, n), itemsOf(wy, n), itemsOf(wz, n)});
}

void CSolInterpolation::Drivatives_Calculator_LDQ(double* x, double* y, double* z, double* phi, int n, double& dx, double& dy, double& dz,
                                                  double& lastWx, double& lastWy, double& lastWz)
{
    // DELIBERATE fit-keeps-presets: an output that no shape parameter qualifies for keeps what the host put there.
    DerivativeFit fit{{dx, dy, dz}, {lastWx, lastWy, lastWz}};
    m_Storage.quadrature.fitDerivatives({itemsOf<const double>(x, n), itemsOf<const double>(y, n), itemsOf<const double>(z, n)},
                                        itemsOf<const double>(phi, n), fit);
    dx = fit.derivative[0];
    dy = fit.derivative[1];
    dz = fit.derivative[2];
    lastWx = fit.lastWeight[0];
    lastWy = fit.lastWeight[1];
    lastWz = fit.lastWeight[2];
}

void CSolInterpolation::GetInterpolation(int dataPoint, double* phi, double& value)
{
    // DELIBERATE interpolation-skips-one: after sorting the entry is 2; it is 1 for a data point that SetDataPoint has put into cell 1.
    if (m_pDataCell[dataPoint] == 1)
        return;
    value = m_Storage.quadrature.interpolateAtPoint(listItems(m_ppDataStencil[dataPoint]), m_ppNodeNeighbour,
                                                    {m_pNodeX, m_pNodeY, m_pNodeZ, m_nNode}, {phi, m_nNode},
                                                    {m_pDataX[dataPoint], m_pDataY[dataPoint], m_pDataZ[dataPoint]});
}

void CSolInterpolation::GetInterpolationCenter(int dataPoint, double* phi, double& value)
{
    if (m_pDataCell[dataPoint] == 1)
        return;
    value = m_Storage.quadrature.interpolateAtPoint(listItems(m_ppDataStencil[dataPoint]), m_ppNodeCell,
                                                    {m_pCellX, m_pCellY, m_pCellZ, m_nCell}, {phi, m_nCell},
                                                    {m_pDataX[dataPoint], m_pDataY[dataPoint], m_pDataZ[dataPoint]});
}
