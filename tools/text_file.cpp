#include "text_file.h"

#include "opensuite/replace_file.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace tav3d::tools
{

void writeTextFile(const std::string& path, std::string_view text)
{
    const fs::path temporary = opensuite::temporaryNameBeside(path);
    std::error_code ignored;
    try
    {
        std::ofstream file(temporary, std::ios::binary);
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.close();
        if (!file)
            throw std::runtime_error("cannot be written");
        opensuite::replaceFile(temporary, path);
    }
    catch (const std::exception& error)
    {
        fs::remove(temporary, ignored);
        throw std::runtime_error(path + ": " + error.what());
    }
}

void checkCanWrite(const std::string& path)
{
    const fs::path temporary = opensuite::temporaryNameBeside(path);
    std::error_code ignored;
    const bool canWrite = !fs::is_directory(path, ignored) && std::ofstream(temporary).is_open();
    fs::remove(temporary, ignored);
    if (!canWrite)
        throw std::runtime_error(path + ": cannot be written");
}

} // namespace tav3d::tools
