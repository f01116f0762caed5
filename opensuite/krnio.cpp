// KRNIO_Manipulator over the streams of mesh_file_stream.h. `beginReading` reads the mesh once to its end, so that a file that is wrong anywhere
// is refused before a host has taken its first entry; the entry calls then run the same checked streams again.

#include "KRNIO.h"

#include "mesh_file_codes.h"
#include "mesh_file_stream.h"

#include <cstdio>
#include <memory>

using namespace tav3d::opensuite;

class KRNIO_Manipulator::Impl
{
public:
    Impl(const char* file, ZoneId zone)
        : reader_(file)
        , description_(readDescription(reader_))
        , mesh(reader_, zone, description_.scaleFactor)
    {
        (void)mesh.checkAll();
    }

    [[nodiscard]] const MeshSummary& description() const noexcept { return description_; }

private:
    CgnsReader reader_;
    MeshSummary description_;

public:
    MeshZoneStream mesh;
};

namespace
{

constexpr int delivered = 0;
constexpr int atEnd = -1;

/// Runs `read`, which tells whether it delivered an entry. A file that breaks while it is read (a disk that goes away) ends the block.
template <class Read>
int entryCode(Read&& read)
{
    try
    {
        return read() ? delivered : atEnd;
    }
    catch (const FileError& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return meshCode(error.failure());
    }
}

int readCell(CellStream& cells, float cellSize, int& nNode, int* node, int& referenceNode, int& body, float& size)
{
    return entryCode(
        [&]
        {
            CellEntry cell;
            if (!cells.next(cell))
                return false;
            nNode = cell.nodes;
            std::copy_n(cell.node, cell.nodes, node);
            referenceNode = node[0]; // the first: the corner from which a voxel's edge length is measured
            body = cell.body;
            size = cellSize;
            return true;
        });
}

} // namespace

KRNIO_Manipulator::KRNIO_Manipulator()
    : m_pImpl(nullptr)
{
}

KRNIO_Manipulator::~KRNIO_Manipulator()
{
    delete m_pImpl;
}

int KRNIO_Manipulator::getFileIthBlockExsistency(const char* file, int block)
{
    if (file == nullptr || block < 1 || block > 6)
        return 0;
    try
    {
        const MeshSummary header = readMeshHeader(file);
        const MeshZoneSummary& v = header.voxel;
        const MeshZoneSummary& c = header.cutCell;
        const bool found[] = {
            v.present && c.present,          v.plastic + c.plastic > 0,
            v.moldBase + c.moldBase > 0,     v.surface + c.surface > 0,
            v.partInsert + c.partInsert > 0, v.partInterfaces + c.partInterfaces + v.partInsertInterfaces + c.partInsertInterfaces > 0};
        return found[block - 1] ? 1 : 0;
    }
    catch (const FileError&)
    {
        return 0;
    }
}

int KRNIO_Manipulator::beginReading(const char* file, const char*, int mode)
{
    endReading();
    if (file == nullptr || file[0] == '\0' || (mode != 0 && mode != 1))
    {
        std::fprintf(stderr, "mesh file: %s\n", file == nullptr || file[0] == '\0' ? "no file name" : "the mode is neither 0 nor 1");
        return mesh_code::noFileName;
    }
    try
    {
        m_pImpl = new Impl(file, static_cast<ZoneId>(mode));
        return 0;
    }
    catch (const FileError& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return meshCode(error.failure());
    }
}

int KRNIO_Manipulator::getNNode() const
{
    return m_pImpl != nullptr ? static_cast<int>(m_pImpl->mesh.counts().nodes) : 0;
}

double KRNIO_Manipulator::getScaleFactor() const
{
    return m_pImpl != nullptr ? m_pImpl->description().scaleFactor : 0.0;
}

int KRNIO_Manipulator::getNElementPlastic() const
{
    return m_pImpl != nullptr ? static_cast<int>(m_pImpl->mesh.counts().plastic) : 0;
}

int KRNIO_Manipulator::getNElementMoldBase() const
{
    return m_pImpl != nullptr ? static_cast<int>(m_pImpl->mesh.counts().moldBase) : 0;
}

int KRNIO_Manipulator::getNElementSurface() const
{
    return m_pImpl != nullptr ? static_cast<int>(m_pImpl->mesh.counts().surface) : 0;
}

int KRNIO_Manipulator::getNPartInsert() const
{
    return m_pImpl != nullptr ? static_cast<int>(m_pImpl->mesh.counts().partInsert) : 0;
}

int KRNIO_Manipulator::readNodeBlockEntry(float& x, float& y, float& z)
{
    if (m_pImpl == nullptr)
        return atEnd;
    return entryCode(
        [&]
        {
            float c[3];
            if (!m_pImpl->mesh.nodes.next(c))
                return false;
            x = c[0];
            y = c[1];
            z = c[2];
            return true;
        });
}

int KRNIO_Manipulator::readElementPlasticBlockEntry(int& nNode, int* node, int& referenceNode, int& body, float& size)
{
    if (m_pImpl == nullptr)
        return atEnd;
    return readCell(m_pImpl->mesh.plastic, m_pImpl->description().cellSize, nNode, node, referenceNode, body, size);
}

int KRNIO_Manipulator::readElementMoldBaseBlockEntry(int& nNode, int* node, int& referenceNode, int& body, float& size)
{
    if (m_pImpl == nullptr)
        return atEnd;
    return readCell(m_pImpl->mesh.moldBase, m_pImpl->description().cellSize, nNode, node, referenceNode, body, size);
}

int KRNIO_Manipulator::readElementSurfaceBlockEntry(int* node, int& flag, int& kind, int& elementBehind, int& elementInFront, int& body,
                                                    int& group)
{
    if (m_pImpl == nullptr)
        return atEnd;
    return entryCode(
        [&]
        {
            SurfaceEntry entry;
            if (!m_pImpl->mesh.nextSurface(entry))
                return false;
            std::ranges::copy(entry.facet.node, node);
            flag = entry.facet.flag;
            kind = entry.facet.kind;
            elementBehind = entry.facet.elementBehind;
            elementInFront = entry.facet.elementInFront;
            body = entry.body;
            group = 0; // mesh files do not group facets
            return true;
        });
}

int KRNIO_Manipulator::readPartInsertBlockEntry(bool& isInterface, int* node, int& insert, int& kind, int& elementBehind,
                                                int& elementInFront, int& bodyBehind, int& bodyInFront, int& group)
{
    if (m_pImpl == nullptr)
        return atEnd;
    return entryCode(
        [&]
        {
            PartInsertFacet facet;
            if (!m_pImpl->mesh.nextPartInsert(facet))
                return false;
            isInterface = facet.isInterface;
            std::ranges::copy(facet.node, node);
            insert = facet.insert;
            kind = facet.isInterface ? facet_kind::insertInterface : facet_kind::outerFace;
            elementBehind = 0; // mesh files name no elements at these facets, and do not group them
            elementInFront = 0;
            bodyBehind = body::firstInsert + facet.insert - 1;
            bodyInFront = facet.isInterface ? body::part : body::mold;
            group = 0;
            return true;
        });
}

int KRNIO_Manipulator::endReading()
{
    delete std::exchange(m_pImpl, nullptr);
    return 0;
}
