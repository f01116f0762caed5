#pragma once

// What follows from the name of a result file: its kind, the solver family that wrote it, and which of its items are mapped and smoothed.

#include <cstdint>
#include <string>

namespace tav3d::resultmapping
{

/// Numbers of the file kinds. They are not in the order of the extension test, and hosts and result rules rely on them.
namespace file_type
{
inline constexpr std::int32_t q7f = 0;
inline constexpr std::int32_t q7p = 1;
inline constexpr std::int32_t q7c = 2;
inline constexpr std::int32_t rsc = 3;
inline constexpr std::int32_t q7hc = 4;
inline constexpr std::int32_t unknown = 5;
inline constexpr std::int32_t rsf = 6;
} // namespace file_type

struct FileKind
{
    std::int32_t type;
    std::int32_t solver; ///< solver family: 0 filling, 1 packing, 2 cooling, 3 none
};

/// From the last "." of the whole path to its end, the dot included. Throws std::out_of_range without a ".".
[[nodiscard]] std::string extensionOf(const std::string& fileName);

/// The kind that goes with an extension; the comparison is exact, upper case included. An extension that matches none gives the unknown kind with
/// solver family 3, for which no item is known: every item is then copied as it is.
[[nodiscard]] FileKind kindOfExtension(const std::string& extension);

/// Whether items `item` of a file of this type are mapped to the cut-cell mesh. `isCavity` tells whether they are smoothed as well when smoothing
/// is asked for; it stays as it was for the unknown type.
[[nodiscard]] bool isKnownItem(std::int32_t fileType, int item, bool& isCavity);

} // namespace tav3d::resultmapping
