// The targets, all in one place. Ratios: more is better; "at most 1.5 times the time of a peer" reads 1 / 1.5.

#include "benchmarks/ratio_table.h"

namespace tav3d::benchmarks
{

namespace
{

constexpr std::int64_t million = 1000000;

constexpr RatioTarget ratioTargets[] = {
    // Multiquadric quadrature at one data point.
    {"quadrature_hexa27", "ours", "plain", 0, 15.0},
    {"quadrature_hexa27", "ours_sse2", "plain", 0, 7.0},
    {"quadrature_hexa27", "ours", "eigen", 0, 6.0},
    {"quadrature_hexa27", "ours", "lapack", 0, 6.0},
    {"quadrature_tetra", "ours", "plain", 0, 12.0},
    {"quadrature_center", "ours", "plain", 0, 8.0},
    {"quadrature_host_call", "ours", "plain", 0, 7.0},
    // Neighbour sorting.
    {"sorting_uniform", "ours", "nanoflann", million, 1.0},
    {"sorting_clustered", "ours", "nanoflann", million, 1.0 / 1.2},
    {"neighbour_rows", "ours", "ordered_sets", million, 4.0},
    // Point search tree.
    {"search_tree_build", "ours", "nanoflann", million, 1.0 / 1.5},
    {"search_tree_nearest", "ours", "nanoflann", million, 1.0},
    {"search_tree_data_point", "ours", "nanoflann", million, 1.0},
    {"search_tree_in_order", "ours", "nanoflann", million, 1.0},
    // Shape functions at a physical point.
    {"shape_hexa_distorted", "ours", "vtk", million, 5.0},
    {"shape_hexa_affine", "ours", "vtk", million, 5.0},
    {"shape_tetra", "ours", "vtk", million, 5.0},
    // Loading of a thin part.
    {"gauss_search", "ours", "plain", million, 10.0},
    {"cut_cell_search", "ours", "plain", million, 5.0},
    // One result item smoothed and picked up, against copies of the same arrays.
    {"smoothing_and_pick_up", "ours", "copy", million, 0.6},
    // A model's results mapped, against reading and writing the same bytes.
    {"map_ten_items", "ours", "hdf5", million, 1.0 / 1.3},
};

constexpr GrowthTarget growthTargets[] = {
    {"quadrature_growth", 1.15}, {"sorting_uniform", 1.15},        {"sorting_clustered", 1.15},    {"neighbour_rows", 1.15},
    {"search_tree_build", 1.15}, {"search_tree_nearest", 1.15},    {"gauss_search", 1.15},         {"cut_cell_search", 1.15},
    {"model_loading", 1.15},     {"search_tree_data_point", 1.15}, {"map_ten_items", 1.15},        {"smoothing_and_pick_up", 1.15},
    {"shape_tetra", 1.15},       {"shape_hexa_distorted", 1.15},   {"search_tree_in_order", 1.15},
};

constexpr CounterTarget counterTargets[] = {
    {"model_loading", "memory_over_tables", 1.2},
};

constexpr Targets all{ratioTargets, growthTargets, counterTargets};

} // namespace

const Targets& projectTargets()
{
    return all;
}

} // namespace tav3d::benchmarks
