// What the mapping object releases and what it leaves: every array of the library comes from array-new, so this program counts them. It also counts
// every call of new, to see where none is made.

#include "Tav3dMeshMappingArrary.h"

#include "interpolation/value_evaluation.h"
#include "opensuite/mesh_file.h"
#include "support/mapping_checks.h"
#include "support/mapping_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>

// Kept out of line: a compiler that sees malloc behind new[] takes the pair for a mismatch.
#ifdef __GNUC__
#define TAV3D_NOINLINE __attribute__((noinline))
#else
#define TAV3D_NOINLINE
#endif

namespace
{
long liveArrays = 0;          // allocated by new[] and not released
long allocations = 0;         // by new and new[]
long arraysUntilFailure = -1; // new[] fails once when it has counted down to 0; negative: never

void* allocate(std::size_t size)
{
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    ++allocations;
    return memory;
}
} // namespace

TAV3D_NOINLINE void* operator new(std::size_t size)
{
    return allocate(size);
}
TAV3D_NOINLINE void* operator new(std::size_t size, const std::nothrow_t&) noexcept // a sanitizer's own would not go with the delete below
{
    ++allocations;
    return std::malloc(size != 0 ? size : 1);
}
TAV3D_NOINLINE void operator delete(void* memory) noexcept
{
    std::free(memory);
}
TAV3D_NOINLINE void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

TAV3D_NOINLINE void* operator new[](std::size_t size)
{
    if (arraysUntilFailure >= 0 && arraysUntilFailure-- == 0)
        throw std::bad_alloc();
    void* memory = allocate(size);
    ++liveArrays;
    return memory;
}
TAV3D_NOINLINE void operator delete[](void* memory) noexcept
{
    liveArrays -= memory != nullptr;
    std::free(memory);
}
TAV3D_NOINLINE void operator delete[](void* memory, std::size_t) noexcept
{
    ::operator delete[](memory);
}

namespace tav3d::test
{
namespace
{

using Inspector = CTav3dMeshMappingArrary_Inspector;

/// Arrays left by `action`.
template <class Action>
long arraysLeftBy(Action action)
{
    const long before = liveArrays;
    action();
    return liveArrays - before;
}

/// Sizes of the model that the tests use: the plate with its insert, which has rows of every kind.
struct Sizes
{
    long voxelNodes = 252;
    long voxelFacets; // surface and part-insert entries
    long voxelSurfaceNodes, voxelInsertNodes, cutCellSurfaceNodes, cutCellInsertNodes;

    Sizes()
    {
        const auto model = plateWithInsertModel();
        const auto voxel = voxelReference(model);
        const auto cutCell = cutCellReference(model, false);
        voxelFacets = static_cast<long>(model.voxel.surface.size() + model.voxel.partInsert.size());
        voxelSurfaceNodes = voxel.surfaceNodeTotal;
        voxelInsertNodes = voxel.insertNodeTotal;
        cutCellSurfaceNodes = cutCell.surfaceNodeTotal;
        cutCellInsertNodes = cutCell.insertNodeTotal;
    }

    // A table of rows 0..n is n+1 rows and the array of pointers to them.
    [[nodiscard]] long facetTable() const { return voxelFacets + 2; }
    [[nodiscard]] long nodeFacetTable() const { return voxelNodes + 2; }
    [[nodiscard]] long gaussTables() const { return 2 * (voxelSurfaceNodes + voxelInsertNodes + 2) + 3; }
    [[nodiscard]] long cutCellTable() const { return cutCellSurfaceNodes + cutCellInsertNodes + 2 + 1; }
};

constexpr long replacedWithoutReleaseByVoxelReading = 8;   // coordinates, part, plastic, fixed marks, both numberings
constexpr long replacedWithoutReleaseByCutCellReading = 5; // coordinates, part marks, regions

TEST(MappingOwnership, a_fresh_object_has_nothing_to_release)
{
    EXPECT_EQ(arraysLeftBy([] { CTav3dMeshMappingArrary object; }), 0);
    EXPECT_EQ(arraysLeftBy(
                  []
                  {
                      // Through the virtual destructor, and by the array form of delete.
                      CTav3dMeshMappingArrary* one = new CTav3dMeshMappingArrary;
                      delete one;
                      CTav3dMeshMappingArrary* two = new CTav3dMeshMappingArrary[2];
                      delete[] two;
                  }),
              0);
}

// DELIBERATE mapping-destructor-leaves
TEST(MappingOwnership, reading_without_searches_leaves_the_facet_tables)
{
    const Sizes sizes;
    const auto model = plateWithInsertModel();
    EXPECT_EQ(arraysLeftBy([&] { MappedModel(model, 0, 0); }), sizes.facetTable() + sizes.nodeFacetTable());
}

// DELIBERATE node-facet-pointers-stay
TEST(MappingOwnership, the_gauss_search_releases_the_facet_tables_but_for_one_array_of_pointers)
{
    const auto model = plateWithInsertModel();
    for (const int insertMode : {0, 1})
        EXPECT_EQ(arraysLeftBy([&] { MappedModel(model, 1, insertMode); }), 1);
}

// DELIBERATE second-reading-leaks
TEST(MappingOwnership, a_double_reading_leaves_what_the_first_one_read_except_what_is_replaced_with_release)
{
    const Sizes sizes;
    const auto model = plateWithInsertModel();
    EXPECT_EQ(arraysLeftBy([&] { MappedModel(model, 2, 0); }), replacedWithoutReleaseByVoxelReading +
                                                                   replacedWithoutReleaseByCutCellReading +
                                                                   2 * (sizes.facetTable() + sizes.nodeFacetTable()));
}

// DELIBERATE second-reading-leaks
TEST(MappingOwnership, a_second_set_up_leaves_the_tables_of_the_first_searches)
{
    const Sizes sizes;
    const auto model = plateWithInsertModel();
    const long left = arraysLeftBy(
        [&]
        {
            MappedModel mapped(model, 1, 0);
            mapped.object.SetParameters(mapped.path.c_str(), 1, 0);
        });
    EXPECT_EQ(left, replacedWithoutReleaseByVoxelReading + replacedWithoutReleaseByCutCellReading + sizes.gaussTables() +
                        sizes.cutCellTable() + 2);
}

TEST(MappingOwnership, work_arrays_of_the_readers_are_null_between_calls)
{
    MappedModel mapped(plateWithInsertModel(), 0, 0);
    EXPECT_EQ(Inspector::m_piVoxelSurfWork(mapped.object), nullptr);
    EXPECT_EQ(Inspector::m_piCutCellSurfWork1(mapped.object), nullptr);
    EXPECT_EQ(Inspector::m_piCutCellSurfWork2(mapped.object), nullptr);
    EXPECT_EQ(Inspector::m_pVoxelWork1(mapped.object), nullptr);
    EXPECT_EQ(Inspector::m_ppiVoxelPartInsert(mapped.object), nullptr);
}

TEST(MappingOwnership, results_are_mapped_and_smoothed_without_any_allocation)
{
    MappedModel mapped(plateWithInsertModel(), 1, 0);
    std::vector<float> voxel(253, 1.0f), cutCell(253), work(253);
    float max = -1.0e30f, min = 1.0e30f;
    const long before = allocations;
    mapped.object.MappingVoxel2CutcellNodeResult(true, 252, 252, voxel.data(), cutCell.data(), max, min, work.data());
    mapped.object.MappingVoxel2CutcellNodeResult(false, 252, 252, voxel.data(), cutCell.data(), max, min, work.data());
    Inspector::average(mapped.object, 252, voxel.data(), work.data());
    EXPECT_EQ(allocations, before);
    EXPECT_GT(before, 0) << "or nothing was counted";
}

TEST(MappingOwnership, host_smoothing_keeps_one_scratch_array_however_often_it_runs)
{
    std::vector<double> x(61, 0.0), value(61, 1.0);
    EXPECT_EQ(arraysLeftBy(
                  [&]
                  {
                      CTav3dMeshMappingArrary object;
                      object.Initialize_SmoothData(60, x.data(), x.data(), x.data(), 1.0);
                      object.MultiplySmoothData(value.data(), value.data(), 1);
                      EXPECT_EQ(arraysLeftBy([&] { object.MultiplySmoothData(value.data(), value.data(), 1); }), 0);
                  }),
              0);
}

// DELIBERATE smooth-tables-stay
TEST(MappingOwnership, a_second_point_set_leaves_the_tables_of_the_first)
{
    std::vector<double> x(61, 0.0);
    const long left = arraysLeftBy(
        [&]
        {
            CTav3dMeshMappingArrary object;
            object.Initialize_SmoothData(60, x.data(), x.data(), x.data(), 1.0);
            object.Initialize_SmoothData(10, x.data(), x.data(), x.data(), 1.0);
        });
    EXPECT_EQ(left, 2 * (60 + 2) + 1);
}

TEST(MappingOwnership, a_larger_point_set_that_memory_does_not_suffice_for_leaves_the_object_as_it_was)
{
    std::vector<double> x(201, 0.0), value(201, 1.0);
    EXPECT_EQ(arraysLeftBy(
                  [&]
                  {
                      CTav3dMeshMappingArrary object;
                      object.Initialize_SmoothData(60, x.data(), x.data(), x.data(), 1.0);
                      for (const long arrays : {0, 1, 100, 250, 404}) // the last: only the array of flags is missing
                      {
                          arraysUntilFailure = arrays;
                          EXPECT_THROW(object.Initialize_SmoothData(200, x.data(), x.data(), x.data(), 1.0), std::bad_alloc);
                          EXPECT_EQ(arraysUntilFailure, -1);
                      }
                      EXPECT_EQ(Inspector::m_nSmoothNode(object), 60) << "it counts the rows that there are";
                      EXPECT_EQ(object.MultiplySmoothData(value.data(), value.data(), 1), 1);
                  }),
              0);
}

// DELIBERATE test-arrays-stay
TEST(MappingOwnership, the_self_test_leaves_its_three_arrays_each_time)
{
    EXPECT_EQ(arraysLeftBy([] { CTav3dMeshMappingArrary().test(); }), 3);
    const long firstTables = 2 * (50 + 2) + 1;
    EXPECT_EQ(arraysLeftBy(
                  []
                  {
                      CTav3dMeshMappingArrary object;
                      object.test();
                      object.test();
                  }),
              6 + firstTables);
}

// Elements are made, asked and deleted as the engine does it, on a regular, a distorted, a collapsed and a flat cell, at a node, inside and outside.
TEST(ElementEvaluation, allocates_nothing_but_one_object_of_each_element)
{
    const double x[] = {0, 0, 1, 1, 0, 0, 1, 1, 0};
    const double y[] = {0, 0, 0, 1, 1, 0, 0, 1, 1};
    const double z[] = {0, 0, 0, 0, 0, 1, 1, 1, 1};
    double distorted[9];
    for (int i = 0; i < 9; ++i)
        distorted[i] = z[i] + 0.07 * i * (i % 3 - 1);
    const double flat[9] = {};
    const int rows[][9] = {
        {4, 1, 2, 4, 5}, {5, 1, 2, 3, 4, 5}, {6, 1, 2, 4, 5, 6, 8}, {8, 1, 2, 3, 4, 5, 6, 7, 8}, {8, 1, 2, 3, 3, 5, 6, 7, 7}};
    const int faces[][5] = {{3, 1, 2, 4}, {4, 1, 2, 3, 4}};

    double total = 0.0;
    const auto evaluateAll = [&]
    {
        for (const double* height : {z, static_cast<const double*>(distorted), flat})
        {
            const interpolation::NumberedPoints nodes(x, y, height, 8);
            const auto value = [](int node) { return static_cast<double>(node); };
            for (const interpolation::Point& p : {interpolation::Point{0, 0, 0}, {0.2, 0.3, 0.25}, {1.5, 0.5, 0.5}, {300, 0, 0}})
            {
                for (const auto& row : rows)
                {
                    interpolation::ElementNodes element = interpolation::gatherElement(row, nodes, value);
                    interpolation::evaluateShape(element, p);
                    total += element.sum();
                }
                for (const auto& row : faces)
                {
                    interpolation::ElementNodes face = interpolation::gatherElement(row, nodes, value);
                    interpolation::evaluateFaceShape(face, p);
                    total += face.sum();
                }
            }
        }
    };
    evaluateAll();
    const double once = total;
    const long before = allocations;
    for (int repeat = 0; repeat < 100; ++repeat)
    {
        total = 0.0;
        evaluateAll();
    }
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(total, once);
    EXPECT_TRUE(std::isfinite(total));
}

} // namespace
} // namespace tav3d::test
