// Back substitution for the decomposed systems of lane_elimination.h. Included once by each of the files that lanes.h speaks of, after that one.

namespace
{

/// sum - u_j x_j of all right-hand sides.
inline void subtract(Lanes* sum, Lanes u, const Lanes* x)
{
    for (int axis = 0; axis < 3; ++axis)
        sum[axis] = sum[axis] - u * x[axis];
}

/// Solves U x = y for a decomposed system; x[3 i + axis]. The sums run over ascending columns, so a row can only start when the row below it is
/// done: what there is to overlap are the right-hand sides. The weights of the row below are handed on in registers.
void substituteBack(const System& s, Lanes* x)
{
    Lanes latest[3] = {Lanes::all(0.0), Lanes::all(0.0), Lanes::all(0.0)};
    for (int i = s.n - 1; i >= 0; --i)
    {
        const Lanes* u = s.row[i];
        Lanes sum[3];
        for (int axis = 0; axis < 3; ++axis)
            sum[axis] = u[s.right + axis];
        if (i + 1 < s.n)
            subtract(sum, u[i + 1], latest);
        for (int j = i + 2; j < s.n; ++j)
            subtract(sum, u[j], x + 3 * j);
        for (int axis = 0; axis < 3; ++axis)
            x[3 * i + axis] = latest[axis] = sum[axis] / u[i];
    }
}

/// The same for a system and its partner side by side: twice the sums to overlap. The partner's rows may be those of the system.
void substituteBackBoth(const System& s, Lanes* x, Lanes* const* partnerRow, Lanes* partnerX)
{
    const int m = s.n - 1;
    Lanes last[3];
    for (int axis = 0; axis < 3; ++axis)
        x[3 * m + axis] = last[axis] = s.row[m][s.right + axis] / s.row[m][m];
    Lanes latest[3] = {last[0], last[1], last[2]};
    Lanes partnerLatest[3] = {last[0], last[1], last[2]};
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
        if (i + 1 < m)
        {
            subtract(sum, u[i + 1], latest);
            subtract(partnerSum, partnerU[i + 1], partnerLatest);
        }
        for (int j = i + 2; j < m; ++j)
        {
            subtract(sum, u[j], x + 3 * j);
            subtract(partnerSum, partnerU[j], partnerX + 3 * j);
        }
        subtract(sum, u[m], last);
        for (int axis = 0; axis < 3; ++axis)
        {
            x[3 * i + axis] = latest[axis] = sum[axis] / u[i];
            partnerX[3 * i + axis] = partnerLatest[axis] = partnerSum[axis] / partnerU[i];
        }
    }
}

} // namespace
