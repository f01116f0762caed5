#pragma once

// Declarations of the suite's finite-element library. Spelling is part of the suite's interface.
//
// Node order of the elements (as in CGNS and VTK, the prism as in CGNS): tetrahedron base 1 2 3, apex 4; pyramid base 1 2 3 4, apex 5;
// prism base 1 2 3, top 4 5 6 above them; hexahedron base 1 2 3 4, top 5 6 7 8 above them. Bases run counter-clockwise as seen from inside.
// (VTK's wedge numbers its nodes alike, but means the base to run clockwise; for shape functions that makes no difference.)

/// A finite element with linear Lagrange shape functions. The caller deletes it.
class CFEM_Elem3D
{
public:
    virtual ~CFEM_Elem3D() = default;
    virtual int GetNNode() const = 0;
    virtual int GetDimension() const = 0;

    /// Shape functions of all nodes at the *physical* point (x, y, z).
    ///   X, Y, Z  in   node coordinates in element order, entries 0..GetNNode()-1
    ///   N        out  shape-function values, same entries; they sum to 1 wherever the point lies
    /// Flat, collapsed and tangled elements have a defined answer too (docs/elements.md); numbers that are not finite give NaN.
    virtual void GetShapeFunction(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) const = 0;
};

/// The same in the plane.
class CFEM_Elem2D
{
public:
    virtual ~CFEM_Elem2D() = default;
    virtual int GetNNode() const = 0;
    virtual int GetDimension() const = 0;
    virtual void GetShapeFunction(double x, double y, const double* X, const double* Y, double* N) const = 0;
};

/// Makes elements; the caller deletes what it gets.
class CFEM_Elem3D_Factory
{
public:
    CFEM_Elem3D* Make_TETRA4() const;
    CFEM_Elem3D* Make_PYRAMID5() const;
    CFEM_Elem3D* Make_PRISM6() const;
    CFEM_Elem3D* Make_HEXA8() const;
};

class CFEM_Elem2D_Factory
{
public:
    CFEM_Elem2D* Make_TRI3() const;
    CFEM_Elem2D* Make_QUAD4() const;
};
