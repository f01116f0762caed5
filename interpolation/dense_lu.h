#pragma once

// Small dense systems A x = b: records, LU decomposition and substitution. Everything here counts from 0.

#include <cstddef>
#include <memory>
#include <string>

namespace tav3d::interpolation
{

/// Dense matrix, row by row in one block. Elements start uninitialised. A matrix without rows is allowed.
struct NRMat
{
    NRMat(int rows, int columns)
        : nn(rows)
        , mm(columns)
    {
        if (rows < 1)
            return;
        auto row = std::make_unique_for_overwrite<double*[]>(static_cast<std::size_t>(rows));
        row[0] = new double[static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns)];
        for (int i = 1; i < rows; ++i)
            row[i] = row[i - 1] + columns;
        v = row.release();
    }
    ~NRMat()
    {
        if (v != nullptr)
        {
            delete[] v[0];
            delete[] v;
        }
    }
    NRMat(const NRMat&) = delete;
    NRMat& operator=(const NRMat&) = delete;

    double* operator[](int row) { return v[row]; }
    const double* operator[](int row) const { return v[row]; }

    int nn;               ///< rows
    int mm;               ///< columns
    double** v = nullptr; ///< row pointers; v[0] is the block
};

/// Dense vector of int or double, elements uninitialised.
template <class T>
struct NRVec
{
    explicit NRVec(int n)
        : nn(n)
        , v(new T[static_cast<std::size_t>(n)])
    {
    }
    ~NRVec() { delete[] v; }
    NRVec(const NRVec&) = delete;
    NRVec& operator=(const NRVec&) = delete;

    T& operator[](int i) { return v[i]; }
    const T& operator[](int i) const { return v[i]; }

    int nn;
    T* v;
};

/// Replaces the square matrix a by the LU decomposition of a row permutation of it.
///   indx  out  indx[j] = the row exchanged with row j
///   d     out  +1.0 or -1.0: even or odd number of exchanges
/// A row of exact zeros ends the process (nrerror). A zero pivot becomes 1.0e-20.
void ludcmp(NRMat& a, NRVec<int>& indx, double& d);

/// Replaces b by the solution x of A x = b, with a and indx from ludcmp(A). One decomposition serves any number of right-hand sides.
void lubksb(const NRMat& a, const NRVec<int>& indx, NRVec<double>& b);

/// Fatal error: three lines on standard error, then the process ends with exit status 1, and the host program with it.
[[noreturn]] void nrerror(std::string text);

} // namespace tav3d::interpolation
