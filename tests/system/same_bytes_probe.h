#pragma once

// What the parts of the probe share: files of raw bits, and numbers that are the same wherever they are made.

#include <cstddef>
#include <fstream>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <type_traits>

namespace tav3d::probe
{

/// The file "probe-<subject>.bin" in the working directory: the bits of whatever is added, one after the other. NaN is NaN: which of two a sum passes on
/// depends on the order in which a compiler hands them to the processor, and so does the sign.
class Record
{
public:
    explicit Record(const std::string& subject)
        : file_("probe-" + subject + ".bin", std::ios::binary)
    {
    }

    template <class T>
    requires std::is_arithmetic_v<T>
    void add(T value)
    {
        if (value != value)
            value = std::numeric_limits<T>::quiet_NaN();
        file_.write(reinterpret_cast<const char*>(&value), sizeof value);
    }

    /// Entries 1..count of a numbered array; nothing of one that is not there.
    template <class T>
    void addNumbered(const T* values, int count)
    {
        for (int i = 1; values != nullptr && i <= count; ++i)
            add(values[i]);
    }

    /// A counted list.
    void addRow(const int* row) { addNumbered(row, row[0]); }

private:
    std::ofstream file_;
};

/// Numbers in [low, high). (What the standard's distributions give is the library's choice, the generator's numbers are not.)
class Numbers
{
public:
    explicit Numbers(unsigned seed)
        : random_(seed)
    {
    }
    double next(double low, double high) { return low + (high - low) * (static_cast<double>(random_()) / 4294967296.0); }

private:
    std::mt19937 random_;
};

/// The engine: quadrature, sorting, search, shape functions, "30.plt", and what it prints.
void probeEngine();

/// The mapping object on a mesh file: tables, smoothing, pick-up, Tecplot files, and what it prints; then the driver's words.
void probeMapping(const std::string& meshFile);

} // namespace tav3d::probe
