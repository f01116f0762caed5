#include "commands.h"

#ifdef _WIN32
#include "common/file_names.h"

#include <string>
#include <vector>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <shellapi.h>

namespace
{

/// Text on the console is UTF-8 while the program runs, as it is in files and pipes. Afterwards the console is as it was, also where the progress bar has
/// had it follow escape sequences.
class ConsoleInUtf8
{
public:
    ConsoleInUtf8()
    {
        hasMode_ = GetConsoleMode(errors_, &modeBefore_) != 0;
        SetConsoleOutputCP(CP_UTF8);
    }
    ~ConsoleInUtf8()
    {
        SetConsoleOutputCP(pageBefore_);
        if (hasMode_)
            SetConsoleMode(errors_, modeBefore_);
    }
    ConsoleInUtf8(const ConsoleInUtf8&) = delete;
    ConsoleInUtf8& operator=(const ConsoleInUtf8&) = delete;

private:
    HANDLE errors_ = GetStdHandle(STD_ERROR_HANDLE);
    UINT pageBefore_ = GetConsoleOutputCP();
    DWORD modeBefore_ = 0;
    bool hasMode_ = false;
};

/// The arguments in UTF-8. Those of main() are in the code page of the system, which has not the characters of all file names.
std::vector<std::string> argumentsInUtf8()
{
    std::vector<std::string> arguments;
    int count = 0;
    if (LPWSTR* const wide = CommandLineToArgvW(GetCommandLineW(), &count))
    {
        for (int k = 0; k < count; ++k)
            arguments.push_back(tav3d::common::nameOf(wide[k]));
        LocalFree(static_cast<HLOCAL>(wide));
    }
    return arguments;
}

} // namespace

int main()
{
    const ConsoleInUtf8 console;
    const std::vector<std::string> arguments = argumentsInUtf8();
    std::vector<const char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    return tav3d::tools::run(static_cast<int>(argv.size()), argv.data());
}

#else

int main(int argc, char** argv)
{
    return tav3d::tools::run(argc, argv);
}

#endif
