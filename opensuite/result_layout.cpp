#include "result_layout.h"

#include "TAV3DCoolTools.h"

namespace tav3d::opensuite::result_layout
{

std::string arrayName(const CBinaryResultItem& item)
{
    constexpr std::size_t longest = 32;
    const std::string suffix = " (" + std::to_string(item.m_iResultItemID) + ")";

    std::string name;
    for (const char c : item.m_strName)
        name += c == '/' ? '_' : c; // '/' separates the names of a path
    if (name.empty() || name.front() == ' ' || name.front() == '.')
        name = "Item" + name;
    if (name.size() + suffix.size() > longest)
    {
        std::size_t end = longest - suffix.size();
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) // not inside a UTF-8 character
            --end;
        name.resize(end);
    }
    return name + suffix;
}

std::size_t firstMisfit(std::span<const std::int32_t> id, std::int32_t nodeTotal)
{
    if (id.size() < 2)
        return 0;
    // First as a whole, without a branch per entry: where all entries ascend, the last is the highest.
    bool misfits = id[1] < 1;
    for (std::size_t k = 2; k < id.size(); ++k)
        misfits |= id[k] <= id[k - 1];
    if (!misfits && id.back() <= nodeTotal)
        return 0;
    std::size_t k = 1;
    for (std::int32_t before = 0; id[k] > before && id[k] <= nodeTotal; ++k)
        before = id[k];
    return k;
}

} // namespace tav3d::opensuite::result_layout
