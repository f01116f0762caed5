#pragma once

namespace tav3d::test
{

/// How many cases a comparison makes: under sanitizers, which cost a multiple of the time and look for other faults, a tenth.
constexpr int caseCount(int cases) noexcept
{
#ifdef __SANITIZE_ADDRESS__
    return cases / 10;
#else
    return cases;
#endif
}

} // namespace tav3d::test
