#include "TAVFindMeshBlockInterface.h"

#include "mesh_file_codes.h"
#include "mesh_file_stream.h"

#include <cstdio>

using namespace tav3d::opensuite;

class CTAVFindKRN_PartPIInterface::Impl
{
public:
    std::vector<InterfaceNodes> part;
    std::vector<InterfaceNodes> partInsert;
};

namespace
{

void copyInterface(const std::vector<InterfaceNodes>& list, int i, int& nNode, int nodes[], int thisBody[], int otherBody[])
{
    nNode = 0;
    if (i < 1 || static_cast<std::size_t>(i) > list.size())
        return;
    const InterfaceNodes& interface = list[static_cast<std::size_t>(i) - 1];
    nNode = static_cast<int>(interface.node.size());
    std::ranges::copy(interface.node, nodes);
    std::fill_n(thisBody, nNode, interface.thisBody);
    std::fill_n(otherBody, nNode, interface.otherBody);
}

} // namespace

CTAVFindKRN_PartPIInterface::CTAVFindKRN_PartPIInterface()
    : m_pImpl(new Impl)
{
}

CTAVFindKRN_PartPIInterface::~CTAVFindKRN_PartPIInterface()
{
    delete m_pImpl;
}

int CTAVFindKRN_PartPIInterface::Create(const char* path, int mode)
{
    *m_pImpl = Impl();
    if (path == nullptr || path[0] == '\0' || (mode != 0 && mode != 1))
    {
        std::fprintf(stderr, "mesh file: %s\n", path == nullptr || path[0] == '\0' ? "no file name" : "the mode is neither 0 nor 1");
        return mesh_code::noFileName;
    }
    try
    {
        const CgnsReader reader(path);
        const MeshZoneStream mesh(reader, static_cast<ZoneId>(mode), readDescription(reader).scaleFactor);
        *m_pImpl = Impl{mesh.partInterfaces(), mesh.partInsertInterfaces()};
        return 0;
    }
    catch (const FileError& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return meshCode(error.failure());
    }
}

void CTAVFindKRN_PartPIInterface::GetNPartInterface(int& n) const
{
    n = static_cast<int>(m_pImpl->part.size());
}

void CTAVFindKRN_PartPIInterface::GetNPartInsertInterface(int& n) const
{
    n = static_cast<int>(m_pImpl->partInsert.size());
}

void CTAVFindKRN_PartPIInterface::GetPartInterface(int i, int& nNode, int nodes[], int thisBody[], int otherBody[]) const
{
    copyInterface(m_pImpl->part, i, nNode, nodes, thisBody, otherBody);
}

void CTAVFindKRN_PartPIInterface::GetPartInsertInterface(int i, int& nNode, int nodes[], int thisBody[], int otherBody[]) const
{
    copyInterface(m_pImpl->partInsert, i, nNode, nodes, thisBody, otherBody);
}
