#pragma once

#include "interpolation/neighbour_sorting.h"
#include "interpolation/point_search_tree.h"
#include "interpolation/quadrature.h"
#include "interpolation/resource_file.h"

#include <memory>

/// The engine behind CTav3dInterpolation (include/Tav3dInterpolation.h tells what each operation does). It holds the state and hands views
/// of it to the functions of this folder.
///
/// Names and order of the members are fixed. Arrays of items numbered from 1; "borrowed" = the host's, kept by pointer, never released
/// here. What the engine allocates itself belongs to m_Storage and goes with the engine; the members before it only point there.
class CSolInterpolation
{
public:
    CSolInterpolation();
    virtual ~CSolInterpolation();
    CSolInterpolation(const CSolInterpolation&) = delete;
    CSolInterpolation& operator=(const CSolInterpolation&) = delete;

    void SetBaseData(int nodeCount, int cellCount, double* nodeX, double* nodeY, double* nodeZ, double* cellX, double* cellY, double* cellZ,
                     int** cellNode, bool reduceToHexa);
    void SetBaseData_Light(int cellCount, double* cellX, double* cellY, double* cellZ);
    void SetBaseData_PartitionCell(int pointCount, double* x, double* y, double* z);
    void SetNDataPoint(int count);
    int SetDataPoint(int number, double x, double y, double z);
    int SetDataPoint(double x, double y, double z);
    void CleanDataPoint();
    void SetResourceFileName(const char* fileName);
    void GetPhiValue(int dataPoint, int field, double& value);
    void GetPhiValue(int dataPoint, double* cellValues, double& value);
    void GetPhiValue(int dataPoint, float* cellValues, double& value);
    void GetPhiValue(int cell, const double* cellValues, double& value, double x, double y, double z) const;
    void GetPhiValue(int cell, const float* cellValues, float& value, double x, double y, double z) const;
    void GetCellData(int field, int count, int** rows, double* x, double* y, double* z, double* values);
    void GetInterData(int field, int ignored, int** rows, double* x, double* y, double* z, int n, int* cells, double* values);
    void GetFaceData(int field, int count, int** rows, double* x, double* y, double* z, double* values);
    void WriteQ7XData(int cellCount, int** rows);
    void SORTING(double* X, double* Y, double* Z, int n, double px, double py, double pz, int k, int* out, int& status);
    void SetSorting(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, int nData, double* dataX, double* dataY,
                    double* dataZ);
    void SetSortingCenter(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, double* cellX, double* cellY,
                          double* cellZ, int nData, double* dataX, double* dataY, double* dataZ);
    void LMQDQ_Wighting(double* x, double* y, double* z, int n, double& c, double* wx, double* wy, double* wz);
    void Drivatives_Calculator_LDQ(double* x, double* y, double* z, double* phi, int n, double& dx, double& dy, double& dz, double& lastWx,
                                   double& lastWy, double& lastWz);
    void GetInterpolation(int dataPoint, double* phi, double& value);
    void GetInterpolationCenter(int dataPoint, double* phi, double& value);

    /// Whether the bounding box of the cell's nodes holds the point, bounds included. False for a cell number above m_nCell (numbers below
    /// 1 are not caught), without a cell table, and for a cell without nodes.
    bool IsPointInCellBox(int cell, double x, double y, double z) const;

    /// A new table of `count` empty field pointers; fields loaded from a file before are released.
    void AllocateFieldTable(int count);

    int m_nDebugLevel = 0; // prints more when above 0; nothing sets it
    int m_nNode = 0;
    int m_nCell = 0;
    double* m_pNodeX = nullptr; // borrowed
    double* m_pNodeY = nullptr;
    double* m_pNodeZ = nullptr;
    double* m_pCellX = nullptr; // borrowed; cell centres
    double* m_pCellY = nullptr;
    double* m_pCellZ = nullptr;
    int** m_ppCellNode = nullptr;      // borrowed; cell rows, rewritten by SetBaseData when it reduces cells
    int** m_ppNodeNeighbour = nullptr; // SetSorting: per node the nodes that share a cell with it
    int** m_ppNodeCell = nullptr;      // borrowed (SetInterGeometry) or of SetSortingCenter: per node the cells around it
    double m_dXMin = 0.0;              // range of the search
    double m_dXMax = 0.0;
    double m_dYMin = 0.0;
    double m_dYMax = 0.0;
    double m_dZMin = 0.0;
    double m_dZMax = 0.0;
    CPointSearchTree* m_pSearchTree = nullptr; // owned; over the cell centres
    int** m_ppCellInterType = nullptr;         // borrowed; per cell its kind (1, 2, 3, 5) and index into the vectors of that kind
    double* m_pCellInterWeight = nullptr;      // borrowed; exactly 0.0: the kind vector's length is the weight
    double* m_pInterVec1X = nullptr;           // borrowed; vectors of kind 1
    double* m_pInterVec1Y = nullptr;
    double* m_pInterVec1Z = nullptr;
    double* m_pInterVec2X = nullptr; // of kind 2
    double* m_pInterVec2Y = nullptr;
    double* m_pInterVec2Z = nullptr;
    double* m_pInterVec3X = nullptr; // of kind 3
    double* m_pInterVec3Y = nullptr;
    double* m_pInterVec3Z = nullptr;
    double* m_pInterVec5X = nullptr; // of kind 5; there is no kind 4
    double* m_pInterVec5Y = nullptr;
    double* m_pInterVec5Z = nullptr;
    int m_nDataPoint = 0;
    double* m_pDataX = nullptr; // of SetNDataPoint, or borrowed (sorting); CleanDataPoint releases either
    double* m_pDataY = nullptr;
    double* m_pDataZ = nullptr;
    int** m_ppDataStencil = nullptr; // sorting: per data point the nodes to fit around, nearest first
    int* m_pDataCell = nullptr;      // cell that holds the data point, 0 = none; after sorting the status 2
    int m_nPhiValue = 0;
    float** m_ppPhiValue = nullptr; // fields; those of SetPhiValue are borrowed
    int m_nResultItem = 0;          // fields loaded by SetResourceFileName

private:
    void BuildSearchTree();
    int FindCell(double x, double y, double z, int& candidates) const;
    void StoreSortingInput(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, int nData, double* dataX, double* dataY,
                           double* dataZ);
    void SortDataPoints(int searched, int wanted);

    struct Storage
    {
        std::unique_ptr<double[]> dataX;
        std::unique_ptr<double[]> dataY;
        std::unique_ptr<double[]> dataZ;
        std::unique_ptr<int[]> dataCell;
        tav3d::interpolation::CountedTable nodeNeighbour;
        tav3d::interpolation::CountedTable nodeCell;
        tav3d::interpolation::CountedTable dataStencil;
        std::unique_ptr<float*[]> fieldTable;
        tav3d::interpolation::LoadedFields fields;
        tav3d::interpolation::Quadrature quadrature;
    };
    Storage m_Storage;
};
