// The evaluating operations of the engine: values at points inside cells and on faces.

#include "interpolation/sol_interpolation.h"
#include "interpolation/value_evaluation.h"

#include "common/number_text.h"

#include <iostream>

using namespace tav3d::interpolation;
using tav3d::common::general;

namespace
{

NodeAveraging averagingOf(const CSolInterpolation& engine)
{
    NodeAveraging averaging;
    averaging.nodeCell = engine.m_ppNodeCell;
    averaging.cellKind = engine.m_ppCellInterType;
    averaging.cellWeight = engine.m_pCellInterWeight;
    averaging.kindVectors[1] = {engine.m_pInterVec1X, engine.m_pInterVec1Y, engine.m_pInterVec1Z};
    averaging.kindVectors[2] = {engine.m_pInterVec2X, engine.m_pInterVec2Y, engine.m_pInterVec2Z};
    averaging.kindVectors[3] = {engine.m_pInterVec3X, engine.m_pInterVec3Y, engine.m_pInterVec3Z};
    averaging.kindVectors[5] = {engine.m_pInterVec5X, engine.m_pInterVec5Y, engine.m_pInterVec5Z};
    return averaging;
}

NumberedPoints nodesOf(const CSolInterpolation& engine)
{
    return {engine.m_pNodeX, engine.m_pNodeY, engine.m_pNodeZ, engine.m_nNode};
}

void printNodes(const int* row, const ElementNodes& element, bool withValues)
{
    for (std::size_t k = 0; k < element.count; ++k)
    {
        std::cout << "NowNode=" << row[k + 1] << ", pX=" << general(element.x[k]) << ", pY=" << general(element.y[k])
                  << ", pZ=" << general(element.z[k]);
        if (withValues)
            std::cout << ", pU=" << general(element.value[k]);
        std::cout << std::endl;
    }
}

void printPlace(const CSolInterpolation& engine, int cell, int dataPoint)
{
    std::cout << "NCellID=" << cell << ", Xc=" << general(engine.m_pCellX[cell]) << ", Yc=" << general(engine.m_pCellY[cell])
              << ", Zc=" << general(engine.m_pCellZ[cell]) << std::endl;
    std::cout << "NodeID=" << dataPoint << ", X=" << general(engine.m_pDataX[dataPoint]) << ", Y=" << general(engine.m_pDataY[dataPoint])
              << ", Z=" << general(engine.m_pDataZ[dataPoint]) << std::endl;
}

void printShape(const ElementNodes& element)
{
    for (std::size_t k = 0; k < element.count; ++k)
        std::cout << "iN=" << k + 1 << ", pU=" << general(element.value[k]) << ", pNWet=" << general(element.shape[k]) << std::endl;
}

/// The three data-point operations. `evaluation` says which, for the report of a point without a cell.
template <class NodeValue>
void evaluateAtDataPoint(const CSolInterpolation& engine, Evaluation evaluation, int dataPoint, double& value, NodeValue nodeValue)
{
    const int cell = engine.m_pDataCell[dataPoint];
    if (cell < 1 || cell > engine.m_nCell)
    {
        reportMissingElement(evaluation, dataPoint, cell, engine.m_nCell);
        return;
    }

    const int* row = engine.m_ppCellNode[cell];
    ElementNodes element = gatherElement(row, nodesOf(engine), nodeValue);
    const bool print = engine.m_nDebugLevel > 0 && element.count <= ElementNodes::most;
    if (print)
    {
        printNodes(row, element, evaluation != Evaluation::fieldAtDataPoint);
        printPlace(engine, cell, dataPoint);
    }
    evaluateShape(element, {engine.m_pDataX[dataPoint], engine.m_pDataY[dataPoint], engine.m_pDataZ[dataPoint]});
    if (print)
        printShape(element);
    value = element.sum();
}

/// The two operations at a given point. False when the cell does not exist.
template <class Real>
bool evaluateAtPoint(const CSolInterpolation& engine, Evaluation evaluation, int cell, const Real* cellValues, const Point& p,
                     double& value)
{
    if (cell < 1 || cell > engine.m_nCell)
    {
        reportMissingElement(evaluation, 0, cell, engine.m_nCell);
        return false;
    }
    const NodeAveraging averaging = averagingOf(engine);
    ElementNodes element = gatherElement(engine.m_ppCellNode[cell], nodesOf(engine),
                                         [&](int node) { return static_cast<double>(averageAtNode(averaging, node, cellValues)); });
    evaluateShape(element, p);
    value = element.sum();
    return true;
}

/// A loaded field in the cell, or on the face, whose row is given.
double evaluateField(const CSolInterpolation& engine, int field, const int* row, const Point& p,
                     void (*shapeFunctions)(ElementNodes&, const Point&))
{
    const float* values = engine.m_ppPhiValue[field];
    ElementNodes element = gatherElement(row, nodesOf(engine), [values](int node) { return static_cast<double>(values[node]); });
    shapeFunctions(element, p);
    return element.sum();
}

} // namespace

void CSolInterpolation::GetPhiValue(int dataPoint, int field, double& value)
{
    evaluateAtDataPoint(*this, Evaluation::fieldAtDataPoint, dataPoint, value,
                        [&](int node) { return static_cast<double>(m_ppPhiValue[field][node]); });
}

void CSolInterpolation::GetPhiValue(int dataPoint, double* cellValues, double& value)
{
    const NodeAveraging averaging = averagingOf(*this);
    evaluateAtDataPoint(*this, Evaluation::doubleCellValuesAtDataPoint, dataPoint, value,
                        [&](int node) { return averageAtNode(averaging, node, cellValues); });
}

void CSolInterpolation::GetPhiValue(int dataPoint, float* cellValues, double& value)
{
    const NodeAveraging averaging = averagingOf(*this);
    evaluateAtDataPoint(*this, Evaluation::floatCellValuesAtDataPoint, dataPoint, value,
                        [&](int node) { return static_cast<double>(averageAtNode(averaging, node, cellValues)); });
}

void CSolInterpolation::GetPhiValue(int cell, const double* cellValues, double& value, double x, double y, double z) const
{
    evaluateAtPoint(*this, Evaluation::doubleCellValuesAtPoint, cell, cellValues, {x, y, z}, value);
}

void CSolInterpolation::GetPhiValue(int cell, const float* cellValues, float& value, double x, double y, double z) const
{
    double sum = 0.0; // computed in double, rounded once
    if (evaluateAtPoint(*this, Evaluation::floatCellValuesAtPoint, cell, cellValues, {x, y, z}, sum))
        value = static_cast<float>(sum);
}

void CSolInterpolation::GetCellData(int field, int count, int** rows, double* x, double* y, double* z, double* values)
{
    if (field >= m_nResultItem || count < 1)
        return;
    for (int i = 1; i <= count; ++i)
        values[i] = evaluateField(*this, field, rows[i], {x[i], y[i], z[i]}, evaluateShape);
}

void CSolInterpolation::GetInterData(int field, int /*ignored*/, int** rows, double* x, double* y, double* z, int n, int* cells,
                                     double* values)
{
    // DELIBERATE inter-data-ignores-count: the loop runs over the n entries of `cells`.
    if (field >= m_nResultItem || n < 1)
        return;
    for (int j = 1; j <= n; ++j)
        values[j] = evaluateField(*this, field, rows[cells[j]], {x[j], y[j], z[j]}, evaluateShape);
}

void CSolInterpolation::GetFaceData(int field, int count, int** rows, double* x, double* y, double* z, double* values)
{
    if (field >= m_nResultItem || count < 1)
        return;
    for (int i = 1; i <= count; ++i)
        values[i] = evaluateField(*this, field, rows[i], {x[i], y[i], z[i]}, evaluateFaceShape);
}
