#pragma once

// Arrays and row tables whose items are numbered from 1, with their views from common/: entry 0 exists, is zero, and carries no datum.

#include "common/numbered_span.h"

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
    RowTable(RowTable&& other) noexcept
        : rows_(std::exchange(other.rows_, nullptr))
        , rowTotal_(std::exchange(other.rowTotal_, 0))
    {
    }
    RowTable& operator=(RowTable&& other) noexcept
    {
        std::swap(rows_, other.rows_);
        std::swap(rowTotal_, other.rowTotal_);
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
};

} // namespace tav3d::meshmapping
