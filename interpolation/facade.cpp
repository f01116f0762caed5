// The exported class: every operation goes to the engine.

#include "Tav3dInterpolation.h"

#include "interpolation/sol_interpolation.h"

#include <new>

static_assert(sizeof(CTav3dInterpolation) == sizeof(void*), "hosts allocate the object: one pointer and nothing else");

CTav3dInterpolation::CTav3dInterpolation()
    : m_pSolInterpolation(new (std::nothrow) CSolInterpolation)
{
}

// DELIBERATE constructor-ignores-argument: both constructors make the same engine.
CTav3dInterpolation::CTav3dInterpolation(int)
    : CTav3dInterpolation()
{
}

CTav3dInterpolation::~CTav3dInterpolation()
{
    delete m_pSolInterpolation;
    m_pSolInterpolation = nullptr;
}

// DELIBERATE shallow-assignment: both objects then share one engine, and only one of them may be destroyed.
CTav3dInterpolation& CTav3dInterpolation::operator=(const CTav3dInterpolation& other) = default;

void CTav3dInterpolation::SetBaseData(int nodeCount, int cellCount, double* nodeX, double* nodeY, double* nodeZ, double* cellX,
                                      double* cellY, double* cellZ, int** cellNode, bool reduceToHexa)
{
    m_pSolInterpolation->SetBaseData(nodeCount, cellCount, nodeX, nodeY, nodeZ, cellX, cellY, cellZ, cellNode, reduceToHexa);
}

void CTav3dInterpolation::SetBaseData(int nodeCount, double* nodeX, double* nodeY, double* nodeZ)
{
    m_pSolInterpolation->m_nNode = nodeCount;
    m_pSolInterpolation->m_pNodeX = nodeX;
    m_pSolInterpolation->m_pNodeY = nodeY;
    m_pSolInterpolation->m_pNodeZ = nodeZ;
    if (m_pSolInterpolation->m_pSearchTree != nullptr)
        m_pSolInterpolation->m_pSearchTree->ForgetCellBoxes();
}

void CTav3dInterpolation::SetBaseData_Light(int cellCount, double* cellX, double* cellY, double* cellZ)
{
    m_pSolInterpolation->SetBaseData_Light(cellCount, cellX, cellY, cellZ);
}

void CTav3dInterpolation::SetBaseData_PartitionCell(int pointCount, double* x, double* y, double* z)
{
    m_pSolInterpolation->SetBaseData_PartitionCell(pointCount, x, y, z);
}

void CTav3dInterpolation::SetBaseRange(double xMin, double xMax, double yMin, double yMax, double zMin, double zMax)
{
    m_pSolInterpolation->m_dXMin = xMin;
    m_pSolInterpolation->m_dXMax = xMax;
    m_pSolInterpolation->m_dYMin = yMin;
    m_pSolInterpolation->m_dYMax = yMax;
    m_pSolInterpolation->m_dZMin = zMin;
    m_pSolInterpolation->m_dZMax = zMax;
}

void CTav3dInterpolation::SetNDataPoint(int count)
{
    m_pSolInterpolation->SetNDataPoint(count);
}

int CTav3dInterpolation::SetDataPoint(int number, double x, double y, double z)
{
    return m_pSolInterpolation->SetDataPoint(number, x, y, z);
}

int CTav3dInterpolation::SetDataPoint(double x, double y, double z)
{
    return m_pSolInterpolation->SetDataPoint(x, y, z);
}

void CTav3dInterpolation::CleanDataPoint()
{
    m_pSolInterpolation->CleanDataPoint();
}

void CTav3dInterpolation::SetInterGeometry(int** nodeCell, int** cellKind, double* cellWeight, double* v1x, double* v1y, double* v1z,
                                           double* v2x, double* v2y, double* v2z, double* v3x, double* v3y, double* v3z, double* v5x,
                                           double* v5y, double* v5z)
{
    m_pSolInterpolation->m_ppNodeCell = nodeCell;
    m_pSolInterpolation->m_ppCellInterType = cellKind;
    m_pSolInterpolation->m_pCellInterWeight = cellWeight;
    m_pSolInterpolation->m_pInterVec1X = v1x;
    m_pSolInterpolation->m_pInterVec1Y = v1y;
    m_pSolInterpolation->m_pInterVec1Z = v1z;
    m_pSolInterpolation->m_pInterVec2X = v2x;
    m_pSolInterpolation->m_pInterVec2Y = v2y;
    m_pSolInterpolation->m_pInterVec2Z = v2z;
    m_pSolInterpolation->m_pInterVec3X = v3x;
    m_pSolInterpolation->m_pInterVec3Y = v3y;
    m_pSolInterpolation->m_pInterVec3Z = v3z;
    m_pSolInterpolation->m_pInterVec5X = v5x;
    m_pSolInterpolation->m_pInterVec5Y = v5y;
    m_pSolInterpolation->m_pInterVec5Z = v5z;
}

void CTav3dInterpolation::SetNPhiValue(int count)
{
    m_pSolInterpolation->AllocateFieldTable(count + 1);
    m_pSolInterpolation->m_nPhiValue = count;
}

void CTav3dInterpolation::SetPhiValue(int number, float* field)
{
    m_pSolInterpolation->m_ppPhiValue[number] = field;
}

void CTav3dInterpolation::SetResourceFileName(const char* fileName)
{
    m_pSolInterpolation->SetResourceFileName(fileName);
}

void CTav3dInterpolation::GetPhiValue(int dataPoint, int field, double& value)
{
    m_pSolInterpolation->GetPhiValue(dataPoint, field, value);
}

void CTav3dInterpolation::GetPhiValue(int dataPoint, double* cellValues, double& value)
{
    m_pSolInterpolation->GetPhiValue(dataPoint, cellValues, value);
}

void CTav3dInterpolation::GetPhiValue(int dataPoint, float* cellValues, double& value)
{
    m_pSolInterpolation->GetPhiValue(dataPoint, cellValues, value);
}

void CTav3dInterpolation::GetPhiValue(int cell, const double* cellValues, double& value, double x, double y, double z) const
{
    static_cast<const CSolInterpolation*>(m_pSolInterpolation)->GetPhiValue(cell, cellValues, value, x, y, z);
}

void CTav3dInterpolation::GetPhiValue(int cell, const float* cellValues, float& value, double x, double y, double z) const
{
    static_cast<const CSolInterpolation*>(m_pSolInterpolation)->GetPhiValue(cell, cellValues, value, x, y, z);
}

void CTav3dInterpolation::GetCellData(int field, int count, int** rows, double* x, double* y, double* z, double* values)
{
    m_pSolInterpolation->GetCellData(field, count, rows, x, y, z, values);
}

void CTav3dInterpolation::GetInterData(int field, int ignored, int** rows, double* x, double* y, double* z, int n, int* cells,
                                       double* values)
{
    m_pSolInterpolation->GetInterData(field, ignored, rows, x, y, z, n, cells, values);
}

void CTav3dInterpolation::GetFaceData(int field, int count, int** rows, double* x, double* y, double* z, double* values)
{
    m_pSolInterpolation->GetFaceData(field, count, rows, x, y, z, values);
}

void CTav3dInterpolation::WriteQ7XData(int cellCount, int** rows)
{
    m_pSolInterpolation->WriteQ7XData(cellCount, rows);
}

int CTav3dInterpolation::SearchNearestPointIndex(double x, double y, double z)
{
    double distance = 0.0;
    return m_pSolInterpolation->m_pSearchTree->SearchNearestPointIndex(x, y, z, distance);
}

int CTav3dInterpolation::SearchNearestPointIndex(double x, double y, double z, double& distance)
{
    return m_pSolInterpolation->m_pSearchTree->SearchNearestPointIndex(x, y, z, distance);
}

void CTav3dInterpolation::SORTING(double* X, double* Y, double* Z, int n, double px, double py, double pz, int k, int* out, int& status)
{
    m_pSolInterpolation->SORTING(X, Y, Z, n, px, py, pz, k, out, status);
}

void CTav3dInterpolation::SetSorting(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, int nData, double* dataX,
                                     double* dataY, double* dataZ)
{
    m_pSolInterpolation->SetSorting(nNode, nCell, X, Y, Z, cellNode, nData, dataX, dataY, dataZ);
}

void CTav3dInterpolation::SetSortingCenter(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, double* cellX,
                                           double* cellY, double* cellZ, int nData, double* dataX, double* dataY, double* dataZ)
{
    m_pSolInterpolation->SetSortingCenter(nNode, nCell, X, Y, Z, cellNode, cellX, cellY, cellZ, nData, dataX, dataY, dataZ);
}

void CTav3dInterpolation::LMQDQ_Wighting(double* x, double* y, double* z, int n, double& c, double* wx, double* wy, double* wz)
{
    m_pSolInterpolation->LMQDQ_Wighting(x, y, z, n, c, wx, wy, wz);
}

void CTav3dInterpolation::Drivatives_Calculator_LDQ(double* x, double* y, double* z, double* phi, int n, double& dx, double& dy, double& dz,
                                                    double& lastWx, double& lastWy, double& lastWz)
{
    m_pSolInterpolation->Drivatives_Calculator_LDQ(x, y, z, phi, n, dx, dy, dz, lastWx, lastWy, lastWz);
}

void CTav3dInterpolation::GetInterpolation(int dataPoint, double* phi, double& value)
{
    m_pSolInterpolation->GetInterpolation(dataPoint, phi, value);
}

void CTav3dInterpolation::GetInterpolationCenter(int dataPoint, double* phi, double& value)
{
    m_pSolInterpolation->GetInterpolationCenter(dataPoint, phi, value);
}
