#pragma once

// The program's two streams: data goes to standard output; progress, messages and what the library prints go to standard error.

#include <string>

namespace tav3d::tools
{

/// While it lives, everything that is printed on standard output, through printf or streams, comes out on standard error: the library
/// reports on standard output, where the program's own data belongs. Do not nest.
class StandardOutputToStandardError
{
public:
    StandardOutputToStandardError();
    ~StandardOutputToStandardError();
    StandardOutputToStandardError(const StandardOutputToStandardError&) = delete;
    StandardOutputToStandardError& operator=(const StandardOutputToStandardError&) = delete;

private:
    int saved_; // descriptor of the real standard output; negative when there is none
};

/// Whether standard error is a terminal that follows escape sequences. A console of Windows is made to.
[[nodiscard]] bool standardErrorIsTerminal();

/// A bar on standard error that is redrawn in place. Nothing is drawn when standard error is no terminal; colour is left out when the
/// environment variable NO_COLOR is set and not empty.
class ProgressBar
{
public:
    explicit ProgressBar(std::string label);
    ~ProgressBar(); ///< clears the line
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void update(int done, int total);

private:
    std::string label_;
    bool isOn_;
    bool hasColour_;
};

} // namespace tav3d::tools
