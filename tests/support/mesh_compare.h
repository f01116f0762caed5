#pragma once

#include "opensuite/mesh_model.h"

#include <gtest/gtest.h>

namespace tav3d::test
{

inline void expectSameCells(const opensuite::CellList& a, const opensuite::CellList& b)
{
    EXPECT_EQ(a.kind, b.kind);
    EXPECT_EQ(a.body, b.body);
    EXPECT_EQ(a.node, b.node);
    EXPECT_EQ(a.start, b.start);
}

inline void expectSameInterfaces(const std::vector<opensuite::InterfaceNodes>& a, const std::vector<opensuite::InterfaceNodes>& b)
{
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        EXPECT_EQ(a[i].node, b[i].node);
        EXPECT_EQ(a[i].thisBody, b[i].thisBody);
        EXPECT_EQ(a[i].otherBody, b[i].otherBody);
    }
}

/// Expects two meshes to be equal in everything, coordinates bit for bit.
inline void expectSameZone(const opensuite::MeshZone& a, const opensuite::MeshZone& b)
{
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    EXPECT_EQ(a.z, b.z);
    expectSameCells(a.plastic, b.plastic);
    expectSameCells(a.moldBase, b.moldBase);
    ASSERT_EQ(a.surface.size(), b.surface.size());
    for (std::size_t f = 0; f < a.surface.size(); ++f)
    {
        EXPECT_EQ(a.surface[f].node, b.surface[f].node);
        EXPECT_EQ(a.surface[f].flag, b.surface[f].flag);
        EXPECT_EQ(a.surface[f].kind, b.surface[f].kind);
        EXPECT_EQ(a.surface[f].elementBehind, b.surface[f].elementBehind);
        EXPECT_EQ(a.surface[f].elementInFront, b.surface[f].elementInFront);
    }
    ASSERT_EQ(a.partInsert.size(), b.partInsert.size());
    for (std::size_t f = 0; f < a.partInsert.size(); ++f)
    {
        EXPECT_EQ(a.partInsert[f].node, b.partInsert[f].node);
        EXPECT_EQ(a.partInsert[f].isInterface, b.partInsert[f].isInterface);
        EXPECT_EQ(a.partInsert[f].insert, b.partInsert[f].insert);
    }
    expectSameInterfaces(a.partInterface, b.partInterface);
    expectSameInterfaces(a.partInsertInterface, b.partInsertInterface);
}

} // namespace tav3d::test
