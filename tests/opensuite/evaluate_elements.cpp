// Evaluates shape functions for a script: evaluate_elements KIND INPUT OUTPUT
//
// INPUT holds two int64, the number of elements and the number of points per element, then doubles: for each element its nodes and its points,
// three coordinates each (plane elements leave the third unused). OUTPUT gets the weights, nodes of a point side by side, in the same order.

#include "TAVFEM_ElemLib.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Evaluate = std::function<void(const double* x, const double* X, const double* Y, const double* Z, double* N)>;

Evaluate inSpace(CFEM_Elem3D* made)
{
    return [element = std::shared_ptr<CFEM_Elem3D>(made)](const double* x, const double* X, const double* Y, const double* Z, double* N)
    { element->GetShapeFunction(x[0], x[1], x[2], X, Y, Z, N); };
}

Evaluate inPlane(CFEM_Elem2D* made)
{
    return [element = std::shared_ptr<CFEM_Elem2D>(made)](const double* x, const double* X, const double* Y, const double*, double* N)
    { element->GetShapeFunction(x[0], x[1], X, Y, N); };
}

} // namespace

int main(int argc, char** argv)
{
    const CFEM_Elem3D_Factory space;
    const CFEM_Elem2D_Factory plane;
    const std::map<std::string, std::pair<std::size_t, Evaluate>> kinds = {
        {"TETRA4", {4, inSpace(space.Make_TETRA4())}}, {"PYRAMID5", {5, inSpace(space.Make_PYRAMID5())}},
        {"PRISM6", {6, inSpace(space.Make_PRISM6())}}, {"HEXA8", {8, inSpace(space.Make_HEXA8())}},
        {"TRI3", {3, inPlane(plane.Make_TRI3())}},     {"QUAD4", {4, inPlane(plane.Make_QUAD4())}},
    };
    if (argc != 4 || !kinds.contains(argv[1]))
    {
        std::fprintf(stderr, "usage: evaluate_elements KIND INPUT OUTPUT\n");
        return 2;
    }
    const auto& [nodes, evaluate] = kinds.at(argv[1]);

    std::ifstream in(argv[2], std::ios::binary);
    std::ofstream out(argv[3], std::ios::binary);
    std::int64_t count[2] = {};
    in.read(reinterpret_cast<char*>(count), sizeof count);
    std::array<double, 8> X, Y, Z, N;
    for (std::int64_t e = 0; e < count[0]; ++e)
    {
        double x[3];
        for (std::size_t i = 0; i < nodes; ++i)
        {
            in.read(reinterpret_cast<char*>(x), sizeof x);
            X[i] = x[0];
            Y[i] = x[1];
            Z[i] = x[2];
        }
        for (std::int64_t p = 0; p < count[1]; ++p)
        {
            in.read(reinterpret_cast<char*>(x), sizeof x);
            evaluate(x, X.data(), Y.data(), Z.data(), N.data());
            out.write(reinterpret_cast<const char*>(N.data()), static_cast<std::streamsize>(nodes * sizeof(double)));
        }
    }
    if (!in || !out.flush())
    {
        std::fprintf(stderr, "evaluate_elements: %s ends early, or %s cannot be written\n", argv[2], argv[3]);
        return 1;
    }
    return 0;
}
