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

} // namespace tav3d::opensuite::result_layout
