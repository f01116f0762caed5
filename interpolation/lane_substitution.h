// Back substitution for the decomposed systems of lane_elimination.h. Included once by each of the files that lanes.h speaks of, after that one.

namespace
{

/// Solves U x = y for the first n equations of a decomposed system; x[3 i + axis]. The sums run over ascending columns, so a row can only
/// start when the row below it is done: what there is to overlap are the right-hand sides.
void substituteBack(const System& s, Lanes* x)
{
    for (int i = s.n - 1; i >= 0; --i)
    {
        const Lanes* u = s.row[i];
        Lanes sum[3];
        for (int axis = 0; axis < 3; ++axis)
            sum[axis] = u[s.right + axis];
        for (int j = i + 1; j < s.n; ++j)
            for (int axis = 0; axis < 3; ++axis)
                sum[axis] = sum[axis] - u[j] * x[3 * j + axis];
        for (int axis = 0; axis < 3; ++axis)
            x[3 * i + axis] = sum[axis] / u[i];
    }
}

/// The same for a system and its partner side by side: twice the sums to overlap. The partner's rows may be those of the system.
void substituteBackBoth(const System& s, Lanes* x, Lanes* const* partnerRow, Lanes* partnerX)
{
    const int m = s.n - 1;
    for (int axis = 0; axis < 3; ++axis)
        x[3 * m + axis] = s.row[m][s.right + axis] / s.row[m][m];
    for (int i = m - 1; i >= 0; --i)
    {
        const Lanes* u = s.row[i];
        const Lanes* partnerU = partnerRow[i];
        Lanes sum[3];
        Lanes partnerSum[3];
        for (int axis = 0; axis < 3; ++axis)
        {
            sum[axis] = u[s.right + axis];
            partnerSum[axis] = partnerU[s.right + axis];
        }
        for (int j = i + 1; j < m; ++j)
            for (int axis = 0; axis < 3; ++axis)
            {
                sum[axis] = sum[axis] - u[j] * x[3 * j + axis];
                partnerSum[axis] = partnerSum[axis] - partnerU[j] * partnerX[3 * j + axis];
            }
        for (int axis = 0; axis < 3; ++axis)
        {
            x[3 * i + axis] = (sum[axis] - u[m] * x[3 * m + axis]) / u[i];
            partnerX[3 * i + axis] = partnerSum[axis] / partnerU[i];
        }
    }
}

} // namespace
