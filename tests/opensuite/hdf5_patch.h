#pragma once

// Damaging files on purpose, through HDF5 itself, so that everything but the damage stays as it was.

#include <hdf5.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tav3d::test
{

template <class T>
inline hid_t nativeType();
template <>
inline hid_t nativeType<std::int32_t>()
{
    return H5T_NATIVE_INT32;
}
template <>
inline hid_t nativeType<float>()
{
    return H5T_NATIVE_FLOAT;
}
template <>
inline hid_t nativeType<double>()
{
    return H5T_NATIVE_DOUBLE;
}

inline hid_t checked(hid_t id)
{
    if (id < 0)
        throw std::runtime_error("the test cannot change the file as it means to");
    return id;
}

/// An HDF5 file open for changing, while it lives.
class Hdf5Patch
{
public:
    explicit Hdf5Patch(const std::string& file)
        : file_(checked(H5Fopen(file.c_str(), H5F_ACC_RDWR, H5P_DEFAULT)))
    {
    }
    ~Hdf5Patch() { H5Fclose(file_); }
    Hdf5Patch(const Hdf5Patch&) = delete;
    Hdf5Patch& operator=(const Hdf5Patch&) = delete;

    /// Overwrites element `index` (from 0) of the data of `node`; a negative index counts from the end.
    template <class T>
    void set(const std::string& node, std::int64_t index, T value) const
    {
        const hid_t dataset = checked(H5Dopen2(file_, (node + "/ data").c_str(), H5P_DEFAULT));
        const hid_t space = H5Dget_space(dataset);
        std::vector<T> values(static_cast<std::size_t>(H5Sget_simple_extent_npoints(space)));
        checked(H5Dread(dataset, nativeType<T>(), H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()));
        values.at(index < 0 ? values.size() - static_cast<std::size_t>(-index) : static_cast<std::size_t>(index)) = value;
        checked(H5Dwrite(dataset, nativeType<T>(), H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()));
        H5Sclose(space);
        H5Dclose(dataset);
    }

    /// Takes away the node or dataset at `path`.
    void remove(const std::string& path) const { checked(H5Ldelete(file_, path.c_str(), H5P_DEFAULT)); }

    /// Puts a dataset without values in the place of the node's data. `shape` may add a layout or a filter to its creation properties.
    void replaceData(const std::string& node, hid_t type, const std::vector<hsize_t>& dims,
                     const std::function<void(hid_t)>& shape = {}) const
    {
        remove(node + "/ data");
        const hid_t properties = H5Pcreate(H5P_DATASET_CREATE);
        if (shape)
            shape(properties);
        const hid_t space = dims.empty() ? H5Screate(H5S_SCALAR) : H5Screate_simple(static_cast<int>(dims.size()), dims.data(), nullptr);
        H5Dclose(checked(H5Dcreate2(file_, (node + "/ data").c_str(), type, space, H5P_DEFAULT, properties, H5P_DEFAULT)));
        H5Sclose(space);
        H5Pclose(properties);
    }

    /// Overwrites a text attribute of a node.
    void setText(const std::string& node, const char* attribute, const std::string& text) const
    {
        const hid_t group = checked(H5Gopen2(file_, node.c_str(), H5P_DEFAULT));
        const hid_t id = checked(H5Aopen(group, attribute, H5P_DEFAULT));
        const hid_t type = H5Aget_type(id);
        std::vector<char> padded(H5Tget_size(type), '\0');
        text.copy(padded.data(), padded.size());
        checked(H5Awrite(id, type, padded.data()));
        H5Tclose(type);
        H5Aclose(id);
        H5Gclose(group);
    }

    /// Puts a soft link to `target` in the place of the node at `path`.
    void replaceBySoftLink(const std::string& path, const std::string& target) const
    {
        remove(path);
        checked(H5Lcreate_soft(target.c_str(), file_, path.c_str(), H5P_DEFAULT, H5P_DEFAULT));
    }

    /// The same with a link into another file.
    void replaceByExternalLink(const std::string& path, const std::string& file, const std::string& target) const
    {
        remove(path);
        checked(H5Lcreate_external(file.c_str(), target.c_str(), file_, path.c_str(), H5P_DEFAULT, H5P_DEFAULT));
    }

private:
    hid_t file_;
};

} // namespace tav3d::test
