#pragma once

#include "common/file_names.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>

namespace tav3d::test
{

/// A fresh folder for one test, removed with everything in it at the end.
class ScratchFolder
{
public:
    explicit ScratchFolder(const std::filesystem::path& place = std::filesystem::temp_directory_path())
    {
        std::random_device random;
        do
            path_ = place / ("tav3d-test-" + std::to_string(random()) + "-" + std::to_string(random()));
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

    /// Full name of a file in it, with the system's separators.
    [[nodiscard]] std::string file(const std::string& name) const
    {
        return common::nameOf((path_ / common::pathOf(name)).make_preferred());
    }

    /// How many files and folders are in it.
    [[nodiscard]] std::ptrdiff_t entries() const
    {
        return std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator());
    }

private:
    std::filesystem::path path_;
};

/// The bytes of a file.
inline std::string readBytes(const std::string& file)
{
    std::ifstream stream(common::pathOf(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The text of a file that was written in text mode: lines that end with a line feed. On Windows they end with a carriage return too; all must.
inline std::string readText(const std::string& file)
{
    std::string text = readBytes(file);
#ifdef _WIN32
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; ++at)
    {
        if (at == 0 || text[at - 1] != '\r')
            throw std::runtime_error(file + " has a line without the system's end");
        text.erase(--at, 1);
    }
#endif
    return text;
}

inline void writeBytes(const std::string& file, const std::string& bytes)
{
    std::ofstream(common::pathOf(file), std::ios::binary) << bytes;
}

} // namespace tav3d::test
