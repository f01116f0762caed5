#include "block_samples.h"

#include "opensuite/mesh_model.h"

#include <algorithm>
#include <stdexcept>

namespace tav3d::tools
{

namespace body = opensuite::body;

BlockSamples sampleBlock(const BlockGrid& grid, const TriangleMesh& part, std::span<const TriangleMesh> inserts)
{
    if (inserts.size() > 250)
    {
        throw std::runtime_error("more than 250 part inserts");
    }
    Lattice nodes = grid.nodes();
    Lattice centres = grid.centres();
    nodes.first = nodes.first + samplingShift(grid.cellSize);
    centres.first = centres.first + samplingShift(grid.cellSize);

    BlockSamples samples;
    samples.node.assign(nodes.size(), body::mold);
    samples.centre.assign(centres.size(), body::mold);
    const auto paint = [&](const TriangleMesh& surface, std::int32_t number)
    {
        std::size_t inside = 0, disputed = 0;
        const auto paintOne = [&](const Lattice& lattice, std::vector<std::uint8_t>& bodies)
        {
            const Fill filled = fill(surface, lattice);
            inside += filled.insideTotal;
            disputed += filled.disputed;
            for (std::size_t i = 0; i < bodies.size(); ++i)
            {
                if (filled.inside[i] != 0)
                {
                    bodies[i] = static_cast<std::uint8_t>(number);
                }
            }
        };
        paintOne(nodes, samples.node);
        paintOne(centres, samples.centre);
        samples.disputedShare.push_back(inside > 0 ? double(disputed) / double(inside) : 0);
    };
    paint(part, body::part);
    const std::int64_t partAlone = std::count(samples.centre.begin(), samples.centre.end(), body::part);
    for (std::size_t i = 0; i < inserts.size(); ++i)
    {
        paint(inserts[i], body::firstInsert + static_cast<std::int32_t>(i));
    }
    samples.overlap = partAlone - std::count(samples.centre.begin(), samples.centre.end(), body::part);

    const auto [nx, ny, nz] = nodes.count;
    for (std::int32_t k = 0; k < nz; ++k)
    {
        for (std::int32_t j = 0; j < ny; ++j)
        {
            const bool wholeRow = k == 0 || k == nz - 1 || j == 0 || j == ny - 1;
            for (std::int32_t i = 0; i < nx; i += wholeRow ? 1 : nx - 1)
            {
                samples.node[nodes.index(i, j, k)] = body::mold;
            }
        }
    }
    return samples;
}

} // namespace tav3d::tools
