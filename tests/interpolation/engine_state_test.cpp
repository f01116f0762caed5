#include "interpolation/sol_interpolation.h"

#include "Tav3dInterpolation.h"
#include "engine_calls.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

namespace engine_state_test
{

using meshes::Mesh;
using meshes::Points;
using meshes::printed;
using meshes::setMesh;

namespace
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr const char* invalidNumber = "The input NodeID is invalid, now exit!!\n";

static_assert(sizeof(CTav3dInterpolation) == sizeof(void*));
static_assert(std::has_virtual_destructor_v<CSolInterpolation>);
static_assert(std::is_copy_constructible_v<CTav3dInterpolation>, "the compiler's own, shallow like the assignment");

} // namespace

TEST(EngineState, new_engine_is_empty)
{
    const CSolInterpolation engine;
    EXPECT_EQ(engine.m_nDebugLevel, 0);
    EXPECT_EQ(engine.m_nNode, 0);
    EXPECT_EQ(engine.m_nCell, 0);
    EXPECT_EQ(engine.m_pNodeX, nullptr);
    EXPECT_EQ(engine.m_pSearchTree, nullptr);
    EXPECT_EQ(engine.m_dZMax, 0.0);
    EXPECT_EQ(engine.m_nDataPoint, 0);
    EXPECT_EQ(engine.m_pDataCell, nullptr);
    EXPECT_EQ(engine.m_ppPhiValue, nullptr);
    EXPECT_EQ(engine.m_nResultItem, 0) << "no loaded field before a file is loaded";
}

TEST(EngineState, members_stand_in_their_order)
{
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif
    using E = CSolInterpolation;
    const std::size_t offsets[] = {
        offsetof(E, m_nDebugLevel), offsetof(E, m_nNode),           offsetof(E, m_nCell),
        offsetof(E, m_pNodeX),      offsetof(E, m_pNodeY),          offsetof(E, m_pNodeZ),
        offsetof(E, m_pCellX),      offsetof(E, m_pCellY),          offsetof(E, m_pCellZ),
        offsetof(E, m_ppCellNode),  offsetof(E, m_ppNodeNeighbour), offsetof(E, m_ppNodeCell),
        offsetof(E, m_dXMin),       offsetof(E, m_dXMax),           offsetof(E, m_dYMin),
        offsetof(E, m_dYMax),       offsetof(E, m_dZMin),           offsetof(E, m_dZMax),
        offsetof(E, m_pSearchTree), offsetof(E, m_ppCellInterType), offsetof(E, m_pCellInterWeight),
        offsetof(E, m_pInterVec1X), offsetof(E, m_pInterVec1Y),     offsetof(E, m_pInterVec1Z),
        offsetof(E, m_pInterVec2X), offsetof(E, m_pInterVec2Y),     offsetof(E, m_pInterVec2Z),
        offsetof(E, m_pInterVec3X), offsetof(E, m_pInterVec3Y),     offsetof(E, m_pInterVec3Z),
        offsetof(E, m_pInterVec5X), offsetof(E, m_pInterVec5Y),     offsetof(E, m_pInterVec5Z),
        offsetof(E, m_nDataPoint),  offsetof(E, m_pDataX),          offsetof(E, m_pDataY),
        offsetof(E, m_pDataZ),      offsetof(E, m_ppDataStencil),   offsetof(E, m_pDataCell),
        offsetof(E, m_nPhiValue),   offsetof(E, m_ppPhiValue),      offsetof(E, m_nResultItem),
    };
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    EXPECT_EQ(offsets[0], sizeof(void*)) << "behind the pointer to the virtual table, with nothing between";
    for (std::size_t k = 1; k < std::size(offsets); ++k)
        EXPECT_LT(offsets[k - 1], offsets[k]) << "member " << k;
}

// DELIBERATE constructor-ignores-argument
TEST(Facade, argument_of_the_constructor_is_ignored)
{
    Mesh mesh = meshes::grid(2, 2.0);
    CTav3dInterpolation plain;
    CTav3dInterpolation numbered(5);
    for (CTav3dInterpolation* facade : {&plain, &numbered})
    {
        facade->SetBaseRange(0, 2, 0, 2, 0, 2);
        setMesh(*facade, mesh);
        facade->SetNDataPoint(1);
        EXPECT_EQ(facade->SetDataPoint(1, 1.5, 1.5, 0.5), 4);
        facade->CleanDataPoint();
    }
}

// DELIBERATE shallow-assignment
TEST(Facade, assigned_objects_share_one_engine)
{
    Mesh mesh = meshes::grid(2, 2.0);
    CTav3dInterpolation owner;
    setMesh(owner, mesh);

    // The sharer lives in storage that is never destroyed, as the pair's owner must see to. The compiler's copy constructor shares, too;
    // compilers rightly warn of it.
    alignas(CTav3dInterpolation) std::byte storage[sizeof(CTav3dInterpolation)];
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-copy"
#endif
    CTav3dInterpolation* sharer = new (storage) CTav3dInterpolation(owner);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    EXPECT_EQ(sharer->SearchNearestPointIndex(0.4, 0.4, 0.4), 0);

    CTav3dInterpolation& result = (*sharer = owner);
    EXPECT_EQ(&result, sharer);
    sharer->SetNDataPoint(1);
    EXPECT_EQ(owner.SetDataPoint(1, 0.5, 0.5, 0.5), 1) << "announced through the one, placed through the other";
    owner.CleanDataPoint();
    EXPECT_EQ(printed([&] { EXPECT_EQ(sharer->SetDataPoint(1, 0.5, 0.5, 0.5), 0); }), invalidNumber);
}

TEST(SetBaseData, full_form_takes_over_the_arrays_and_searches_cell_centres)
{
    Mesh mesh = meshes::grid(2, 2.0);
    CSolInterpolation engine;
    engine.m_dXMax = 6.0;
    setMesh(engine, mesh);
    EXPECT_EQ(engine.m_nNode, 27);
    EXPECT_EQ(engine.m_nCell, 8);
    EXPECT_EQ(engine.m_pNodeY, mesh.node.y.data());
    EXPECT_EQ(engine.m_pCellZ, mesh.centre.z.data());
    EXPECT_EQ(engine.m_ppCellNode, mesh.cell.data());
    EXPECT_EQ(engine.m_pSearchTree->m_dHalfSize, 3.0);
    EXPECT_EQ(engine.m_pSearchTree->m_nLastPoint, 7);
}

TEST(SetBaseData, new_base_data_replace_the_search)
{
    Mesh mesh = meshes::grid(2, 2.0);
    Mesh one = meshes::unitCube();
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    setMesh(facade, one);
    double distance = 0;
    EXPECT_EQ(facade.SearchNearestPointIndex(1.5, 1.5, 1.5, distance), 0);
    EXPECT_EQ(distance, 3.0);
}

TEST(SetBaseData, without_cells_nothing_is_found)
{
    Mesh mesh;
    CTav3dInterpolation facade;
    setMesh(facade, mesh, true);
    EXPECT_EQ(facade.SetDataPoint(0, 0, 0), 0);
    EXPECT_EQ(facade.SearchNearestPointIndex(0, 0, 0), -1);
}

TEST(SetBaseData, node_form_stores_nodes_only)
{
    Mesh mesh = meshes::unitCube();
    Mesh other = meshes::grid(2, 2.0);
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    facade.SetBaseData(other.node.count(), other.node.x.data(), other.node.y.data(), other.node.z.data());
    EXPECT_EQ(facade.SearchNearestPointIndex(0, 0, 0), 0) << "the search stays";
    EXPECT_EQ(facade.SetDataPoint(0.25, 0.25, 0.25), 1);
}

TEST(SetBaseData, light_form_searches_centres_and_leaves_nodes_alone)
{
    Points centre = {{0, 0, 0}, {1, 0, 0}};
    CSolInterpolation engine;
    engine.SetBaseData_Light(2, centre.x.data(), centre.y.data(), centre.z.data());
    EXPECT_EQ(engine.m_nCell, 2);
    EXPECT_EQ(engine.m_nNode, 0);
    EXPECT_EQ(engine.m_pNodeX, nullptr);
    EXPECT_EQ(engine.m_ppCellNode, nullptr);
    EXPECT_EQ(engine.SetDataPoint(0.9, 5, 0), 2) << "without a cell table the nearest centre decides";
    engine.SetNDataPoint(1);
    EXPECT_EQ(engine.SetDataPoint(1, 0.1, 0, 0), 1);
    engine.CleanDataPoint();
}

TEST(SetBaseData, further_points_are_numbered_on)
{
    Mesh mesh = meshes::unitCube();
    Points more = {{3, 0, 0}, {5, 0, 0}};
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    facade.SetBaseData_PartitionCell(2, more.x.data(), more.y.data(), more.z.data());
    EXPECT_EQ(facade.SearchNearestPointIndex(4.9, 0, 0), 2);
    EXPECT_EQ(facade.SetDataPoint(4.9, 0, 0), 3) << "beyond the cells: no box, so the nearest";
    EXPECT_EQ(facade.SetDataPoint(1, 1, 1), 1) << "in the box of cell 1";
    facade.SetBaseData_PartitionCell(0, more.x.data(), more.y.data(), more.z.data());
    EXPECT_EQ(facade.SearchNearestPointIndex(4.9, 0, 0), 2);
}

// DELIBERATE nearest-counts-from-zero
TEST(SearchNearest, number_is_one_less_than_the_cell)
{
    Mesh mesh = meshes::grid(2, 2.0);
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    EXPECT_EQ(facade.SearchNearestPointIndex(1.4, 0.5, 0.5), 1);
    EXPECT_EQ(facade.SetDataPoint(1.4, 0.5, 0.5), 2);
    double distance = 0;
    EXPECT_EQ(facade.SearchNearestPointIndex(1.5, 0.5, 1.0, distance), 1);
    EXPECT_EQ(distance, 0.25);
    EXPECT_EQ(facade.SearchNearestPointIndex(1000, 0, 0, distance), -1);
    EXPECT_EQ(distance, -1.0);
}

TEST(SetBaseRange, takes_effect_when_the_search_is_next_built)
{
    Points centre = {{0, 0, 0}, {0.5e-6, 0, 0}};
    const auto second = [&](CTav3dInterpolation& facade) { return facade.SearchNearestPointIndex(0.5e-6, 0, 0); };
    CTav3dInterpolation facade;
    facade.SetBaseRange(0, 0.2, 0, 0.1, 0, 0.1); // tolerance 1e-7
    facade.SetBaseData_Light(2, centre.x.data(), centre.y.data(), centre.z.data());
    EXPECT_EQ(second(facade), 1);
    facade.SetBaseRange(0, 20, 0, 1, 0, 1); // tolerance 1e-6
    EXPECT_EQ(second(facade), 1);
    facade.SetBaseData_Light(2, centre.x.data(), centre.y.data(), centre.z.data());
    EXPECT_EQ(second(facade), 0) << "now a duplicate of the first";
}

TEST(DataPoints, announced_points_start_at_zero_in_no_cell)
{
    CSolInterpolation engine;
    engine.SetNDataPoint(2);
    EXPECT_EQ(engine.m_nDataPoint, 2);
    for (int i = 0; i <= 2; ++i)
    {
        EXPECT_EQ(engine.m_pDataX[i], 0.0);
        EXPECT_EQ(engine.m_pDataY[i], 0.0);
        EXPECT_EQ(engine.m_pDataZ[i], 0.0);
        EXPECT_EQ(engine.m_pDataCell[i], 0);
    }
    engine.SetNDataPoint(0);
    EXPECT_EQ(engine.m_nDataPoint, 0);
    EXPECT_EQ(engine.m_pDataCell[0], 0);
    engine.SetNDataPoint(1);
    EXPECT_EQ(engine.m_pDataCell[1], 0);
}

TEST(DataPoints, set_that_no_memory_is_there_for_leaves_the_one_before)
{
    CSolInterpolation engine;
    engine.SetNDataPoint(2);
    engine.m_pDataCell[2] = 7;
    EXPECT_THROW(engine.SetNDataPoint(-2), std::bad_alloc); // more than any memory
    EXPECT_EQ(engine.m_nDataPoint, 2);
    EXPECT_EQ(engine.m_pDataCell[2], 7);
    EXPECT_EQ(printed([&] { EXPECT_EQ(engine.SetDataPoint(3, 0, 0, 0), 0); }), invalidNumber) << "still beyond the two points";
    engine.CleanDataPoint();
}

// DELIBERATE invalid-number-returns
TEST(DataPoints, invalid_numbers_are_reported_and_the_program_goes_on)
{
    Mesh mesh = meshes::unitCube();
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    facade.SetNDataPoint(2);
    for (const int number : {0, 3, -1})
        EXPECT_EQ(printed([&] { EXPECT_EQ(facade.SetDataPoint(number, 0.5, 0.5, 0.5), 0); }), invalidNumber);
    EXPECT_EQ(printed([&] { EXPECT_EQ(facade.SetDataPoint(2, 0.5, 0.5, 0.5), 1); }), "");
    facade.CleanDataPoint();
}

TEST(DataPoints, point_is_stored_with_its_cell)
{
    Mesh mesh = meshes::grid(2, 2.0);
    CSolInterpolation engine;
    setMesh(engine, mesh);
    engine.SetNDataPoint(2);
    EXPECT_EQ(engine.SetDataPoint(2, 1.25, 0.25, 1.75), 6);
    EXPECT_EQ(engine.m_pDataX[2], 1.25);
    EXPECT_EQ(engine.m_pDataY[2], 0.25);
    EXPECT_EQ(engine.m_pDataZ[2], 1.75);
    EXPECT_EQ(engine.m_pDataCell[2], 6);
    EXPECT_EQ(engine.m_pDataCell[1], 0);
    EXPECT_EQ(engine.SetDataPoint(0.25, 0.25, 0.25), 1);
    EXPECT_EQ(engine.m_pDataX[1], 0.0) << "the unnumbered form stores nothing";
    EXPECT_EQ(engine.SetDataPoint(2, 500, 0, 0), 0);
    EXPECT_EQ(engine.m_pDataCell[2], 0);
    EXPECT_EQ(engine.SetDataPoint(2, notANumber, 0, 0), 0);
}

TEST(DataPoints, bounds_of_a_cell_box_belong_to_it)
{
    Mesh mesh = meshes::unitCube();
    CSolInterpolation engine;
    setMesh(engine, mesh);
    EXPECT_TRUE(engine.IsPointInCellBox(1, 0, 0, 0));
    EXPECT_TRUE(engine.IsPointInCellBox(1, 1, 1, 1));
    EXPECT_TRUE(engine.IsPointInCellBox(1, 1, 0.5, 0));
    for (const double outside : {-1e-12, 1 + 1e-12})
    {
        EXPECT_FALSE(engine.IsPointInCellBox(1, outside, 0.5, 0.5));
        EXPECT_FALSE(engine.IsPointInCellBox(1, 0.5, outside, 0.5));
        EXPECT_FALSE(engine.IsPointInCellBox(1, 0.5, 0.5, outside));
    }
    EXPECT_FALSE(engine.IsPointInCellBox(1, 0.5, 0.5, notANumber));
    EXPECT_FALSE(engine.IsPointInCellBox(2, 0.5, 0.5, 0.5)) << "above the number of cells";
}

TEST(DataPoints, cell_without_nodes_holds_nothing)
{
    Mesh mesh = meshes::unitCube();
    mesh.cell.add({});
    mesh.centre.add(0.9, 0.9, 0.9);
    CSolInterpolation engine;
    setMesh(engine, mesh);
    EXPECT_EQ(engine.SetDataPoint(0.9, 0.9, 0.9), 1) << "cell 2 is nearer, but only cell 1 has a box";
}

// DELIBERATE nearest-cell-without-box
TEST(DataPoints, box_beats_distance_and_without_a_box_the_nearest_centre_wins)
{
    // A long cell and a small one beside it: the point lies in the long cell, nearer to the small one's centre.
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {6, 0, 0}, {6, 1, 0}, {0, 1, 0}, {0, 0, 1}, {6, 0, 1}, {6, 1, 1}, {0, 1, 1},
                 {0, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}, {0, 1, 1}, {1, 1, 1}, {1, 2, 1}, {0, 2, 1}};
    mesh.addCell({1, 2, 3, 4, 5, 6, 7, 8});
    mesh.addCell({9, 10, 11, 12, 13, 14, 15, 16});
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    EXPECT_EQ(facade.SetDataPoint(0.5, 0.9, 0.5), 1);
    EXPECT_EQ(facade.SetDataPoint(0.5, 1.0, 0.5), 2) << "on both boxes: the nearer centre is asked first";
    EXPECT_EQ(facade.SetDataPoint(-0.5, 0.9, 0.5), 2) << "in no box";
}

TEST(DataPoints, cleaning_twice_is_harmless_and_a_new_set_may_follow)
{
    CSolInterpolation engine;
    engine.CleanDataPoint();
    engine.SetNDataPoint(3);
    engine.CleanDataPoint();
    EXPECT_EQ(engine.m_nDataPoint, 0);
    EXPECT_EQ(engine.m_pDataX, nullptr);
    EXPECT_EQ(engine.m_pDataY, nullptr);
    EXPECT_EQ(engine.m_pDataZ, nullptr);
    EXPECT_EQ(engine.m_pDataCell, nullptr);
    engine.CleanDataPoint();
    engine.SetNDataPoint(1);
    EXPECT_EQ(engine.m_nDataPoint, 1);
}

// DELIBERATE clean-releases-what-it-holds
TEST(DataPoints, after_sorting_cleaning_releases_the_arrays_of_the_host)
{
    // The address sanitizer sees whether these are released: nobody else does.
    Mesh mesh = meshes::unitCube();
    double* x = new double[2]{0, 0.5};
    double* y = new double[2]{0, 0.5};
    double* z = new double[2]{0, 0.5};
    CSolInterpolation engine;
    engine.SetNDataPoint(4); // arrays of its own, which sorting sets aside
    engine.SetSorting(8, 1, mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(), mesh.cell.data(), 1, x, y, z);
    EXPECT_EQ(engine.m_pDataX, x);
    int** stencil = engine.m_ppDataStencil;
    engine.CleanDataPoint();
    EXPECT_EQ(engine.m_pDataX, nullptr);
    EXPECT_EQ(engine.m_pDataCell, nullptr);
    EXPECT_EQ(engine.m_ppDataStencil, stencil) << "the stencils stay";
    engine.CleanDataPoint();
}

TEST(DataPoints, debug_level_prints_the_search)
{
    Mesh mesh = meshes::grid(2, 2.0);
    CSolInterpolation engine;
    engine.m_nDebugLevel = 1;
    setMesh(engine, mesh);
    engine.SetNDataPoint(2);
    EXPECT_EQ(printed([&] { engine.SetDataPoint(2, 0.5, 0.5, 0.5); }), "NodeID= 2,iCell=1,N30=8,index[0]=8\n");
    EXPECT_EQ(printed([&] { engine.SetDataPoint(1, 100, 0, 0); }), "NodeID= 1,iCell=0,N30=0,index[0]=0\n");
    EXPECT_EQ(printed([&] { engine.SetDataPoint(0.5, 0.5, 0.5); }), "") << "the unnumbered form is silent";
}

TEST(Fields, host_fields_are_borrowed_by_number)
{
    CTav3dInterpolation facade;
    std::vector<float> field = {0, 1, 2};
    facade.SetNPhiValue(1);
    facade.SetPhiValue(0, field.data());
    facade.SetPhiValue(1, field.data());
    facade.SetNPhiValue(3); // a new table
    facade.SetPhiValue(3, field.data());

    CSolInterpolation engine;
    engine.AllocateFieldTable(2);
    EXPECT_EQ(engine.m_ppPhiValue[0], nullptr);
    EXPECT_EQ(engine.m_ppPhiValue[1], nullptr);
}

} // namespace engine_state_test
