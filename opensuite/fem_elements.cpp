#include "TAVFEM_ElemLib.h"

#include "common/compiler.h"
#include "common/processor.h"
#include "fast_shapes.h"
#include "inverse_mapping.h"
#include "shape_functions.h"
#include "solid_elements.h"

#include <new>

namespace
{

using namespace tav3d::opensuite;
using tav3d::common::LaneSet;

// The fast functions answer for points in ordinary elements. For all others an evaluation asks in this order (docs/elements.md): at a node, that
// node; where the element's map has an inverse, the shape functions; elsewhere the weights of least norm, which reproduce linear fields as far as
// the nodes can.

template <std::size_t n>
bool shape(const double (&x)[3], const Nodes<n>& node, std::span<double, n> N)
{
    if constexpr (n == 4)
    {
        double xi[3];
        if (!invertTetra(x, node, xi))
            return false;
        tetraShape(xi[0], xi[1], xi[2], N);
    }
    else if constexpr (n == 5)
    {
        double xi[4];
        if (!invertPyramid(x, node, xi))
            return false;
        pyramidShape(xi[0], xi[1], xi[2], xi[3], N);
    }
    else if constexpr (n == 6)
    {
        double xi[3];
        if (!invertPrism(x, node, xi))
            return false;
        prismShape(xi[0], xi[1], xi[2], N);
    }
    else
    {
        double xi[3];
        if (!invertHexa(x, node, xi))
            return false;
        hexaShape(xi[0], xi[1], xi[2], N);
    }
    return true;
}

template <std::size_t n>
bool shape(const double (&x)[2], const PlaneNodes<n>& node, std::span<double, n> N)
{
    if constexpr (n == 3)
    {
        double xi[2];
        if (!invertTriangle(x, node, xi))
            return false;
        triangleShape(xi[0], xi[1], N);
    }
    else
    {
        double xi[3];
        if (!invertQuad(x, node, xi))
            return false;
        quadShape(xi[0], xi[1], xi[2], N);
    }
    return true;
}

/// 1 at node `at`, 0 at all others.
void onlyNode(std::size_t at, std::span<double> N)
{
    for (std::size_t i = 0; i < N.size(); ++i)
        N[i] = i == at ? 1.0 : 0.0;
}

class Pyramid final : public SolidElement<5>
{
public:
    void GetShapeFunction(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) const override
    {
        evaluateCarefully(x, y, z, X, Y, Z, N);
    }
};

// Hosts make and delete an element for each evaluation. So there is one object of each class, which is never destroyed; the factories hand it out.

template <LaneSet lanes>
const FastElements& elementsFor()
{
    static const FastElements elements{new FastElement<4, lanes>, new FastElement<6, lanes>, new FastElement<8, lanes>};
    return elements;
}

/// Those of the widest instruction set that can run here.
const FastElements& bestElements()
{
    static const FastElements& elements = fastElements(tav3d::common::bestLaneSet());
    return elements;
}

template <std::size_t n>
class Element2D final : public CFEM_Elem2D
{
public:
    static Element2D* only()
    {
        static Element2D* const element = new Element2D;
        return element;
    }
    static void operator delete(Element2D*, std::destroying_delete_t) {}

    int GetNNode() const override { return n; }
    int GetDimension() const override { return 2; }

    void GetShapeFunction(double x, double y, const double* X, const double* Y, double* N) const override
    {
        for (std::size_t i = 0; i < n; ++i)
            if (x == X[i] && y == Y[i])
                return onlyNode(i, {N, n});
        const double point[2] = {x, y};
        const PlaneNodes<n> node{std::span<const double, n>(X, n), std::span<const double, n>(Y, n)};
        if (!shape<n>(point, node, std::span<double, n>(N, n)))
        {
            constexpr double flat[n] = {};
            leastNormWeights({x, y, 0.0}, node.X, node.Y, flat, {N, n});
        }
    }
};

} // namespace

namespace tav3d::opensuite
{

template <int n>
void SolidElement<n>::operator delete(SolidElement*, std::destroying_delete_t)
{
}

template <int n>
int SolidElement<n>::GetNNode() const
{
    return n;
}

template <int n>
int SolidElement<n>::GetDimension() const
{
    return 3;
}

template <int n>
void SolidElement<n>::evaluateCarefully(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) const
{
    for (std::size_t i = 0; i < n; ++i)
        if (x == X[i] && y == Y[i] && z == Z[i])
            return onlyNode(i, {N, n});
    const double point[3] = {x, y, z};
    const Nodes<n> node{std::span<const double, n>(X, n), std::span<const double, n>(Y, n), std::span<const double, n>(Z, n)};
    if (!shape<n>(point, node, std::span<double, n>(N, n)))
        leastNormWeights(point, node.X, node.Y, node.Z, {N, n});
}

template class SolidElement<4>;
template class SolidElement<5>;
template class SolidElement<6>;
template class SolidElement<8>;

const FastElements& fastElements([[maybe_unused]] LaneSet lanes) noexcept
{
#if defined(TAV3D_X86_64)
    if (lanes == LaneSet::avx2)
        return elementsFor<LaneSet::avx2>();
    if (lanes == LaneSet::sse2)
        return elementsFor<LaneSet::sse2>();
#endif
    return elementsFor<LaneSet::plain>();
}

} // namespace tav3d::opensuite

CFEM_Elem3D* CFEM_Elem3D_Factory::Make_TETRA4() const
{
    return bestElements().tetra;
}

CFEM_Elem3D* CFEM_Elem3D_Factory::Make_PYRAMID5() const
{
    static CFEM_Elem3D* const pyramid = new Pyramid;
    return pyramid;
}

CFEM_Elem3D* CFEM_Elem3D_Factory::Make_PRISM6() const
{
    return bestElements().prism;
}

CFEM_Elem3D* CFEM_Elem3D_Factory::Make_HEXA8() const
{
    return bestElements().hexa;
}

CFEM_Elem2D* CFEM_Elem2D_Factory::Make_TRI3() const
{
    return Element2D<3>::only();
}

CFEM_Elem2D* CFEM_Elem2D_Factory::Make_QUAD4() const
{
    return Element2D<4>::only();
}
