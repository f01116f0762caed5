#include "interpolation/resource_file.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"

#include <algorithm>
#include <iostream>

namespace tav3d::interpolation
{

namespace
{

void reportOpenError(int code)
{
    std::cout << "Open Binary File Error!! Error ID=" << code << "  => ";
    switch (code)
    {
    case -1:
        std::cout << "fileName is NULL!\n";
        break;
    case -2:
        std::cout << "m_pFile is NULL!\n";
        break;
    case -3:
        std::cout << "writing result table data to be error!\n";
        break;
    case -4:
        std::cout << "Not binary file!\n";
        break;
    default:
        break; // DELIBERATE open-error-unknown-code: an unknown code ends the text without a line end
    }
}

} // namespace

std::optional<LoadedFields> loadFields(const char* fileName)
{
    CTAV3DResultReader_Manipulator reader;
    const int status = reader.BeginReading(fileName, "");
    if (status < 0)
    {
        reportOpenError(status);
        return std::nullopt;
    }

    CBinaryInform inform;
    CBinaryWriteTools::GetBinaryInform(inform, reader, 0);
    LoadedFields fields;
    for (const CBinaryResultItem& item : inform.m_ResultItem)
    {
        const int dimension = std::max(CBinaryWriteTools::GetResultItemDimension(item.m_iResultType, reader), 0);
        const auto size = static_cast<std::size_t>(dimension) + 1;
        std::vector<float> buffer(size);
        reader.GetResultItem(item.m_iResultItemID, buffer.data());
        auto field = std::make_unique<float[]>(size);
        std::copy_n(buffer.begin() + 1, dimension, field.get() + 1);
        fields.push_back(std::move(field));
    }
    reader.EndReading();
    return fields;
}

} // namespace tav3d::interpolation
