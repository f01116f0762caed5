#include "mapping_reference.h"

#include "common/exact_math.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace tav3d::test
{

using namespace opensuite;

namespace
{

std::vector<float> scaled(const std::vector<float>& unscaled, double scale)
{
    std::vector<float> out{0.0f};
    for (const float c : unscaled)
        out.push_back(static_cast<float>(c * scale));
    return out;
}

template <class T>
auto& at(std::vector<T>& v, int i)
{
    return v.at(static_cast<std::size_t>(i));
}
template <class T>
const auto& at(const std::vector<T>& v, int i)
{
    return v.at(static_cast<std::size_t>(i));
}

template <class Mesh>
double distance2(const Mesh& mesh, int node, double x, double y, double z)
{
    const double dx = at(mesh.x, node) - x, dy = at(mesh.y, node) - y, dz = at(mesh.z, node) - z;
    return dx * dx + dy * dy + dz * dz;
}

int countOnes(const std::vector<int>& mark)
{
    return static_cast<int>(std::count(mark.begin(), mark.end(), 1));
}

} // namespace

VoxelReference voxelReference(const MeshModel& model)
{
    const MeshZone& zone = model.voxel;
    VoxelReference v;
    v.nodeTotal = static_cast<int>(zone.nodeTotal());
    const std::size_t n = zone.nodeTotal() + 1;
    v.x = scaled(zone.x, model.scaleFactor);
    v.y = scaled(zone.y, model.scaleFactor);
    v.z = scaled(zone.z, model.scaleFactor);
    v.plastic = v.part = v.insert = v.fixed = v.compact = std::vector<int>(n, 0);
    v.facetsOfNode.resize(n);
    v.facet.push_back({});
    v.insertFacet.push_back({});

    int number = 0;
    double length = 0.0;
    for (std::size_t e = 0; e < zone.plastic.size(); ++e)
    {
        const int first = zone.plastic.node[static_cast<std::size_t>(zone.plastic.start[e])];
        double sum = 0.0;
        for (auto k = zone.plastic.start[e]; k < zone.plastic.start[e + 1]; ++k)
        {
            const int node = zone.plastic.node[static_cast<std::size_t>(k)];
            sum += distance2(v, node, at(v.x, first), at(v.y, first), at(v.z, first));
            at(v.plastic, node) = 1;
            if (at(v.compact, node) == 0)
                at(v.compact, node) = ++number;
        }
        length += std::sqrt(sum / 12);
    }
    const float mean = static_cast<float>(length) / static_cast<float>(zone.plastic.size());
    v.elementLengthSquared = mean * mean;

    for (const SurfaceFacet& facet : zone.surface)
    {
        if (facet.flag != 1 || !std::set<int>{0, 1, 3, 4}.contains(facet.kind))
            continue;
        const int f = static_cast<int>(v.facet.size());
        v.facet.push_back(facet.node);
        for (const int node : std::set<int>(facet.node.begin(), facet.node.end()))
        {
            if (facet.kind == 1 || facet.kind == 4)
                at(v.fixed, node) = 1;
            if (at(v.plastic, node) == 1)
                at(v.part, node) = 1;
            if (at(v.facetsOfNode, node).size() < 9)
                at(v.facetsOfNode, node).push_back(f);
        }
    }
    for (const PartInsertFacet& facet : zone.partInsert)
    {
        if (!facet.isInterface)
            continue;
        v.insertFacet.push_back(facet.node);
        for (const int node : facet.node)
            at(v.insert, node) = 1;
    }
    for (int node = 1; node <= v.nodeTotal; ++node)
        if (at(v.insert, node) == 1 && at(v.compact, node) == 0)
            at(v.compact, node) = ++number;
    v.surfaceNodeTotal = countOnes(v.part);
    v.insertNodeTotal = countOnes(v.insert);
    return v;
}

CutCellReference cutCellReference(const MeshModel& model, bool ignoreInsert)
{
    const MeshZone& zone = model.cutCell;
    CutCellReference c;
    c.nodeTotal = static_cast<int>(zone.nodeTotal());
    c.x = scaled(zone.x, model.scaleFactor);
    c.y = scaled(zone.y, model.scaleFactor);
    c.z = scaled(zone.z, model.scaleFactor);
    c.plastic = c.moldBase = c.part = c.insert = c.region = std::vector<int>(zone.nodeTotal() + 1, 0);
    for (const int node : zone.plastic.node)
        at(c.plastic, node) = 1;
    for (const int node : zone.moldBase.node)
        at(c.moldBase, node) = 1;
    for (const SurfaceFacet& facet : zone.surface)
        for (const int node : facet.node)
        {
            if (facet.flag == 1 && (facet.kind == 0 || facet.kind == 3))
                at(c.region, node) = 1;
            if (facet.flag == 1 && facet.kind == 0)
                at(c.part, node) = 1;
        }
    for (const PartInsertFacet& facet : zone.partInsert)
        for (const int node : facet.node)
            if (facet.isInterface)
                at(c.insert, node) = 1;
    c.insertNodeTotal = countOnes(c.insert);
    for (int node = 1; node <= c.nodeTotal; ++node)
    {
        if (at(c.insert, node) == 0)
            continue;
        if (at(c.moldBase, node) == 0)
            c.reported.push_back(node);
        at(c.moldBase, node) = 1;
        if (at(c.region, node) == 0)
            at(c.region, node) = 2;
    }
    if (ignoreInsert)
        c.insert.assign(c.insert.size(), 0);
    else if (c.insertNodeTotal > 0)
        for (const auto* lists : {&zone.partInterface, &zone.partInsertInterface})
            for (const InterfaceNodes& list : *lists)
                for (const int node : list.node)
                    at(c.insert, node) = at(c.part, node) = 1;
    c.surfaceNodeTotal = countOnes(c.part);
    c.insertNodeTotal = std::max(c.insertNodeTotal, countOnes(c.insert));
    return c;
}

bool hasGaussRow(const VoxelReference& v, int node)
{
    return (at(v.part, node) == 1 || at(v.insert, node) == 1) && at(v.fixed, node) != 1;
}

GaussRowReference gaussRowReference(const VoxelReference& v, int start)
{
    std::vector<int> met;
    std::set<int> seen;
    for (const int f1 : at(v.facetsOfNode, start))
        for (const int c1 : at(v.facet, f1))
            for (const int f2 : at(v.facetsOfNode, c1))
                for (const int c2 : at(v.facet, f2))
                    for (const int f3 : at(v.facetsOfNode, c2))
                        for (const int node : at(v.facet, f3))
                        {
                            const bool same = at(v.part, node) == at(v.part, start) && at(v.insert, node) == at(v.insert, start);
                            if (seen.insert(node).second && same && node != start && at(v.fixed, node) != 1 && met.size() < 50)
                                met.push_back(node);
                        }
    std::vector<std::pair<double, int>> sorted;
    for (const int node : met)
        sorted.emplace_back(distance2(v, node, at(v.x, start), at(v.y, start), at(v.z, start)), node);
    std::sort(sorted.begin(), sorted.end());

    const double deviation2 = 3.1416f * static_cast<double>(1.4f) * static_cast<double>(1.4f);
    const float norm = static_cast<float>(1.0 / (deviation2 * std::sqrt(deviation2)));
    GaussRowReference row;
    for (int j = 0;;)
    {
        row = {};
        const double c = 1.0 - 0.1 * j;
        for (const auto& [d2, node] : sorted)
        {
            const float w =
                static_cast<float>(common::exponential(-d2 / (v.elementLengthSquared * c * c) / static_cast<double>(3.92f))) * norm;
            row.self = row.self - w;
            row.node.push_back(node);
            row.weight.push_back(w);
        }
        ++j;
        if (j == 10 || row.self > 0.023)
            return row;
    }
}

bool hasCutCellRow(const CutCellReference& c, int node)
{
    return at(c.part, node) == 1 || at(c.insert, node) == 1;
}

std::array<int, 10> cutCellRowReference(const VoxelReference& v, const CutCellReference& c, int node)
{
    const double x = at(c.x, node), y = at(c.y, node), z = at(c.z, node);
    for (int t = 0; t <= 9; ++t)
    {
        const double h = std::sqrt(v.elementLengthSquared) * std::pow(1.5, t) * 2.0;
        const auto within = [h](double centre, double p) { return p + 1e-6 >= centre - h && p - 1e-6 <= centre + h; };
        std::vector<std::pair<double, int>> match;
        for (int k = 1; k <= v.nodeTotal; ++k)
        {
            if (at(v.compact, k) != 0 && within(x, at(v.x, k)) && within(y, at(v.y, k)) && within(z, at(v.z, k)) &&
                at(v.part, k) == at(c.part, node) && at(v.insert, k) == at(c.insert, node))
                match.emplace_back(distance2(v, k, x, y, z), k);
        }
        if (match.size() < 10)
            continue;
        std::sort(match.begin(), match.end());
        std::array<int, 10> row{};
        for (std::size_t k = 0; k < 10; ++k)
            row[k] = match[k].second;
        return row;
    }
    return {};
}

std::vector<float> smoothedReference(const VoxelReference& v, std::vector<float> value)
{
    const int n = static_cast<int>(value.size()) - 1;
    std::vector<GaussRowReference> rows(value.size());
    for (int i = 1; i <= n; ++i)
        if (hasGaussRow(v, i))
            at(rows, i) = gaussRowReference(v, i);
    for (int sweep = 0; sweep < 5; ++sweep)
    {
        const std::vector<float> before = value;
        for (int i = 1; i <= n; ++i)
        {
            const GaussRowReference& row = at(rows, i);
            if (row.node.empty() || at(before, i) == 0.0f)
                continue;
            float sum = at(before, i) * row.self;
            for (std::size_t k = 0; k < row.node.size(); ++k)
                sum += at(before, row.node[k]) * row.weight[k];
            at(value, i) = sum;
        }
    }
    return value;
}

} // namespace tav3d::test
