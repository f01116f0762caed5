#pragma once

// What is different between two result files, or two mesh files.

#include "result_items.h"
#include "vec3.h"

#include <optional>
#include <string>
#include <vector>

namespace tav3d::tools
{

/// A value of the description that is not the same; a side that has none is empty.
struct DescriptionDifference
{
    std::string what; ///< "filling time", "item 6 (Temperature): unit"
    std::string a, b;
};

/// Where a difference is largest.
struct DifferenceSpot
{
    std::int64_t number = 0;   ///< of the node; 0 = there is no difference
    double difference = 0.0;   ///< infinite where only one side is a number
    double a = 0.0, b = 0.0;   ///< the values; not used for coordinates
    std::optional<Vec3> place; ///< of the node, in mesh length units, where a mesh tells it
};

/// One item of two results, or one table of two meshes.
struct TableComparison
{
    bool isItem = false;        ///< else a table of a mesh
    int item = 0;               ///< its number
    std::string name;           ///< "item 6 (Temperature)", "voxel mesh: coordinates"
    std::string unit;           ///< of the values; may be empty
    const char* entry = "node"; ///< what the numbers count
    std::int64_t compared = 0;  ///< entries that both sides have
    std::int64_t differing = 0; ///< of these, by more than the tolerance
    std::int64_t onlyInA = 0;   ///< entries that one side alone has
    std::int64_t onlyInB = 0;
    std::int64_t firstDiffering = 0; ///< number of the first differing entry; 0 = none
    DifferenceSpot absolute;         ///< largest |a - b|; for coordinates the distance. Also when it is within the tolerance
    DifferenceSpot relative;         ///< largest |a - b| / max(|a|, |b|); not for coordinates

    [[nodiscard]] bool isEqual() const noexcept { return differing == 0 && onlyInA == 0 && onlyInB == 0; }
};

struct FileComparison
{
    FileKind kind = FileKind::Result;
    std::vector<DescriptionDifference> description;
    std::vector<TableComparison> tables;       ///< items in the order of file A's item table; tables of the meshes
    std::vector<std::string> onlyInA, onlyInB; ///< items, meshes that one file alone has
    std::vector<std::string> notes;            ///< what does not count as a difference but should be known

    [[nodiscard]] bool isEqual() const noexcept;
};

/// Numbers are equal when they differ by `tolerance` at most; two NaN are equal, 0 equals -0, and NaN differs from every number. The tolerance holds
/// for values, recorded extremes, times and coordinates alike. The place of the mesh file is not compared.
/// Throws std::runtime_error when a file cannot be read or the two are not of one kind.
[[nodiscard]] FileComparison compareFiles(const std::string& a, const std::string& b, double tolerance);

// The two halves of it.
[[nodiscard]] FileComparison compareResults(const std::string& a, const std::string& b, double tolerance);
[[nodiscard]] FileComparison compareMeshes(const std::string& a, const std::string& b, double tolerance);

/// |a - b|; 0 for two NaN, infinite when one is NaN.
[[nodiscard]] double distanceOf(double a, double b) noexcept;

} // namespace tav3d::tools
