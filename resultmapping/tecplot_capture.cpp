#include "tecplot_capture.h"

#include "Tav3dQ7XMapping_Voxel2CutCell.h"

#include <algorithm>
#include <cstddef>

namespace tav3d::resultmapping
{

float** newCaptureTable(int nNode)
{
    auto** table = new float*[captureRows];
    for (int row = 0; row < captureRows; ++row)
        table[row] = new float[static_cast<std::size_t>(nNode) + 1]();
    return table;
}

TecplotCapture::~TecplotCapture()
{
    if (table_ == nullptr)
        return;
    for (int row = 0; row < captureRows; ++row)
        delete[] table_[row];
    delete[] table_;
}

void TecplotCapture::prepare(CTav3dQ7XMapping_Voxel2CutCell& driver, int nNode)
{
    if (table_ == nullptr)
        nNode_ = nNode;
    driver.NewResultArrayforTecplot(nNode, table_);
}

void TecplotCapture::add(const float* values, int nNode)
{
    table_[0][0] += 1.0f;
    const int row = static_cast<int>(table_[0][0]);
    if (row >= captureRows || values == nullptr)
        return;
    std::copy_n(values + 1, std::min(nNode, nNode_), table_[row] + 1);
}

} // namespace tav3d::resultmapping
