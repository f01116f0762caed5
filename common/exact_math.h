#pragma once

// Exponential and powers whose value is defined here, bit for bit: by plain IEEE operations in double (+, -, *, /, square root) in the written order.
// Those of the C libraries differ from each other in the last bit, and one library from itself on processors with and without a fused
// multiply-add; results would then depend on the system. Nothing else in this project calls such a function (tests/house/own_mathematics.py).

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tav3d::common
{

/// 2^(j/64) as the unevaluated sum of two doubles.
struct SplitPower
{
    double high, low;
};

// clang-format off
inline constexpr std::array<SplitPower, 64> rootsOfTwo{{
        {0x1.0000000000000p+0, 0x0.0p+0}, {0x1.02c9a3e778061p+0, -0x1.19083535b085dp-56},
        {0x1.059b0d3158574p+0, 0x1.d73e2a475b465p-55}, {0x1.0874518759bc8p+0, 0x1.186be4bb284ffp-57},
        {0x1.0b5586cf9890fp+0, 0x1.8a62e4adc610bp-54}, {0x1.0e3ec32d3d1a2p+0, 0x1.03a1727c57b53p-59},
        {0x1.11301d0125b51p+0, -0x1.6c51039449b3ap-54}, {0x1.1429aaea92de0p+0, -0x1.32fbf9af1369ep-54},
        {0x1.172b83c7d517bp+0, -0x1.19041b9d78a76p-55}, {0x1.1a35beb6fcb75p+0, 0x1.e5b4c7b4968e4p-55},
        {0x1.1d4873168b9aap+0, 0x1.e016e00a2643cp-54}, {0x1.2063b88628cd6p+0, 0x1.dc775814a8495p-55},
        {0x1.2387a6e756238p+0, 0x1.9b07eb6c70573p-54}, {0x1.26b4565e27cddp+0, 0x1.2bd339940e9d9p-55},
        {0x1.29e9df51fdee1p+0, 0x1.612e8afad1255p-55}, {0x1.2d285a6e4030bp+0, 0x1.0024754db41d5p-54},
        {0x1.306fe0a31b715p+0, 0x1.6f46ad23182e4p-55}, {0x1.33c08b26416ffp+0, 0x1.32721843659a6p-54},
        {0x1.371a7373aa9cbp+0, -0x1.63aeabf42eae2p-54}, {0x1.3a7db34e59ff7p+0, -0x1.5e436d661f5e3p-56},
        {0x1.3dea64c123422p+0, 0x1.ada0911f09ebcp-55}, {0x1.4160a21f72e2ap+0, -0x1.ef3691c309278p-58},
        {0x1.44e086061892dp+0, 0x1.89b7a04ef80d0p-59}, {0x1.486a2b5c13cd0p+0, 0x1.3c1a3b69062f0p-56},
        {0x1.4bfdad5362a27p+0, 0x1.d4397afec42e2p-56}, {0x1.4f9b2769d2ca7p+0, -0x1.4b309d25957e3p-54},
        {0x1.5342b569d4f82p+0, -0x1.07abe1db13cadp-55}, {0x1.56f4736b527dap+0, 0x1.9bb2c011d93adp-54},
        {0x1.5ab07dd485429p+0, 0x1.6324c054647adp-54}, {0x1.5e76f15ad2148p+0, 0x1.ba6f93080e65ep-54},
        {0x1.6247eb03a5585p+0, -0x1.383c17e40b497p-54}, {0x1.6623882552225p+0, -0x1.bb60987591c34p-54},
        {0x1.6a09e667f3bcdp+0, -0x1.bdd3413b26456p-54}, {0x1.6dfb23c651a2fp+0, -0x1.bbe3a683c88abp-57},
        {0x1.71f75e8ec5f74p+0, -0x1.16e4786887a99p-55}, {0x1.75feb564267c9p+0, -0x1.0245957316dd3p-54},
        {0x1.7a11473eb0187p+0, -0x1.41577ee04992fp-55}, {0x1.7e2f336cf4e62p+0, 0x1.05d02ba15797ep-56},
        {0x1.82589994cce13p+0, -0x1.d4c1dd41532d8p-54}, {0x1.868d99b4492edp+0, -0x1.fc6f89bd4f6bap-54},
        {0x1.8ace5422aa0dbp+0, 0x1.6e9f156864b27p-54}, {0x1.8f1ae99157736p+0, 0x1.5cc13a2e3976cp-55},
        {0x1.93737b0cdc5e5p+0, -0x1.75fc781b57ebcp-57}, {0x1.97d829fde4e50p+0, -0x1.d185b7c1b85d1p-54},
        {0x1.9c49182a3f090p+0, 0x1.c7c46b071f2bep-56}, {0x1.a0c667b5de565p+0, -0x1.359495d1cd533p-54},
        {0x1.a5503b23e255dp+0, -0x1.d2f6edb8d41e1p-54}, {0x1.a9e6b5579fdbfp+0, 0x1.0fac90ef7fd31p-54},
        {0x1.ae89f995ad3adp+0, 0x1.7a1cd345dcc81p-54}, {0x1.b33a2b84f15fbp+0, -0x1.2805e3084d708p-57},
        {0x1.b7f76f2fb5e47p+0, -0x1.5584f7e54ac3bp-56}, {0x1.bcc1e904bc1d2p+0, 0x1.23dd07a2d9e84p-55},
        {0x1.c199bdd85529cp+0, 0x1.11065895048ddp-55}, {0x1.c67f12e57d14bp+0, 0x1.2884dff483cadp-54},
        {0x1.cb720dcef9069p+0, 0x1.503cbd1e949dbp-56}, {0x1.d072d4a07897cp+0, -0x1.cbc3743797a9cp-54},
        {0x1.d5818dcfba487p+0, 0x1.2ed02d75b3707p-55}, {0x1.da9e603db3285p+0, 0x1.c2300696db532p-54},
        {0x1.dfc97337b9b5fp+0, -0x1.1a5cd4f184b5cp-54}, {0x1.e502ee78b3ff6p+0, 0x1.39e8980a9cc8fp-55},
        {0x1.ea4afa2a490dap+0, -0x1.e9c23179c2893p-54}, {0x1.efa1bee615a27p+0, 0x1.dc7f486a4b6b0p-54},
        {0x1.f50765b6e4540p+0, 0x1.9d3e12dd8a18bp-54}, {0x1.fa7c1819e90d8p+0, 0x1.74853f3a5931ep-55},
}};

/// 1.2^k for k = 0..19: the doubles nearest to the powers of the double 1.2.
inline constexpr std::array<double, 20> powersOfSixFifths{
    0x1.0000000000000p+0, 0x1.3333333333333p+0, 0x1.70a3d70a3d70ap+0, 0x1.ba5e353f7ced8p+0,
    0x1.096bb98c7e282p+1, 0x1.3e81450efdc9bp+1, 0x1.7e34b945308bap+1, 0x1.caa5ab1fd3dacp+1,
    0x1.133033797f1cdp+2, 0x1.4a39d75e98890p+2, 0x1.8c4568d7ea3dfp+2, 0x1.db867dcfe5e3fp+2,
    0x1.1d50b1e32388cp+3, 0x1.5660d576f770ep+3, 0x1.9ada99c1f5baap+3, 0x1.ed06521bf3accp+3,
    0x1.27d097aa5f014p+4, 0x1.62fa4f993ece4p+4, 0x1.a9f92c517e912p+4, 0x1.ff2b01fb64ae2p+4,
};
// clang-format on

/// e^x. The error is below 0.53 units in the last place, below 0.77 where the result is subnormal.
/// NaN gives NaN, -inf and x < -745.14 give 0, inf and x > 709.79 give inf, both zeros give 1.
///
/// Method: table and polynomial, after P. T. P. Tang, Table-driven implementation of the exponential function in IEEE floating-point arithmetic,
/// ACM TOMS 15 (1989), with 64 table entries:
///   x = (64 m + j) ln2/64 + r,  |r| <= ln2/128,   e^x = 2^m 2^(j/64) e^r
///   e^r - 1 = r + r²/2 + ... + r^6/720            (what is left out is below 2^-65)
[[nodiscard]] inline double exponential(double x) noexcept
{
    if (!(x < 710.0))
        return x >= 710.0 ? std::numeric_limits<double>::infinity() : x; // NaN stays what it is
    if (x < -746.0)
        return 0.0;

    // Adding 1.5·2^52 rounds to an integer.
    constexpr double toInteger = 0x1.8p52;
    const double multiple = (x * 0x1.71547652b82fep+6 + toInteger) - toInteger; // 64/ln2
    const int k = static_cast<int>(multiple);
    // ln2/64 in two parts, the first so short that its multiples are exact, and so is their difference from x.
    const double r = (x - multiple * 0x1.62e42fef80000p-7) - multiple * 0x1.1cf79abc9e3b4p-42;

    const double r2 = r * r;
    const double p = r + r2 * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
    const SplitPower root = rootsOfTwo[static_cast<std::size_t>(k & 63)];
    const double scaled = root.high + (root.low + root.high * p);

    // 2^m in two factors: one alone may lie beyond the range, and only the last product is rounded.
    const int m = k >> 6;
    const auto powerOfTwo = [](int e) { return std::bit_cast<double>(static_cast<std::uint64_t>(e + 1023) << 52); };
    return scaled * powerOfTwo(m >> 1) * powerOfTwo(m - (m >> 1));
}

/// x^e for x >= 0 and 0 <= e < 1: the product of the roots x^(1/2), x^(1/4), x^(1/8), ... for which the binary digits of e are 1. The error is
/// below one unit in the last place for each such digit, so below 53. x^0 is 1; a negative x and NaN give NaN.
[[nodiscard]] inline double fractionalPower(double x, double e) noexcept
{
    double power = 1.0;
    for (double root = x; e > 0.0;)
    {
        root = std::sqrt(root);
        e *= 2.0;
        if (e >= 1.0)
        {
            e -= 1.0;
            power *= root;
        }
    }
    return power;
}

} // namespace tav3d::common
