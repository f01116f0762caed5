#pragma once

// Declarations of the suite's box tree. Spelling is part of the suite's interface.

/// Search structure over axis-aligned boxes, each with a number. Boxes are handed over with their *upper* corner first, queries with their
/// *lower* corner first.
class CTAVOptKer
{
public:
    CTAVOptKer();
    ~CTAVOptKer();
    CTAVOptKer(const CTAVOptKer&) = delete;
    CTAVOptKer& operator=(const CTAVOptKer&) = delete;

    /// Announces the range of the boxes and three tuning numbers (always 1, 10000, 200000). Boxes outside of the range are found as well.
    void SetADTreeRange(double xMax, double yMax, double zMax, double xMin, double yMin, double zMin, int level, int blockSize,
                        int capacity);

    /// Adds one box under the number `id`.
    void AddSurfaceToADTree(int id, double xMax, double yMax, double zMax, double xMin, double yMin, double zMin);

    /// All boxes that overlap the query box; boxes that only touch it count. Returns `count` numbers, ascending, at entries 0..count-1 of an
    /// array that belongs to the tree and is valid until the next call on it. `option` is always 0.
    int* SearchNearBlockID(double xMin, double yMin, double zMin, double xMax, double yMax, double zMax, int& count, int option);

private:
    class Impl;
    Impl* m_pImpl; // owned
};
