#pragma once

// CTav3dInterpolation: interpolation of fields given on a three-dimensional analysis mesh. Compiles from C++11 up. docs/interpolation.md
// tells the methods and shows a complete host program; docs/deliberate.md lists the oddities that hosts rely on. The spelling of the names
// is part of the binary interface.
//
// Conventions, for all operations:
//  - Numbering. Nodes, cells and points are numbered from 1. An array of n items has n+1 entries; entry 0 exists and carries nothing.
//  - Counted list. An int array whose entry 0 holds a count k and whose entries 1..k hold the items. A cell row is the counted list of the
//    cell's node numbers, in the node order of its element: 4 nodes a tetrahedron, 5 a pyramid, 6 a prism, 8 a hexahedron (order as in
//    CGNS).
//  - Ownership. Arrays handed in are borrowed: the engine keeps the pointer where an operation is said to "take over" an array, never
//    copies it, and reads it in later calls. Keep such arrays alive and their sizes unchanged as long as the engine is used; values of fields
//    may change between calls, those of nodes and cells only before the next SetBaseData. Arrays not taken over are used during the call
//    only.
//  - Units. Lengths are those of the coordinates handed in (the search range and the shape parameters below are absolute: choose
//    millimetres). Numbers are double precision; fields on nodes may be float.
//  - Arguments are not checked, except where an operation says so. Null pointers, counts beyond the arrays and calls out of order are not
//    detected.
//  - Messages go to standard output. Nothing throws but allocations (std::bad_alloc).
//  - An object is used by one thread at a time.
//
// Calling order: SetBaseRange; one of the SetBaseData operations; SetInterGeometry where cell values are evaluated; fields by SetNPhiValue
// and SetPhiValue, or by SetResourceFileName; data points by SetNDataPoint and SetDataPoint, or by a sorting operation; evaluations;
// CleanDataPoint.

#ifndef TAV3D_EXPORT
#if defined(_WIN32) && defined(TAV3D_BUILDING_LIBRARY)
#define TAV3D_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define TAV3D_EXPORT __declspec(dllimport)
#else
#define TAV3D_EXPORT __attribute__((visibility("default")))
#endif
#endif

class CSolInterpolation;

class TAV3D_EXPORT CTav3dInterpolation
{
public:
    /// Creates an engine without data and owns it. Without memory for it the object stays empty, silently, and no operation may be called.
    CTav3dInterpolation();

    /// The same; the argument is ignored.
    CTav3dInterpolation(int);

    /// Destroys the engine and all that it allocated. Borrowed arrays stay the host's.
    ~CTav3dInterpolation();

    /// Shallow: afterwards both objects use the *same* engine, and the engine that this object had is no longer reachable (its memory is
    /// lost). Only one of the two objects may be destroyed. There is no copy constructor but the one the compiler supplies, which shares
    /// the engine in the same way: pass objects by reference.
    CTav3dInterpolation& operator=(const CTav3dInterpolation& other);

    // ---- Mesh ----

    /// Takes over a full mesh and builds the point search over its cell centres.
    ///   nodeX..nodeZ  nodeCount+1 entries     cellX..cellZ  cellCount+1 entries, the cell centres     cellNode  cell rows 1..cellCount
    ///   reduceToHexa  true: when any cell has more than 8 nodes, every row of 8 or more nodes is rewritten *in the host's table* as a
    ///                 hexahedron of 8 corner nodes; rows of fewer nodes stay. When no cell has more than 8 nodes nothing is rewritten.
    /// SetBaseRange comes first: its range sets the distance below which two centres count as one (1e-6 of half the largest extent, at most
    /// 1e-6). A centre that coincides with an earlier one keeps its number, but searches return the earlier one.
    void SetBaseData(int nodeCount, int cellCount, double* nodeX, double* nodeY, double* nodeZ, double* cellX, double* cellY, double* cellZ,
                     int** cellNode, bool reduceToHexa);

    /// Takes over nodes only. No search is built: do not call SetDataPoint or SearchNearestPointIndex on such an engine.
    void SetBaseData(int nodeCount, double* nodeX, double* nodeY, double* nodeZ);

    /// Takes over cell centres only and builds the point search over them; nodes and cell rows stay as they are.
    void SetBaseData_Light(int cellCount, double* cellX, double* cellY, double* cellZ);

    /// Adds points 1..pointCount to the search that SetBaseData or SetBaseData_Light has built. They are numbered on from the points
    /// already there. The arrays are not taken over.
    void SetBaseData_PartitionCell(int pointCount, double* x, double* y, double* z);

    /// The range of the points to be searched; takes effect when the search is next built. Points outside are found as well.
    void SetBaseRange(double xMin, double xMax, double yMin, double yMax, double zMin, double zMax);

    // ---- Data points: where values are wanted ----

    /// Announces data points 1..count, all at the origin and in no cell. Call CleanDataPoint before announcing a new set.
    void SetNDataPoint(int count);

    /// Places data point `number` and finds its cell: of the up to ten nearest cell centres, nearest first, the first whose cell's bounding
    /// box holds the point (bounds included); if none does, the nearest. Returns the cell number, 0 when no centre is near (see
    /// SearchNearestPointIndex). A number outside 1..count prints "The input NodeID is invalid, now exit!!" and returns 0; nothing is
    /// stored, and the program goes on.
    int SetDataPoint(int number, double x, double y, double z);

    /// The same search for a point that is not stored.
    int SetDataPoint(double x, double y, double z);

    /// Forgets the data points and releases their arrays, *whoever allocated them*: after a sorting operation these are the host's arrays,
    /// which are then released with delete[]. A host that still owns them must not call it. Harmless without data points.
    void CleanDataPoint();

    // ---- What node averages of cell values need ----

    /// Takes over, in this order:
    ///   nodeCell     per node the counted list of the cells around it
    ///   cellKind     per cell two ints: [0] the kind (1, 2, 3 or 5; there is no kind 4), [1] the index into the vectors of that kind
    ///   cellWeight   per cell the weight of its value; exactly 0.0: the length of the cell's kind vector is its weight (see GetPhiValue)
    ///   v1x .. v5z   vector components per kind
    void SetInterGeometry(int** nodeCell, int** cellKind, double* cellWeight, double* v1x, double* v1y, double* v1z, double* v2x,
                          double* v2y, double* v2z, double* v3x, double* v3y, double* v3z, double* v5x, double* v5y, double* v5z);

    // ---- Fields on nodes ----

    /// Makes room for fields 0..count; earlier fields are forgotten. The number of loaded fields, which GetCellData and its like compare
    /// with, stays.
    void SetNPhiValue(int count);

    /// Takes over a field of nodeCount+1 floats as field `number` (0..count, not checked).
    void SetPhiValue(int number, float* field);

    /// Loads all items of a result file as fields 0, 1, ... in file order; they belong to the engine and replace earlier fields. When the
    /// file cannot be opened, prints "Open Binary File Error!! Error ID=", the code and its text, and the fields stay as they were.
    void SetResourceFileName(const char* fileName);

    // ---- Values at points, by the shape functions of the cell that holds the point ----
    //
    // A point without a cell (cell number outside 1..cellCount) leaves `value` as it was; each of the five GetPhiValue operations reports
    // this once in the life of the process. A point outside its cell gets an extrapolated value. Rows of other than 4, 5, 6 or 8 nodes
    // (faces: 3 or 4) have no shape functions: NaN, and 0 for an empty row. Shape functions: O. C. Zienkiewicz, R. L. Taylor, The Finite
    // Element Method, vol. 1, ch. 8.
    //
    // Where `cellValues` (cellCount+1 entries) are evaluated, each node of the cell gets the mean of the cells around it, weighted by
    // cellWeight. If any cell around the node has weight exactly 0.0, only such cells count, each weighted by the length of its kind
    // vector. A node without cells has the mean 0/0 (NaN). Needs SetInterGeometry.

    /// Value of node field `field` at a data point.
    void GetPhiValue(int dataPoint, int field, double& value);

    /// Value at a data point from values per cell.
    void GetPhiValue(int dataPoint, double* cellValues, double& value);

    /// The same from floats; the node means are rounded to float, the rest is computed in double.
    void GetPhiValue(int dataPoint, float* cellValues, double& value);

    /// Value at (x, y, z) in the given cell from values per cell.
    void GetPhiValue(int cell, const double* cellValues, double& value, double x, double y, double z) const;

    /// The same from floats; the node means and the result are rounded to float.
    void GetPhiValue(int cell, const float* cellValues, float& value, double x, double y, double z) const;

    /// values[i] = loaded field `field` at (x[i], y[i], z[i]) in the cell whose row is rows[i], i = 1..count. Fields count from 0. Writes
    /// nothing when the field number is not below the number of loaded items (fields set by SetPhiValue are not loaded items), or when
    /// count < 1.
    void GetCellData(int field, int count, int** rows, double* x, double* y, double* z, double* values);

    /// values[j] = loaded field `field` at (x[j], y[j], z[j]) in the cell whose row is rows[cells[j]], j = 1..n. `ignored` plays no part.
    /// Otherwise as GetCellData.
    void GetInterData(int field, int ignored, int** rows, double* x, double* y, double* z, int n, int* cells, double* values);

    /// values[i] = loaded field `field` at (x[i], y[i], z[i]) on the surface face of 3 or 4 nodes whose row is rows[i], i = 1..count. The
    /// point is projected onto the plane of the face's first three nodes. Otherwise as GetCellData.
    void GetFaceData(int field, int count, int** rows, double* x, double* y, double* z, double* values);

    /// Writes nodes, fields 1, 2, 3 and 0 (as U, V, W, P) and the cells rows[1..cellCount] to the Tecplot file "30.plt" in the working
    /// directory, over an earlier one. The fields 0 to 3 must be there. A row of 4, 5, 6 or 8 nodes is written as eight numbers, others not
    /// at all. Failure to create the file is not reported.
    void WriteQ7XData(int cellCount, int** rows);

    // ---- Nearest point ----

    /// The nearest cell centre, *counting from 0* (cell number minus one; SetDataPoint counts from 1); -1 when none lies within about 9.77
    /// length units per axis, or a coordinate is not a number.
    int SearchNearestPointIndex(double x, double y, double z);

    /// The same; `distance` receives the *squared* distance, -1.0 when there is no such point.
    int SearchNearestPointIndex(double x, double y, double z, double& distance);

    // ---- Neighbours for the multiquadric interpolation ----

    /// Picks the k nearest of points 1..n to (px, py, pz), nearest first; ties go to the lower number. Uses no engine data.
    ///   X, Y, Z  in   n+1 entries
    ///   out      out  k+1 ints: [1..k] point numbers, [0] untouched
    ///   status   out  always 2
    /// A point that was picked counts as lying at squared distance 1.0e6 from then on, so it is picked again when no other is nearer than
    /// 1000 length units, or when k > n. Number 0 means that no point has a finite distance below 1e15.
    void SORTING(double* X, double* Y, double* Z, int n, double px, double py, double pz, int k, int* out, int& status);

    /// Takes over mesh and data points and prepares GetInterpolation: per data point the 4 nearest nodes, per node all nodes of the cells
    /// around it.
    ///   X, Y, Z  nNode+1 entries   cellNode  cell rows 1..nCell   dataX..dataZ  nData+1 entries
    void SetSorting(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, int nData, double* dataX, double* dataY,
                    double* dataZ);

    /// Takes over mesh, cell centres and data points and prepares GetInterpolationCenter: per data point the nearest node, per node the
    /// cells around it. The nearest node is sought among the first nCell (not nNode) entries of X, Y, Z: these arrays need at least nCell+1
    /// entries.
    void SetSortingCenter(int nNode, int nCell, double* X, double* Y, double* Z, int** cellNode, double* cellX, double* cellY,
                          double* cellZ, int nData, double* dataX, double* dataY, double* dataZ);

    // ---- Multiquadric differential quadrature ----
    //
    // R. L. Hardy, J. Geophys. Res. 76 (1971) 1905-1915; C. Shu, H. Ding, K. S. Yeo, Comput. Methods Appl. Mech. Engrg. 192 (2003) 941-954.
    //
    // A stencil is n points, 1..n. A matrix row of exact zeros (coordinates that are not numbers) ends the *process* with exit status 1.
    // Coincident points give huge or meaningless results, and no message.

    /// Weights wx, wy, wz (n+1 entries, [1..n] written): sum w[i] f(point i) estimates the x, y, z derivative of f at point 1, exactly so
    /// for the multiquadrics sqrt(r^2 + c^2) centred at the stencil's points. c is a length and is only read. Uses no engine data.
    void LMQDQ_Wighting(double* x, double* y, double* z, int n, double& c, double* wx, double* wy, double* wz);

    /// Derivatives dx, dy, dz at point 1 of the field phi[1..n], and the weights of point n in them. Of the shape parameters 1.0, 1.1, ...
    /// 2.9 each axis takes the one whose weights sum nearest to zero. An output for which none qualifies keeps its value: preset all six.
    /// Uses no engine data.
    void Drivatives_Calculator_LDQ(double* x, double* y, double* z, double* phi, int n, double& dx, double& dy, double& dz, double& lastWx,
                                   double& lastWy, double& lastWz);

    /// Value at a data point of the field phi on nodes (nNode+1 entries); after SetSorting. `value` stays as it was for a data point that
    /// SetDataPoint has put into cell 1.
    void GetInterpolation(int dataPoint, double* phi, double& value);

    /// The same for phi on cells (nCell+1 entries); after SetSortingCenter.
    void GetInterpolationCenter(int dataPoint, double* phi, double& value);

private:
    CSolInterpolation* m_pSolInterpolation; // owned, see operator=; null only when it could not be allocated
};
