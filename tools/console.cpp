#include "console.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#ifdef _WIN32
#include <io.h>

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace tav3d::tools
{

namespace
{

#ifdef _WIN32
constexpr int standardOutput = 1;
constexpr int standardError = 2;
int duplicate(int descriptor)
{
    return _dup(descriptor);
}
int duplicateOnto(int from, int onto)
{
    return _dup2(from, onto);
}
void closeDescriptor(int descriptor)
{
    _close(descriptor);
}
/// A console that follows escape sequences; consoles of Windows are told to, and older ones do not know them. NUL is no console, though _isatty says so.
bool isTerminal(int descriptor)
{
    const auto console = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}
#else
constexpr int standardOutput = STDOUT_FILENO;
constexpr int standardError = STDERR_FILENO;
int duplicate(int descriptor)
{
    return dup(descriptor);
}
int duplicateOnto(int from, int onto)
{
    return dup2(from, onto);
}
void closeDescriptor(int descriptor)
{
    close(descriptor);
}
bool isTerminal(int descriptor)
{
    return isatty(descriptor) != 0;
}
#endif

void flushStandardOutput()
{
    std::cout.flush();
    std::fflush(stdout);
}

} // namespace

StandardOutputToStandardError::StandardOutputToStandardError()
{
    flushStandardOutput();
    saved_ = duplicate(standardOutput);
    if (saved_ >= 0)
        duplicateOnto(standardError, standardOutput);
}

StandardOutputToStandardError::~StandardOutputToStandardError()
{
    flushStandardOutput();
    if (saved_ < 0)
        return;
    duplicateOnto(saved_, standardOutput);
    closeDescriptor(saved_);
}

bool standardErrorIsTerminal()
{
    return isTerminal(standardError);
}

ProgressBar::ProgressBar(std::string label)
    : label_(std::move(label))
    , isOn_(standardErrorIsTerminal())
{
    const char* noColour = std::getenv("NO_COLOR");
    hasColour_ = noColour == nullptr || *noColour == '\0';
    update(0, 1);
}

ProgressBar::~ProgressBar()
{
    if (isOn_)
        std::cerr << "\r\033[K" << std::flush;
}

void ProgressBar::update(int done, int total)
{
    if (!isOn_)
        return;
    constexpr int width = 24;
    const int filled = total > 0 ? std::clamp(static_cast<int>(static_cast<long long>(width) * done / total), 0, width) : width;
    std::string bar;
    for (int i = 0; i < width; ++i)
        bar += i < filled ? "#" : ".";
    if (hasColour_)
        bar = "\033[32m" + bar.substr(0, filled) + "\033[0m" + bar.substr(filled);
    std::cerr << "\r\033[K" << label_ << " [" << bar << "] " << done << '/' << total << std::flush;
}

} // namespace tav3d::tools
