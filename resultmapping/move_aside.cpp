#include "move_aside.h"

#include "common/file_names.h"

#include <chrono>
#include <iostream>
#include <thread>

namespace tav3d::resultmapping
{

namespace
{

constexpr int removeTries = 3;
constexpr int removeWait = 500; // ms
constexpr int renameTries = 5;
constexpr int renameWait = 5; // ms

void sleepFor(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace

const FileCalls& systemFileCalls() noexcept
{
    static constexpr FileCalls calls{common::removeFile, common::renameFile, sleepFor};
    return calls;
}

std::string voxelFileName(const std::string& fileName)
{
    const std::size_t dot = fileName.rfind('.');
    return fileName.substr(0, dot) + "_vox" + fileName.substr(dot);
}

int removeWithRetries(const char* fileName, const FileCalls& calls)
{
    int code = 0;
    // DELIBERATE removal-waits: a file that is not there is a failure like any other.
    for (int attempt = 0; attempt < removeTries; ++attempt)
    {
        code = calls.remove(fileName);
        if (code == 0)
            break;
        calls.wait(removeWait);
    }
    return code;
}

int moveAside(const char* fileName, const std::string& newName, const FileCalls& calls)
{
    removeWithRetries(newName.c_str(), calls);
    for (int attempt = 0; attempt < renameTries; ++attempt)
    {
        if (calls.rename(fileName, newName.c_str()) == 0)
            return 1;
        calls.wait(renameWait);
    }
    // DELIBERATE rename-message: the text is the same whatever the cause.
    std::cout << "Error renaming Vox file: Permission denied." << std::endl;
    return -1;
}

} // namespace tav3d::resultmapping
