#pragma once

// HDF5 identifiers that close themselves, and silence for HDF5's own error printing. Included by the file layer's sources only.

#include "cgns_types.h"

#include <hdf5.h>

#include <exception>
#include <utility>

namespace tav3d::opensuite::hdf5
{

/// Owns an HDF5 identifier. Negative = none; that is what a failed call returns, and callers test for it with `!`.
template <herr_t (*Close)(hid_t)>
class Handle
{
public:
    Handle() = default;
    explicit Handle(hid_t id) noexcept
        : id_(id)
    {
    }
    Handle(Handle&& other) noexcept
        : id_(std::exchange(other.id_, -1))
    {
    }
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(id_, other.id_);
        return *this;
    }
    ~Handle() { close(); }

    /// Closes now; false when HDF5 could not.
    bool close() noexcept
    {
        const hid_t id = std::exchange(id_, -1);
        return id < 0 || Close(id) >= 0;
    }
    explicit operator bool() const noexcept { return id_ >= 0; }
    [[nodiscard]] hid_t get() const noexcept { return id_; }

private:
    hid_t id_ = -1;
};

using File = Handle<H5Fclose>;
using Group = Handle<H5Gclose>;
using Dataset = Handle<H5Dclose>;
using Space = Handle<H5Sclose>;
using Type = Handle<H5Tclose>;
using Attribute = Handle<H5Aclose>;
using Properties = Handle<H5Pclose>;

/// While it lives, HDF5 prints no error stack on this thread; afterwards what a host had set is put back.
class Quiet
{
public:
    enum class AfterFailure
    {
        PutBack,
        StayQuiet, // HDF5 loses track of what it could not load from a damaged file, and would say so at the end of the process
    };

    explicit Quiet(AfterFailure afterFailure = AfterFailure::PutBack) noexcept
        : stayQuiet_(afterFailure == AfterFailure::StayQuiet)
        , exceptions_(std::uncaught_exceptions())
    {
        H5Eget_auto2(H5E_DEFAULT, &function_, &data_);
        H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    }
    ~Quiet()
    {
        H5Eclear2(H5E_DEFAULT);
        if (!stayQuiet_ || std::uncaught_exceptions() == exceptions_)
            H5Eset_auto2(H5E_DEFAULT, function_, data_);
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    bool stayQuiet_;
    int exceptions_;
    H5E_auto2_t function_ = nullptr;
    void* data_ = nullptr;
};

/// How elements of a type stand in the file. Not for types without elements.
inline hid_t fileType(CgnsType type)
{
    switch (type)
    {
    case CgnsType::Int32:
        return H5T_STD_I32LE;
    case CgnsType::Int64:
        return H5T_STD_I64LE;
    case CgnsType::Float:
        return H5T_IEEE_F32LE;
    case CgnsType::Double:
        return H5T_IEEE_F64LE;
    default:
        return H5T_STD_I8LE;
    }
}

/// How they stand in memory.
inline hid_t memoryType(CgnsType type)
{
    switch (type)
    {
    case CgnsType::Int32:
        return H5T_NATIVE_INT32;
    case CgnsType::Int64:
        return H5T_NATIVE_INT64;
    case CgnsType::Float:
        return H5T_NATIVE_FLOAT;
    case CgnsType::Double:
        return H5T_NATIVE_DOUBLE;
    default:
        return H5T_NATIVE_INT8;
    }
}

inline std::size_t elementSize(CgnsType type)
{
    switch (type)
    {
    case CgnsType::Int32:
    case CgnsType::Float:
        return 4;
    case CgnsType::Int64:
    case CgnsType::Double:
        return 8;
    default:
        return 1;
    }
}

inline constexpr const char* typeNames[] = {"MT", "C1", "I4", "I8", "R4", "R8", "LK"};

inline constexpr std::size_t nameSize = 33; // of the attributes name and label: 32 characters and a zero
inline constexpr std::size_t typeSize = 3;

} // namespace tav3d::opensuite::hdf5
