#pragma once

// Items captured during a mapping run for the Tecplot files.

class CTav3dQ7XMapping_Voxel2CutCell;

namespace tav3d::resultmapping
{

/// A capture table and how far it is filled. Entry 0 of row 0 counts the items offered; rows 1 and 2 hold the first two, later ones are only counted.
class TecplotCapture
{
public:
    TecplotCapture() = default;
    TecplotCapture(const TecplotCapture&) = delete;
    TecplotCapture& operator=(const TecplotCapture&) = delete;
    ~TecplotCapture();

    /// Allocates the table for nNode nodes through the driver's operation, which tells the count on standard output. Only the first call acts.
    void prepare(CTav3dQ7XMapping_Voxel2CutCell& driver, int nNode);

    /// Copies values 1..nNode into the next row; nodes beyond the table are left out.
    void add(const float* values, int nNode);

    [[nodiscard]] bool isPrepared() const noexcept { return table_ != nullptr; }
    [[nodiscard]] float** table() const noexcept { return table_; }

private:
    float** table_ = nullptr; // owned
    int nNode_ = 0;
};

} // namespace tav3d::resultmapping
