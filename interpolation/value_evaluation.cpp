// Values inside cells: u(p) = sum_k N_k(p) u_k over the nodes of the cell, with the shape functions of the element library.
// Cf. O. C. Zienkiewicz, R. L. Taylor, The Finite Element Method, vol. 1, ch. 8.

#include "interpolation/value_evaluation.h"

#include "TAV3DWarpCoordTransformation.h"
#include "TAVFEM_ElemLib.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <limits>
#include <memory>
#include <string>

namespace tav3d::interpolation
{

namespace
{

std::unique_ptr<CFEM_Elem3D> makeElement(std::size_t nodeCount)
{
    const CFEM_Elem3D_Factory factory;
    switch (nodeCount)
    {
    case 4:
        return std::unique_ptr<CFEM_Elem3D>(factory.Make_TETRA4());
    case 5:
        return std::unique_ptr<CFEM_Elem3D>(factory.Make_PYRAMID5());
    case 6:
        return std::unique_ptr<CFEM_Elem3D>(factory.Make_PRISM6());
    case 8:
        return std::unique_ptr<CFEM_Elem3D>(factory.Make_HEXA8());
    default:
        return nullptr;
    }
}

std::unique_ptr<CFEM_Elem2D> makeFaceElement(std::size_t nodeCount)
{
    const CFEM_Elem2D_Factory factory;
    switch (nodeCount)
    {
    case 3:
        return std::unique_ptr<CFEM_Elem2D>(factory.Make_TRI3());
    case 4:
        return std::unique_ptr<CFEM_Elem2D>(factory.Make_QUAD4());
    default:
        return nullptr;
    }
}

double lengthOf(const Point& v)
{
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

/// Moves `vector` to the kind vector of the cell; an unknown kind leaves it at that of the cell before.
void takeKindVector(const NodeAveraging& averaging, int cell, Point& vector)
{
    const int kind = averaging.cellKind[cell][0];
    const int index = averaging.cellKind[cell][1];
    if (kind == 1 || kind == 2 || kind == 3 || kind == 5)
    {
        const NodeAveraging::Vectors& vectors = averaging.kindVectors[static_cast<std::size_t>(kind)];
        vector = {vectors.x[index], vectors.y[index], vectors.z[index]};
        return;
    }
    // DELIBERATE unknown-kind-goes-on: reported every time, and the average goes on with the vector at hand, (0, 0, 0) at first.
    std::cout << "\n In interpolation, Error in Interpolating data at cell center to node!!\n";
}

template <class Real>
double averageInDouble(const NodeAveraging& averaging, int node, const Real* cellValues)
{
    const std::span<const int> cells = listItems(averaging.nodeCell[node]);
    bool anyZeroWeight = false;
    for (const int c : cells)
        anyZeroWeight = anyZeroWeight || averaging.cellWeight[c] == 0.0;

    double sum = 0.0;
    double weights = 0.0;
    Point vector;
    for (const int c : cells)
    {
        double w = averaging.cellWeight[c];
        if (anyZeroWeight)
        {
            // DELIBERATE zero-weight-cells-only: one cell of weight 0.0 shuts out all others around the node.
            if (w != 0.0)
                continue;
            takeKindVector(averaging, c, vector);
            w = lengthOf(vector);
        }
        sum += w * static_cast<double>(cellValues[c]);
        weights += w;
    }
    // DELIBERATE node-without-cells-is-nan: 0/0 is left as it is.
    return sum / weights;
}

std::string formatted(const char* format, int number)
{
    char buffer[200];
    std::snprintf(buffer, sizeof buffer, format, number);
    return buffer;
}

} // namespace

double averageAtNode(const NodeAveraging& averaging, int node, const double* cellValues)
{
    return averageInDouble(averaging, node, cellValues);
}

float averageAtNode(const NodeAveraging& averaging, int node, const float* cellValues)
{
    return static_cast<float>(averageInDouble(averaging, node, cellValues));
}

double ElementNodes::sum() const
{
    if (!hasElement)
        return count == 0 ? 0.0 : std::numeric_limits<double>::quiet_NaN();
    double total = 0.0;
    for (std::size_t k = 0; k < count; ++k)
        total += shape[k] * value[k];
    return total;
}

void evaluateShape(ElementNodes& element, const Point& p)
{
    const std::unique_ptr<CFEM_Elem3D> shapes = makeElement(element.count);
    element.hasElement = shapes != nullptr;
    if (!shapes)
        return element.shape.fill(0.0);
    shapes->GetShapeFunction(p.x, p.y, p.z, element.x.data(), element.y.data(), element.z.data(), element.shape.data());
}

void evaluateFaceShape(ElementNodes& face, const Point& p)
{
    const std::unique_ptr<CFEM_Elem2D> shapes = makeFaceElement(face.count);
    face.hasElement = shapes != nullptr;
    if (!shapes)
        return face.shape.fill(0.0);

    CTAV3DWarpCoordinateTransformationTemplate<double> frame;
    const double p1[3] = {face.x[0], face.y[0], face.z[0]};
    const double p2[3] = {face.x[1], face.y[1], face.z[1]};
    const double p3[3] = {face.x[2], face.y[2], face.z[2]};
    frame.SetNewCoordinateBy3Points(p1, p2, p3);

    std::array<double, 4> localX{};
    std::array<double, 4> localY{};
    double local[3];
    for (std::size_t j = 0; j < face.count; ++j)
    {
        const double node[3] = {face.x[j], face.y[j], face.z[j]};
        frame.VectorRotate(node, local);
        localX[j] = local[0];
        localY[j] = local[1];
    }
    const double point[3] = {p.x, p.y, p.z};
    frame.VectorRotate(point, local);
    shapes->GetShapeFunction(local[0], local[1], localX.data(), localY.data(), face.shape.data());
}

void reportMissingElement(Evaluation evaluation, int dataPoint, int cell, int cellCount)
{
    // DELIBERATE missing-element-once: one report per operation and process; later failures are silent.
    static std::array<std::uint64_t, 5> failures{};
    if (failures[static_cast<std::size_t>(evaluation)]++ != 0)
        return;

    std::string message = "\nSymptom:\n";
    message += "There is no interpolation reference element for this node";
    // DELIBERATE missing-element-full-stop: only this operation's sentence ends with one.
    message += evaluation == Evaluation::fieldAtDataPoint ? ".\n" : "\n";
    if (evaluation == Evaluation::doubleCellValuesAtDataPoint)
        message += formatted("particle ID = %d\n", dataPoint);
    if (evaluation != Evaluation::fieldAtDataPoint && evaluation != Evaluation::floatCellValuesAtDataPoint)
    {
        message += formatted("Cell ID = %d\n", cell);
        message += formatted("There are total %d Cell in the domain\n", cellCount);
    }
    message += "\nSolution:\n";
    message += "Please check the position of the interpolation node.\n";
    std::cout << message;
}

} // namespace tav3d::interpolation
