#include "result_names.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tav3d::resultmapping
{

namespace
{

template <std::size_t N>
constexpr bool contains(const std::array<int, N>& items, int item)
{
    return std::find(items.begin(), items.end(), item) != items.end();
}

constexpr std::array fillingCavityItems{6, 14, 17, 19, 20};
constexpr std::array coolingCavityItems{1, 2, 17, 53};
constexpr std::array coolingOtherItems{3, 4, 5, 16, 33};
constexpr int rsfCavityItem = 9;

} // namespace

std::string extensionOf(const std::string& fileName)
{
    return fileName.substr(fileName.rfind('.')); // DELIBERATE name-without-dot: npos is out of range
}

FileKind kindOfExtension(const std::string& extension)
{
    struct Row
    {
        std::string_view extension;
        FileKind kind;
    };
    static constexpr std::array<Row, 6> rows{{{".q7f", {file_type::q7f, 0}},
                                              {".rsf", {file_type::rsf, 0}},
                                              {".q7p", {file_type::q7p, 1}},
                                              {".q7c", {file_type::q7c, 2}},
                                              {".q7hc", {file_type::q7hc, 2}},
                                              {".rsc", {file_type::rsc, 2}}}};
    // DELIBERATE extension-is-exact: neither case nor what follows a valid extension is forgiven.
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.extension == extension; });
    return row != rows.end() ? row->kind : FileKind{file_type::unknown, 3};
}

bool isKnownItem(std::int32_t fileType, int item, bool& isCavity)
{
    switch (fileType)
    {
    case file_type::q7f:
    case file_type::q7p:
        isCavity = contains(fillingCavityItems, item);
        return true;
    case file_type::q7c:
    case file_type::q7hc:
        isCavity = contains(coolingCavityItems, item);
        return isCavity || contains(coolingOtherItems, item);
    case file_type::rsc:
        isCavity = false;
        return true;
    case file_type::rsf:
        isCavity = item == rsfCavityItem;
        return true;
    default:
        return false;
    }
}

} // namespace tav3d::resultmapping
