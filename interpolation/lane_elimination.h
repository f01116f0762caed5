// LU decomposition and substitution of small dense systems, one system per lane: the arithmetic of dense_lu.h, rearranged for speed.
//
//   u_ij = a_ij - sum_{k<i} l_ik u_kj             (i <= j)
//   l_ij = (a_ij - sum_{k<j} l_ik u_kj) / u_jj    (i >  j)
//
// Every sum subtracts its products one at a time, k ascending, in whatever order the elements are visited; so all orders of elimination give
// the same bits. This one goes by panels of four columns: within a panel, columns are finished from left to right; then the four products that
// the panel contributes are subtracted from every element to the right of it, which is read and written once for all four.
//
// - Right-hand sides are further columns, so that forward substitution comes with the elimination. Rows of L left of the panel are needed no
//   more and stay where they are when rows are exchanged.
// - Lanes choose their pivots for themselves; rows are exchanged under a mask, once for every different row that some lane has chosen.
// - Columns are contiguous. A panel of 28 rows and a column beside it are in reach of the fastest cache, the whole system of four lanes nearly.
//
// Included once by each of the files that lanes.h speaks of, after it.

namespace
{

constexpr int panelWidth = 4;
constexpr double tinyPivot = 1.0e-20;

/// n equations: columns 0..n-1 the matrix, n..n+2 the right-hand sides.
struct System
{
    Lanes* element; // column by column
    int stride;     // Lanes from one column to the next
    int n;
    Lanes* scale;    // per row 1 / its largest magnitude
    Mask started[3]; // per right-hand side: lanes that have met an entry other than zero
    bool allStarted;

    Lanes* column(int j) const { return element + j * stride; }
};

/// value - l_0 u_0 - l_1 u_1 - ..., with l from successive columns.
template <int terms>
inline Lanes reduced(Lanes value, const Lanes* l, int stride, const Lanes* u)
{
    if constexpr (terms > 1)
        value = reduced<terms - 1>(value, l, stride, u);
    if constexpr (terms > 0)
        value = value - l[(terms - 1) * stride] * u[terms - 1];
    return value;
}

/// Finishes the rows k..k+terms-1 of a column right of the panel that starts at column k, and gives them as u.
template <int terms>
inline void finishTop(const System& s, int k, Lanes* column, Lanes* u)
{
    if constexpr (terms > 0)
    {
        constexpr int t = terms - 1;
        finishTop<t>(s, k, column, u);
        u[t] = reduced<t>(column[k + t], s.column(k) + (k + t), s.stride, u);
        column[k + t] = u[t];
    }
}

/// Subtracts the products of a panel of `terms` columns from `columns` neighbouring columns.
template <int terms, int columns>
void reduceColumns(const System& s, int k, int c)
{
    const Lanes* l = s.column(k);
    Lanes* column = s.column(c);
    Lanes u[columns][terms];
    for (int b = 0; b < columns; ++b)
        finishTop<terms>(s, k, column + b * s.stride, u[b]);
    for (int i = k + terms; i < s.n; ++i)
    {
        Lanes a[columns];
        for (int b = 0; b < columns; ++b)
            a[b] = reduced<terms>(column[b * s.stride + i], l + i, s.stride, u[b]);
        for (int b = 0; b < columns; ++b)
            column[b * s.stride + i] = a[b];
    }
}

template <int terms>
void reduceRange(const System& s, int k, int from, int to)
{
    int c = from;
    for (; c + 2 <= to; c += 2)
        reduceColumns<terms, 2>(s, k, c);
    if (c < to)
        reduceColumns<terms, 1>(s, k, c);
}

/// Forward substitution that passes over products with leading zeros, as the plain form does: with an infinite l they would be NaN, and
/// a -0.0 would become 0.0.
void reduceFromFirstNonzero(const System& s, Lanes* column, Mask& started, int k, int terms)
{
    for (int t = 0; t < terms; ++t)
    {
        const Lanes y = column[k + t];
        const Lanes* l = s.column(k + t);
        started = either(started, differs(y, Lanes::all(0.0)));
        for (int i = k + t + 1; i < s.n; ++i)
            column[i] = column[i] - within(started, l[i] * y);
    }
}

/// Brings the columns from..to-1 up to date with the panel of `terms` columns that starts at column k.
void reduceRange(const System& s, int k, int terms, int from, int to)
{
    switch (terms)
    {
    case 1:
        return reduceRange<1>(s, k, from, to);
    case 2:
        return reduceRange<2>(s, k, from, to);
    case 3:
        return reduceRange<3>(s, k, from, to);
    default:
        return reduceRange<4>(s, k, from, to);
    }
}

/// The same for all columns from `from` on and the right-hand sides.
void reduceTrailing(System& s, int k, int terms, int from)
{
    if (s.allStarted)
        return reduceRange(s, k, terms, from, s.n + 3);
    reduceRange(s, k, terms, from, s.n);
    s.allStarted = true;
    for (int axis = 0; axis < 3; ++axis)
    {
        reduceFromFirstNonzero(s, s.column(s.n + axis), s.started[axis], k, terms);
        s.allStarted = s.allStarted && bits(s.started[axis]) == allLanes;
    }
}

/// Brings column k+terms up to date with the panel's columns before it and finds its pivots: per lane the row j or below whose element is the
/// largest by scale, the last one among equals. NaN is never the largest; where there is nothing else, the row j.
template <int terms>
Lanes reduceAndSearch(const System& s, int k)
{
    const int j = k + terms;
    const Lanes* l = s.column(k);
    Lanes* column = s.column(j);
    Lanes u[panelWidth];
    finishTop<terms>(s, k, column, u);
    Lanes big = Lanes::all(0.0);
    Lanes pivot = Lanes::all(j);
    Lanes row = pivot;
    for (int i = j; i < s.n; ++i)
    {
        column[i] = reduced<terms>(column[i], l + i, s.stride, u);
        const Lanes candidate = s.scale[i] * magnitude(column[i]);
        pivot = choose(atLeast(candidate, big), row, pivot);
        big = larger(candidate, big);
        row = row + Lanes::all(1.0);
    }
    return pivot;
}

Lanes reduceAndSearch(const System& s, int k, int terms)
{
    switch (terms)
    {
    case 0:
        return reduceAndSearch<0>(s, k);
    case 1:
        return reduceAndSearch<1>(s, k);
    case 2:
        return reduceAndSearch<2>(s, k);
    default:
        return reduceAndSearch<3>(s, k);
    }
}

/// Pivots of a column that is up to date, among rows j..n-1, by other scales.
Lanes searchPivot(const Lanes* column, const Lanes* scale, int j, int n)
{
    Lanes big = Lanes::all(0.0);
    Lanes pivot = Lanes::all(j);
    for (int i = j; i < n; ++i)
    {
        const Lanes candidate = scale[i] * magnitude(column[i]);
        pivot = choose(atLeast(candidate, big), Lanes::all(i), pivot);
        big = larger(candidate, big);
    }
    return pivot;
}

/// Brings the pivots of column j to row j: exchanges rows in the columns from k on, in the right-hand sides, and in both scales (`partner` may
/// be null), where row j is of no interest any more.
void exchangeRows(const System& s, Lanes* partner, Lanes pivot, int j, int k)
{
    double row[Lanes::width];
    pivot.to(row);
    unsigned waiting = bits(differs(pivot, Lanes::all(j)));
    for (int lane = 0; waiting != 0; ++lane)
    {
        if ((waiting >> lane & 1) == 0)
            continue;
        const int with = static_cast<int>(row[lane]);
        const Mask lanes = equal(pivot, Lanes::all(row[lane]));
        for (int c = k; c < s.n + 3; ++c)
            exchange(lanes, s.column(c)[j], s.column(c)[with]);
        exchange(lanes, s.scale[j], s.scale[with]);
        if (partner != nullptr)
            exchange(lanes, partner[j], partner[with]);
        waiting &= ~bits(lanes);
    }
}

/// Eliminates columns from..to-1. With `partner`, the scales of the same system without its last row and column, elimination serves both as
/// long as both choose the same pivots, in all lanes. Returns the number of the column before which it has ended.
int eliminate(System& s, int from, int to, Lanes* partner)
{
    int k = from;
    bool parted = false;
    while (k < to && !parted)
    {
        int terms = 0;
        for (; terms < panelWidth && k + terms < to; ++terms)
        {
            const int j = k + terms;
            Lanes* column = s.column(j);
            const Lanes pivot = reduceAndSearch(s, k, terms);
            parted = partner != nullptr && bits(differs(pivot, searchPivot(column, partner, j, s.n - 1))) != 0;
            if (parted)
                break;

            exchangeRows(s, partner, pivot, j, k);
            column[j] = choose(equal(column[j], Lanes::all(0.0)), Lanes::all(tinyPivot), column[j]);
            const Lanes factor = Lanes::all(1.0) / column[j];
            for (int i = j + 1; i < s.n; ++i)
                column[i] = column[i] * factor;
        }
        if (terms > 0)
            reduceTrailing(s, k, terms, k + terms + (parted ? 1 : 0));
        k += terms;
    }
    return k;
}

/// The last column has nothing to eliminate.
void finishLastPivot(const System& s)
{
    Lanes& pivot = s.column(s.n - 1)[s.n - 1];
    pivot = choose(equal(pivot, Lanes::all(0.0)), Lanes::all(tinyPivot), pivot);
}

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

/// The same for a system together with the one without its last row and column, which has been eliminated with it: x as above, and
/// `partner` likewise for the smaller one. Twice the sums to overlap.
void substituteBackBoth(const System& s, Lanes* x, Lanes* partner)
{
    const int m = s.n - 1;
    for (int axis = 0; axis < 3; ++axis)
        x[3 * m + axis] = s.column(s.n + axis)[m] / s.column(m)[m];
    for (int i = m - 1; i >= 0; --i)
    {
        Lanes sum[3];
        Lanes partnerSum[3];
        for (int axis = 0; axis < 3; ++axis)
            partnerSum[axis] = sum[axis] = s.column(s.n + axis)[i];
        const Lanes* u = s.element + i;
        for (int j = i + 1; j < m; ++j)
            for (int axis = 0; axis < 3; ++axis)
            {
                sum[axis] = sum[axis] - u[j * s.stride] * x[3 * j + axis];
                partnerSum[axis] = partnerSum[axis] - u[j * s.stride] * partner[3 * j + axis];
            }
        for (int axis = 0; axis < 3; ++axis)
        {
            x[3 * i + axis] = (sum[axis] - u[m * s.stride] * x[3 * m + axis]) / u[i * s.stride];
            partner[3 * i + axis] = partnerSum[axis] / u[i * s.stride];
        }
    }
}

/// Copies the system without its last row and column to `element`. What is above row `from` may differ from the place in the larger system
/// only in columns that both have.
System withoutLast(const System& s, Lanes* element, Lanes* scale)
{
    System part = s;
    part.element = element;
    part.scale = scale;
    part.n = s.n - 1;
    for (int j = 0; j < part.n + 3; ++j)
    {
        const Lanes* source = s.column(j < part.n ? j : j + 1);
        for (int i = 0; i < part.n; ++i)
            part.column(j)[i] = source[i];
    }
    return part;
}

} // namespace
