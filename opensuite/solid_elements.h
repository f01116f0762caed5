#pragma once

// The elements in space that the factory hands out. An evaluation is one virtual call: the fast shape functions are part of the element's operation,
// and so there is one class per instruction set. Only the operation itself is compiled for the instruction set (fast_shapes_lanes.h); tables of virtual
// functions, destructors and all else are fem_elements.cpp's.

#include "TAVFEM_ElemLib.h"

#include "common/processor.h"

#include <new>

namespace tav3d::opensuite
{

/// An element without state, of which there is one object for all. To delete it leaves it where it is.
template <int n>
class SolidElement : public CFEM_Elem3D
{
public:
    static void operator delete(SolidElement*, std::destroying_delete_t);

    int GetNNode() const override;
    int GetDimension() const override;

protected:
    /// The answer in every case (docs/elements.md).
    void evaluateCarefully(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) const;
};

/// An element that asks the fast shape functions of its instruction set first.
template <int n, common::LaneSet lanes>
class FastElement final : public SolidElement<n>
{
public:
    void GetShapeFunction(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) const override;
};

// What each fast_shapes_<instruction set>.cpp defines.
#define TAV3D_FAST_EVALUATION(n, lanes)                                                                                                    \
    template <>                                                                                                                            \
    void FastElement<n, common::LaneSet::lanes>::GetShapeFunction(double x, double y, double z, const double* X, const double* Y,          \
                                                                  const double* Z, double* N) const
TAV3D_FAST_EVALUATION(4, plain);
TAV3D_FAST_EVALUATION(6, plain);
TAV3D_FAST_EVALUATION(8, plain);
TAV3D_FAST_EVALUATION(4, sse2);
TAV3D_FAST_EVALUATION(6, sse2);
TAV3D_FAST_EVALUATION(8, sse2);
TAV3D_FAST_EVALUATION(4, avx2);
TAV3D_FAST_EVALUATION(6, avx2);
TAV3D_FAST_EVALUATION(8, avx2);
#undef TAV3D_FAST_EVALUATION

/// The one object of each kind with fast shape functions.
struct FastElements
{
    CFEM_Elem3D* tetra;
    CFEM_Elem3D* prism;
    CFEM_Elem3D* hexa;
};

/// Those of a lane set that can run here.
[[nodiscard]] const FastElements& fastElements(common::LaneSet lanes) noexcept;

} // namespace tav3d::opensuite
