#include "common/processor.h"

#include "common/compiler.h"

#if defined(TAV3D_X86_64) && defined(_MSC_VER)
#include <intrin.h>
#endif

namespace tav3d::common
{

namespace
{

#if defined(TAV3D_X86_64) && defined(_MSC_VER)

/// The processor must have AVX2, and the operating system must keep the wide registers (it says so in XCR0).
bool hasAvx2() noexcept
{
    int leaf[4];
    __cpuid(leaf, 0);
    if (leaf[0] < 7)
        return false;
    __cpuid(leaf, 1);
    constexpr int osxsaveAndAvx = (1 << 27) | (1 << 28);
    if ((leaf[2] & osxsaveAndAvx) != osxsaveAndAvx || (_xgetbv(0) & 6) != 6)
        return false;
    __cpuidex(leaf, 7, 0);
    return (leaf[1] & (1 << 5)) != 0;
}

#elif defined(TAV3D_X86_64)

bool hasAvx2() noexcept
{
    return __builtin_cpu_supports("avx2"); // the operating system's part included
}

#else

bool hasAvx2() noexcept
{
    return false;
}

#endif

} // namespace

bool canRun(LaneSet lanes) noexcept
{
    switch (lanes)
    {
    case LaneSet::avx2:
    {
        static const bool answer = hasAvx2();
        return answer;
    }
    case LaneSet::sse2:
#if defined(TAV3D_X86_64)
        return true;
#else
        return false;
#endif
    default:
        return true;
    }
}

LaneSet bestLaneSet() noexcept
{
    return canRun(LaneSet::avx2) ? LaneSet::avx2 : canRun(LaneSet::sse2) ? LaneSet::sse2 : LaneSet::plain;
}

} // namespace tav3d::common
