// Back substitution for the decomposed systems of lane_elimination.h. Included once by each of the files that lanes.h speaks of, after that one.

namespace
{

/// Solves U x = y for the first n equations of a decomposed system; x[3 i + axis]. The sums run over ascending columns, so a row can only
/// start when the row below it is done: what there is to overlap are the right-hand sides.
void substituteBack(const System& s, int n, Lanes* x)
{
    for (int i = n - 1; i >= 0; --i)
    {
        Lanes sum[3];
        for (int axis = 0; axis < 3; ++axis)
            sum[axis] = s.column(s.n + axis)[i];
        const Lanes* u = s.element + i;
        for (int j = i + 1; j < n; ++j)
            for (int axis = 0; axis < 3; ++axis)
                sum[axis] = sum[axis] - u[j * s.stride] * x[3 * j + axis];
        for (int axis = 0; axis < 3; ++axis)
            x[3 * i + axis] = sum[axis] / u[i * s.stride];
    }
}

/// The same for a system and its partner side by side: twice the sums to overlap. The partner's matrix and right-hand sides may be in the
/// same place.
void substituteBackBoth(const System& s, Lanes* x, const Lanes* partnerMatrix, const Lanes* partnerRight, Lanes* partnerX)
{
    const int m = s.n - 1;
    for (int axis = 0; axis < 3; ++axis)
        x[3 * m + axis] = s.column(s.n + axis)[m] / s.column(m)[m];
    for (int i = m - 1; i >= 0; --i)
    {
        Lanes sum[3];
        Lanes partnerSum[3];
        for (int axis = 0; axis < 3; ++axis)
        {
            sum[axis] = s.column(s.n + axis)[i];
            partnerSum[axis] = partnerRight[axis * s.stride + i];
        }
        const Lanes* u = s.element + i;
        const Lanes* partnerU = partnerMatrix + i;
        for (int j = i + 1; j < m; ++j)
            for (int axis = 0; axis < 3; ++axis)
            {
                sum[axis] = sum[axis] - u[j * s.stride] * x[3 * j + axis];
                partnerSum[axis] = partnerSum[axis] - partnerU[j * s.stride] * partnerX[3 * j + axis];
            }
        for (int axis = 0; axis < 3; ++axis)
        {
            x[3 * i + axis] = (sum[axis] - u[m * s.stride] * x[3 * m + axis]) / u[i * s.stride];
            partnerX[3 * i + axis] = partnerSum[axis] / partnerU[i * s.stride];
        }
    }
}

} // namespace
