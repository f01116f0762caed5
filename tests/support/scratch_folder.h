#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace tav3d::test
{

/// A fresh folder for one test, removed with everything in it at the end.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::random_device random;
        do
            path_ = std::filesystem::temp_directory_path() / ("tav3d-test-" + std::to_string(random()) + "-" + std::to_string(random()));
        while (!std::filesystem::create_directory(path_));
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    /// Full name of a file in it.
    [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }

    /// How many files and folders are in it.
    [[nodiscard]] std::ptrdiff_t entries() const
    {
        return std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator());
    }

private:
    std::filesystem::path path_;
};

inline std::string readBytes(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void writeBytes(const std::string& file, const std::string& bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

} // namespace tav3d::test
