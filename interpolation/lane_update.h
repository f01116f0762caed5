// One panel's share of an elimination: its products are subtracted from everything right of it. What an elimination is, is said in
// lane_elimination.h. Included once by each of the files that lanes.h speaks of, before that one.

namespace
{

/// n equations. Columns of a row: 0..n-1 the matrix; from `right` on three right-hand sides; then scales, up to `width`. What lies between the
/// matrix and the right-hand sides is carried along unused.
struct System
{
    Lanes** row; // by position
    int n;
    int right;
    int scale; // column of 1 / a row's largest magnitude
    int width;
    const double* number; // 0.0, 1.0, ...: row numbers as the lanes hold them
    Mask started[3];      // per right-hand side: lanes that have met an entry other than zero
    bool allStarted;
    Roots* roots; // to go on with
};

/// value - l_0 u_0 - l_1 u_1 - ...
template <int terms>
inline Lanes reduced(Lanes value, const Lanes* l, const Lanes* u)
{
    if constexpr (terms > 1)
        value = reduced<terms - 1>(value, l, u);
    if constexpr (terms > 0)
        value = value - l[terms - 1] * u[terms - 1];
    return value;
}

/// Finishes column c of the rows k..k+terms-1 of a panel that starts at column k, and gives them as u.
template <int terms>
inline void finishTop(Lanes* const* row, int k, int c, Lanes* u)
{
    if constexpr (terms > 0)
    {
        constexpr int t = terms - 1;
        finishTop<t>(row, k, c, u);
        u[t] = reduced<t>(row[t][c], row[t] + k, u);
        row[t][c] = u[t];
    }
}

/// Subtracts the products of a panel of `terms` columns, whose rows are `top`, from the columns from..to-1 of two rows (or of one, twice the
/// same), and takes a root after every other column. Half of the elements of U are kept in a register for both rows, half are read twice:
/// the processor can read two operands per cycle, but start only so many instructions.
template <int terms, bool two>
inline void reduceRows(Lanes* const* top, Roots& roots, Lanes* row, Lanes* other, int k, int from, int to, Lanes factor)
{
    Lanes l[terms];
    Lanes m[terms];
    const Lanes* u[terms];
    Lanes* const left = row + k;
    Lanes* const otherLeft = other + k;
    for (int t = 0; t < terms; ++t)
    {
        l[t] = left[t];
        m[t] = otherLeft[t];
        u[t] = top[t];
    }
    left[terms - 1] = l[terms - 1] = l[terms - 1] * factor;
    if (two)
        otherLeft[terms - 1] = m[terms - 1] = m[terms - 1] * factor;
    const auto reduceColumn = [&](int c)
    {
        Lanes a = row[c];
        Lanes b = other[c];
        for (int t = 0; t < terms; ++t)
        {
            Lanes v = u[t][c];
            if (t < terms / 2)
                TAV3D_KEEP_IN_REGISTER(v.v);
            a = a - l[t] * v;
            if (two)
                b = b - m[t] * v;
        }
        row[c] = a;
        if (two)
            other[c] = b;
    };
    int c = from;
    const double* squared = roots.squared + roots.done;
    Lanes* root = roots.root + roots.done;
    const Lanes cc = roots.cc;
    for (int number = roots.claim((to - c) / 2); number > 0; --number)
    {
        *root++ = squareRoot(Lanes::all(*squared++) + cc);
        reduceColumn(c++);
        reduceColumn(c++);
    }
    for (; c < to; ++c)
        reduceColumn(c);
}

/// Brings the columns from..to-1 up to date with the panel of `terms` columns that starts at column k.
template <int terms>
void reduceRange(const System& s, int k, int from, int to, Lanes factor)
{
    Lanes* const* top = s.row + k;
    for (int c = from; c < to; ++c)
    {
        Lanes u[terms];
        finishTop<terms>(top, k, c, u);
    }
    int i = k + terms;
    for (; i + 1 < s.n; i += 2)
        reduceRows<terms, true>(top, *s.roots, s.row[i], s.row[i + 1], k, from, to, factor);
    if (i < s.n)
        reduceRows<terms, false>(top, *s.roots, s.row[i], s.row[i], k, from, to, factor);
}

void reduceRange(const System& s, int k, int terms, int from, int to, Lanes factor)
{
    switch (terms)
    {
    case 1:
        return reduceRange<1>(s, k, from, to, factor);
    case 2:
        return reduceRange<2>(s, k, from, to, factor);
    case 3:
        return reduceRange<3>(s, k, from, to, factor);
    default:
        return reduceRange<4>(s, k, from, to, factor);
    }
}

/// Forward substitution that passes over products with leading zeros, as the plain form does: with an infinite l they would be NaN, and
/// a -0.0 would become 0.0.
void reduceFromFirstNonzero(const System& s, int c, Mask& started, int k, int terms)
{
    for (int j = k; j < k + terms; ++j)
    {
        const Lanes y = s.row[j][c];
        started = either(started, differs(y, Lanes::all(0.0)));
        for (int i = j + 1; i < s.n; ++i)
            s.row[i][c] = s.row[i][c] - within(started, s.row[i][j] * y);
    }
}

/// The same as reduceRange() for all columns from `from` on and the right-hand sides.
void reduceTrailing(System& s, int k, int terms, int from, Lanes factor)
{
    if (!s.allStarted)
    {
        unsigned nonzero = allLanes;
        for (int axis = 0; axis < 3; ++axis)
            nonzero &= bits(either(s.started[axis], differs(s.row[k][s.right + axis], Lanes::all(0.0))));
        s.allStarted = nonzero == allLanes;
    }
    if (s.allStarted)
        return reduceRange(s, k, terms, from, s.right + 3, factor);
    reduceRange(s, k, terms, from, s.n, factor);
    s.allStarted = true;
    for (int axis = 0; axis < 3; ++axis)
    {
        reduceFromFirstNonzero(s, s.right + axis, s.started[axis], k, terms);
        s.allStarted = s.allStarted && bits(s.started[axis]) == allLanes;
    }
}

} // namespace
