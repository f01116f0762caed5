#pragma once

// Arrays and row tables whose items are numbered from 1, with their views from common/: entry 0 exists, is zero, and carries no datum.

#include "common/numbered_span.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <utility>

namespace tav3d::meshmapping
{

using common::listItems;
using common::NumberedSpan;

/// Array for items 1..n, zero-filled, entry 0 included. A negative n counts as 0.
template <class T>
[[nodiscard]] std::unique_ptr<T[]> makeNumbered(int n)
{
    return std::make_unique<T[]>(static_cast<std::size_t>(n > 0 ? n : 0) + 1);
}

/// Releases the rows of a table and the table itself; no table, nothing to do. `rowTotal` counts row 0.
template <class T>
void deleteRows(T** rows, int rowTotal)
{
    if (!rows)
        return;
    for (int r = 0; r < rowTotal; ++r)
        delete[] rows[r];
    delete[] rows;
}

/// Owner of a table of equally long rows, each row an allocation of its own: the form in which the mapping object keeps tables, which
/// takes it over by `release`.
template <class T>
class RowTable
{
public:
    RowTable() = default;

    /// Rows 0..n (n+1 of them) of `rowLength` entries, zero-filled. A negative n counts as 0.
    RowTable(int n, int rowLength)
        : rowTotal_((n > 0 ? n : 0) + 1)
        , rowLength_(rowLength)
    {
        rows_ = new T*[static_cast<std::size_t>(rowTotal_)]();
        try
        {
            for (int r = 0; r < rowTotal_; ++r)
                rows_[r] = new T[static_cast<std::size_t>(rowLength)]();
        }
        catch (...)
        {
            deleteRows(rows_, rowTotal_);
            throw;
        }
    }
    /// Room for rows 0..n that are made one by one, by `newRow`. Rows that are never made stay null.
    [[nodiscard]] static RowTable withoutRows(int n, int rowLength)
    {
        RowTable table;
        table.rowTotal_ = (n > 0 ? n : 0) + 1;
        table.rowLength_ = rowLength;
        table.rows_ = new T*[static_cast<std::size_t>(table.rowTotal_)]();
        return table;
    }

    /// Makes a row, zero from entry `used` on; the entries before are the caller's to fill. A row is in memory but once when it is made where
    /// it is filled.
    T* newRow(int row, int used)
    {
        assert(row >= 0 && row < rowTotal_ && !rows_[row] && used <= rowLength_);
        rows_[row] = new T[static_cast<std::size_t>(rowLength_)];
        std::fill(rows_[row] + used, rows_[row] + rowLength_, T{});
        return rows_[row];
    }
    RowTable(RowTable&& other) noexcept
        : rows_(std::exchange(other.rows_, nullptr))
        , rowTotal_(std::exchange(other.rowTotal_, 0))
        , rowLength_(other.rowLength_)
    {
    }
    RowTable& operator=(RowTable&& other) noexcept
    {
        std::swap(rows_, other.rows_);
        std::swap(rowTotal_, other.rowTotal_);
        std::swap(rowLength_, other.rowLength_);
        return *this;
    }
    ~RowTable() { deleteRows(rows_, rowTotal_); }

    [[nodiscard]] T* operator[](int row) const noexcept
    {
        assert(row >= 0 && row < rowTotal_);
        return rows_[row];
    }
    [[nodiscard]] T** data() const noexcept { return rows_; }
    [[nodiscard]] int rowTotal() const noexcept { return rowTotal_; }
    [[nodiscard]] explicit operator bool() const noexcept { return rows_ != nullptr; }
    [[nodiscard]] T** release() noexcept
    {
        rowTotal_ = 0;
        return std::exchange(rows_, nullptr);
    }

private:
    T** rows_ = nullptr;
    int rowTotal_ = 0;
    int rowLength_ = 0;
};

} // namespace tav3d::meshmapping
