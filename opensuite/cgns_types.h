#pragma once

// What the writer and the reader of CGNS-shaped files have in common.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tav3d::opensuite
{

/// Data types of a node, with their two-letter names in the file.
enum class CgnsType
{
    Empty,  // MT
    Char,   // C1
    Int32,  // I4
    Int64,  // I8
    Float,  // R4
    Double, // R8
    Link,   // LK
};

/// The data type that holds elements of type T.
template <class T>
inline constexpr CgnsType cgnsTypeOf = CgnsType::Empty;
template <>
inline constexpr CgnsType cgnsTypeOf<char> = CgnsType::Char;
template <>
inline constexpr CgnsType cgnsTypeOf<std::int32_t> = CgnsType::Int32;
template <>
inline constexpr CgnsType cgnsTypeOf<std::int64_t> = CgnsType::Int64;
template <>
inline constexpr CgnsType cgnsTypeOf<float> = CgnsType::Float;
template <>
inline constexpr CgnsType cgnsTypeOf<double> = CgnsType::Double;

/// An element type of array nodes.
template <class T>
concept CgnsElement = cgnsTypeOf<T>
!= CgnsType::Empty;

/// Dimensions of a node's data, the one that runs fastest first.
using CgnsDims = std::vector<std::int64_t>;

/// What a node says about itself.
struct CgnsNodeInfo
{
    std::string label;
    CgnsType type = CgnsType::Empty;
    CgnsDims dims;          // empty for a node without data
    std::int64_t count = 0; // number of elements: the product of dims, 0 for a node without data
};

/// Where a link node points.
struct CgnsLinkTarget
{
    std::string file; // relative to the folder of the file that holds the link, unless absolute
    std::string path; // of a node in that file
};

/// Path of the child `name` of the node at `parent`; "/" is the root.
[[nodiscard]] inline std::string childPath(const std::string& parent, const std::string& name)
{
    return parent == "/" ? "/" + name : parent + "/" + name;
}

} // namespace tav3d::opensuite
