// Computes with everything whose bits are promised to be the same in every build on every system, and writes them to files in the working directory:
//   same_bytes_probe MESH.krn     probe-<subject>.bin, Tecplot files, and what the classes print
//   same_bytes_probe zero-row     the fatal error of the dense solver: three lines, and exit status 1
// tests/system/same_bytes.py compares what two builds of it write.

#include "same_bytes_probe.h"

#include "common/exact_math.h"
#include "common/number_text.h"
#include "common/processor.h"
#include "interpolation/sol_interpolation.h"

#include <bit>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace
{

using namespace tav3d;

void probeMathematics()
{
    probe::Record record("mathematics");
    probe::Numbers numbers(1);
    for (int i = 0; i < 20000; ++i)
    {
        record.add(common::exponential(numbers.next(-760, 720)));
        record.add(common::exponential(numbers.next(-3, 0)));
        const double x = numbers.next(0, 10);
        record.add(common::fractionalPower(x, numbers.next(0, 1)));
    }
}

/// Texts of numbers of all sizes, half of them random bits.
void probeNumberText()
{
    std::ofstream file("probe-texts.bin", std::ios::binary);
    std::mt19937_64 random(2);
    for (int i = 0; i < 5000; ++i)
    {
        const double wild = std::bit_cast<double>(static_cast<std::uint64_t>(random()));
        const double tame = static_cast<double>(static_cast<std::int32_t>(random())) / 1024;
        for (const double value : {wild, tame})
            file << common::general(value) << ' ' << common::scientific(value, 4) << ' ' << common::fixed(value, 2) << ' '
                 << common::shortest(value) << ' ' << common::shortest(static_cast<float>(value)) << '\n';
    }
}

int endWithZeroRow()
{
    CSolInterpolation engine;
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    double x[] = {0, nan, nan, nan};
    double weight[4];
    double c = 1.0;
    engine.LMQDQ_Wighting(x, x, x, 3, c, weight, weight, weight);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: same_bytes_probe MESH.krn | zero-row\n");
        return 2;
    }
    if (std::string(argv[1]) == "zero-row")
        return endWithZeroRow();
    std::printf("lanes chosen: %d\n", static_cast<int>(common::bestLaneSet()));
    probeMathematics();
    probeNumberText();
    probe::probeEngine();
    probe::probeMapping(argv[1]);
    return 0;
}
