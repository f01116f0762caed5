#pragma once

namespace tav3d::common
{

/// Ways to compute with several doubles at a time, from the one that every processor has to the widest.
enum class LaneSet
{
    plain, ///< one double at a time
    sse2,  ///< two; every x86-64 processor
    avx2,  ///< four; where processor and operating system have it
};

/// Whether this build has code for the lane set and this machine can run it.
[[nodiscard]] bool canRun(LaneSet lanes) noexcept;

/// The widest lane set that can run here. Asks the processor once.
[[nodiscard]] LaneSet bestLaneSet() noexcept;

} // namespace tav3d::common
