// The object as such: its fields, copies, and the operations that need no mesh.

#include "Tav3dMeshMappingArrary.h"

#include "support/mapping_checks.h"
#include "support/mapping_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace tav3d::test::mapping_object_test
{
namespace
{

using Object = CTav3dMeshMappingArrary;
using Inspector = CTav3dMeshMappingArrary_Inspector;

TEST(MappingObject, is_polymorphic_through_its_destructor_and_starts_empty)
{
    static_assert(std::has_virtual_destructor_v<Object>);
    static_assert(std::is_copy_constructible_v<Object> && std::is_copy_assignable_v<Object>);
    Object o;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(Inspector::m_fPI(o)), 0x40490FF9u);
    EXPECT_EQ(Inspector::m_strFileName(o), "");
    EXPECT_EQ(o.GetTotalNodeNumber_Cutcell(), 0);
    EXPECT_EQ(Inspector::m_nCutCell2VoxelMappingNode(o), 30);
    EXPECT_EQ(Inspector::m_nVoxelMaxNeighbor(o), 50);
    EXPECT_EQ(Inspector::m_nSmoothMaxNeighbor(o), 50);
    EXPECT_EQ(Inspector::m_dTecplotCounter(o), 0.0);
    EXPECT_EQ(Inspector::m_CutCell_BasicElem_Length(o), 0.0f);
    EXPECT_EQ(Inspector::m_Voxel_BasicElem_LengthSq(o), 0.0f);
    EXPECT_FALSE(Inspector::m_bReadCutCellMesh(o));
    EXPECT_FALSE(Inspector::m_bReadVoxelMesh(o));
    for (const int field : {Inspector::m_nCutCellSurfNode(o), Inspector::m_nVoxelSurfNode(o), Inspector::m_nCutCellNeighbor(o),
                            Inspector::m_iDebugInfo(o), Inspector::m_nVoxelNode(o), Inspector::m_nVoxelPartInsertNode(o),
                            Inspector::m_nCutCellPartInsertNode(o), Inspector::m_nVoxelResultNode(o), Inspector::m_iMappingMode(o)})
        EXPECT_EQ(field, 0);
    const void* const pointers[] = {Inspector::m_pbCutCellPartNode(o),
                                    Inspector::m_pfCutCellX(o),
                                    Inspector::m_pfCutCellY(o),
                                    Inspector::m_pfCutCellZ(o),
                                    Inspector::m_pbVoxelPartNode(o),
                                    Inspector::m_pfVoxelX(o),
                                    Inspector::m_pfVoxelY(o),
                                    Inspector::m_pfVoxelZ(o),
                                    Inspector::m_piVoxelNodeReNumber(o),
                                    Inspector::m_piVoxelNodeOrgID(o),
                                    Inspector::m_pVoxelADTree(o),
                                    Inspector::m_pSmoothADTree(o),
                                    Inspector::m_ppiCutCellNeighbor(o),
                                    Inspector::m_ppiVoxelNeighbor(o),
                                    Inspector::m_piVoxelNeighborCount(o),
                                    Inspector::m_piVoxelNeighborIndex(o),
                                    Inspector::m_piCutCellNeighborIndex(o),
                                    Inspector::m_ppfVoxelNeighborWeight(o),
                                    Inspector::m_pfVoxelSelfWeight(o),
                                    Inspector::m_pbCutCellMoldBaseNode(o),
                                    Inspector::m_pbCutCellPlasticNode(o),
                                    Inspector::m_pbVoxelPartInsertNode(o),
                                    Inspector::m_pbCutCellPartInsertNode(o),
                                    Inspector::m_piVoxelPlasticNode(o),
                                    Inspector::m_piVoxelFixedNode(o),
                                    Inspector::m_piCutCellNodeRegion(o),
                                    Inspector::m_pdSmoothTemp(o),
                                    Inspector::m_ppSmoothNeighborWeight(o),
                                    Inspector::m_ppiSmoothNeighbor(o),
                                    Inspector::m_piSmoothSet(o),
                                    Inspector::m_ppiVoxelElemNode(o),
                                    Inspector::m_pVoxelWork1(o),
                                    Inspector::m_ppiVoxelPartInsert(o),
                                    Inspector::m_pVoxelWork2(o),
                                    Inspector::m_piCutCell2VoxelNode(o)};
    for (const void* pointer : pointers)
        EXPECT_EQ(pointer, nullptr);
}

TEST(MappingObject, keeps_its_fields_in_their_order)
{
    Object o;
    const auto at = [](const auto& field) { return reinterpret_cast<std::uintptr_t>(&field); };
    const std::uintptr_t order[] = {at(o),
                                    at(Inspector::m_fPI(o)),
                                    at(Inspector::m_strFileName(o)),
                                    at(Inspector::m_nCutCellSurfNode(o)),
                                    at(Inspector::m_nVoxelSurfNode(o)),
                                    at(Inspector::m_nCutCellNeighbor(o)),
                                    at(Inspector::m_nVoxelElem(o)),
                                    at(Inspector::m_bReadCutCellMesh(o)),
                                    at(Inspector::m_bReadVoxelMesh(o)),
                                    at(Inspector::m_pbCutCellPartNode(o)),
                                    at(Inspector::m_pfCutCellX(o)),
                                    at(Inspector::m_pfCutCellY(o)),
                                    at(Inspector::m_pfCutCellZ(o)),
                                    at(Inspector::m_CutCell_BasicElem_Length(o)),
                                    at(Inspector::m_pbVoxelPartNode(o)),
                                    at(Inspector::m_pfVoxelX(o)),
                                    at(Inspector::m_pfVoxelY(o)),
                                    at(Inspector::m_pfVoxelZ(o)),
                                    at(Inspector::m_piVoxelNodeReNumber(o)),
                                    at(Inspector::m_piVoxelNodeOrgID(o)),
                                    at(Inspector::m_iDebugInfo(o)),
                                    at(Inspector::m_pVoxelADTree(o)),
                                    at(Inspector::m_pSmoothADTree(o)),
                                    at(Inspector::m_nCutCell2VoxelMappingNode(o)),
                                    at(Inspector::m_nVoxelMaxNeighbor(o)),
                                    at(Inspector::m_nVoxelNode(o)),
                                    at(Inspector::m_ppiCutCellNeighbor(o)),
                                    at(Inspector::m_ppiVoxelNeighbor(o)),
                                    at(Inspector::m_piVoxelNeighborCount(o)),
                                    at(Inspector::m_piVoxelNeighborIndex(o)),
                                    at(Inspector::m_piCutCellNeighborIndex(o)),
                                    at(Inspector::m_ppfVoxelNeighborWeight(o)),
                                    at(Inspector::m_pfVoxelSelfWeight(o)),
                                    at(Inspector::m_Voxel_BasicElem_LengthSq(o)),
                                    at(Inspector::m_pbCutCellMoldBaseNode(o)),
                                    at(Inspector::m_pbCutCellPlasticNode(o)),
                                    at(Inspector::m_pbVoxelPartInsertNode(o)),
                                    at(Inspector::m_pbCutCellPartInsertNode(o)),
                                    at(Inspector::m_nVoxelPartInsertNode(o)),
                                    at(Inspector::m_nCutCellPartInsertNode(o)),
                                    at(Inspector::m_dTecplotCounter(o)),
                                    at(Inspector::m_piVoxelPlasticNode(o)),
                                    at(Inspector::m_nCutCellSurfElem(o)),
                                    at(Inspector::m_piVoxelFixedNode(o)),
                                    at(Inspector::m_piVoxelSurfWork(o)),
                                    at(Inspector::m_piCutCellSurfWork1(o)),
                                    at(Inspector::m_piCutCellSurfWork2(o)),
                                    at(Inspector::m_piCutCellNodeRegion(o)),
                                    at(Inspector::m_pdSmoothTemp(o)),
                                    at(Inspector::m_ppSmoothNeighborWeight(o)),
                                    at(Inspector::m_ppiSmoothNeighbor(o)),
                                    at(Inspector::m_piSmoothSet(o)),
                                    at(Inspector::m_nSmoothNode(o)),
                                    at(Inspector::m_nSmoothMaxNeighbor(o)),
                                    at(Inspector::m_pdTestX(o)),
                                    at(Inspector::m_pdTestY(o)),
                                    at(Inspector::m_pdTestZ(o)),
                                    at(Inspector::m_ppiVoxelElemNode(o)),
                                    at(Inspector::m_pVoxelWork1(o)),
                                    at(Inspector::m_ppiVoxelPartInsert(o)),
                                    at(Inspector::m_pVoxelWork2(o)),
                                    at(Inspector::m_nVoxelElemTotal(o)),
                                    at(Inspector::m_iPartInsertMode(o)),
                                    at(Inspector::m_NNodeCultCell_(o)),
                                    at(Inspector::m_piCutCell2VoxelNode(o)),
                                    at(Inspector::m_nVoxelResultNode(o)),
                                    at(Inspector::m_iMappingMode(o)),
                                    at(Inspector::m_fResultMaxValue(o)),
                                    at(Inspector::m_fResultMinValue(o)),
                                    at(Inspector::m_iResultFileType(o))};
    EXPECT_TRUE(std::is_sorted(std::begin(order), std::end(order), std::less_equal<>()));
}

TEST(MappingObject, lists_are_absent_before_a_mesh_is_read)
{
    Object o;
    int count = 7;
    EXPECT_EQ(o.CreateNodeReNumberArray_Cutcell_PartSruf(count), nullptr);
    EXPECT_EQ(o.CreateNodeReNumberArray_Cutcell_Part(count), nullptr);
    EXPECT_EQ(o.CreateNodeReNumberArray_Cutcell_PartInsert(count), nullptr);
    EXPECT_EQ(count, 7);
}

TEST(MappingObject, hooks_do_nothing_and_print_nothing)
{
    Object o;
    testing::internal::CaptureStdout();
    Inspector::outputDebugFiles(o);
    int list = 3, n = 4;
    EXPECT_EQ(Inspector::interfacePoint(o, &list, n), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(list, 3);
    EXPECT_EQ(n, 4);
}

// DELIBERATE mapping-shallow-copy
TEST(MappingCopies, share_arrays_and_copy_the_file_name)
{
    MappedModel mapped(plateModel(), 1, 0);
    alignas(Object) unsigned char room[sizeof(Object)];
    Object* copy = new (room) Object(mapped.object); // never destroyed, but for its file name: the arrays have one owner
    EXPECT_EQ(Inspector::m_pfVoxelX(*copy), Inspector::m_pfVoxelX(mapped.object));
    EXPECT_EQ(Inspector::m_pVoxelADTree(*copy), Inspector::m_pVoxelADTree(mapped.object));
    Inspector::m_pfVoxelX(*copy)[3] = 1234.5f;
    EXPECT_EQ(Inspector::m_pfVoxelX(mapped.object)[3], 1234.5f);
    EXPECT_EQ(Inspector::m_strFileName(*copy), mapped.path);
    EXPECT_NE(Inspector::m_strFileName(*copy).data(), Inspector::m_strFileName(mapped.object).data());
    Inspector::m_nVoxelNode(*copy) = 5;
    EXPECT_EQ(Inspector::m_nVoxelNode(mapped.object), 252);
    std::destroy_at(&Inspector::m_strFileName(*copy));
}

// DELIBERATE mapping-shallow-copy
TEST(MappingCopies, assignment_shares_too_and_to_itself_changes_nothing)
{
    MappedModel mapped(plateModel(), 0, 0);
    alignas(Object) unsigned char room[sizeof(Object)];
    Object* copy = new (room) Object;
    Object& returned = (*copy = mapped.object);
    EXPECT_EQ(&returned, copy);
    EXPECT_EQ(Inspector::m_pfCutCellX(*copy), Inspector::m_pfCutCellX(mapped.object));
    EXPECT_EQ(Inspector::m_strFileName(*copy), mapped.path);
    std::destroy_at(&Inspector::m_strFileName(*copy));

    Object& same = mapped.object;
    mapped.object = same;
    EXPECT_EQ(Inspector::m_strFileName(mapped.object), mapped.path);
    EXPECT_EQ(Inspector::m_nVoxelNode(mapped.object), 252);
}

TEST(GateFaces, count_three_corners_of_each_record)
{
    Object o;
    std::vector<int> face{9, 1, 2, 3, 8, 3, 2, 2}, count(10, 0);
    EXPECT_EQ(Inspector::sortGateFaces(o, 2, face.data(), count.data()), 1);
    EXPECT_EQ(count, (std::vector<int>{0, 1, 3, 2, 0, 0, 0, 0, 0, 0}));
}

// DELIBERATE overlapping-gate-records
TEST(GateFaces, of_the_cavity_also_count_the_first_number_of_the_next_record)
{
    Object o;
    std::vector<int> face{9, 1, 2, 3, 8, 3, 2, 2, 5}, count(10, 0);
    EXPECT_EQ(Inspector::sortCavityGateFaces(o, 2, face.data(), count.data()), 1);
    EXPECT_EQ(count, (std::vector<int>{0, 1, 3, 2, 0, 1, 0, 0, 1, 0}));
}

TEST(GateFaces, without_faces_return_zero_and_with_fewer_than_none_one)
{
    Object o;
    EXPECT_EQ(Inspector::sortGateFaces(o, 0, nullptr, nullptr), 0);
    EXPECT_EQ(Inspector::sortCavityGateFaces(o, 0, nullptr, nullptr), 0);
    EXPECT_EQ(Inspector::sortGateFaces(o, -1, nullptr, nullptr), 1);
    EXPECT_EQ(Inspector::sortCavityGateFaces(o, -1, nullptr, nullptr), 1);
}

TEST(MoldBaseCheck, adds_and_reports_missing_nodes_only)
{
    Object o;
    bool insert[] = {true, true, false, true, true}, mold[] = {false, false, false, true, false};
    testing::internal::CaptureStdout();
    EXPECT_EQ(o.CheckPartInsert_MoldBaseNode(insert, mold, 4), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "node ID = 1\nnode ID = 4\n");
    EXPECT_EQ(std::vector<bool>(mold, mold + 5), (std::vector<bool>{false, true, false, true, true}));
    for (const int none : {0, -3})
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(o.CheckPartInsert_MoldBaseNode(nullptr, nullptr, none), 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
}

// DELIBERATE test-arrays-stay
TEST(SelfTest, leaves_the_numbers_one_to_fifty_and_smooths_them)
{
    Object o;
    EXPECT_EQ(o.test(), 1);
    for (int i = 1; i <= 50; ++i)
        EXPECT_EQ(Inspector::m_pdTestX(o)[i], i);
    EXPECT_EQ(Inspector::m_nSmoothNode(o), 50);
    EXPECT_NEAR(Inspector::m_pdTestY(o)[25], 25.0, 0.5) << "the middle of a line stays about where it is";
    EXPECT_GT(Inspector::m_pdTestY(o)[1], 1.0) << "its end is drawn inward";
    const double* first = Inspector::m_pdTestX(o);
    EXPECT_EQ(o.test(), 1); // DELIBERATE smooth-tables-stay
    EXPECT_NE(Inspector::m_pdTestX(o), first) << "new arrays, while the first ones stay";
}

} // namespace
} // namespace tav3d::test::mapping_object_test
