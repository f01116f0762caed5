#include "tecplot_capture.h"

#include "Tav3dQ7XMapping_Voxel2CutCell.h"
#include "meshmapping/tecplot_output.h"

#include <algorithm>
#include <cstddef>

namespace tav3d::resultmapping
{

TecplotCapture::~TecplotCapture()
{
    meshmapping::deleteCaptureTable(table_);
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
    // DELIBERATE capture-two-items: the table has no row for more.
    if (row >= meshmapping::captureRowTotal || values == nullptr)
        return;
    std::copy_n(values + 1, std::min(nNode, nNode_), table_[row] + 1);
}

} // namespace tav3d::resultmapping
