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
// - Columns are contiguous. The whole system of four lanes and 28 rows is nearly as large as the fastest cache, so lanes come in turn, not all
//   at once.
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
    const double* number; // 0.0, 1.0, ...: row numbers as the lanes hold them
    Lanes* scale;         // per row 1 / its largest magnitude
    Mask started[3];      // per right-hand side: lanes that have met an entry other than zero
    bool allStarted;
    Roots* roots; // to go on with

    Lanes* column(int j) const { return element + j * stride; }
};

/// The same system without its last row and column, which may share the elimination.
struct Partner
{
    bool exists;
    Lanes* scale; // null: the scales are those of the larger system
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

/// Subtracts the products of a panel of `terms` columns from column c, and takes a root after every other row.
template <int terms>
void reduceColumn(const System& s, int k, int c)
{
    const Lanes* l = s.column(k);
    Lanes* column = s.column(c);
    Lanes u[terms];
    finishTop<terms>(s, k, column, u);
    const auto reduceRow = [=, stride = s.stride, &u](int i) { column[i] = reduced<terms>(column[i], l + i, stride, u); };
    int i = k + terms;
    const double* squared = s.roots->squared + s.roots->done;
    Lanes* root = s.roots->root + s.roots->done;
    const Lanes cc = s.roots->cc;
    for (int number = s.roots->claim((s.n - i) / 2); number > 0; --number)
    {
        *root++ = squareRoot(Lanes::all(*squared++) + cc);
        reduceRow(i++);
        reduceRow(i++);
    }
    for (; i < s.n; ++i)
        reduceRow(i);
}

template <int terms>
void reduceRange(const System& s, int k, int from, int to)
{
    for (int c = from; c < to; ++c)
        reduceColumn<terms>(s, k, c);
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

/// Brings column j = k+terms up to date with the panel's columns before it and finds its pivots: per lane the row j or below whose element is
/// the largest by scale, the last one among equals. NaN is never the largest; where there is nothing else, the row j.
/// The column before still lacks the `factor` that makes it a column of L.
template <int terms>
Lanes reduceAndSearch(const System& s, int k, Lanes factor)
{
    const int j = k + terms;
    Lanes* l = s.column(k);
    Lanes* column = s.column(j);
    Lanes u[panelWidth];
    finishTop<terms>(s, k, column, u);
    Lanes big = Lanes::all(0.0);
    Lanes pivot = Lanes::all(j);
    for (int i = j; i < s.n; ++i)
    {
        if constexpr (terms > 0)
        {
            Lanes& latest = l[(terms - 1) * s.stride + i];
            latest = latest * factor;
        }
        const Lanes a = reduced<terms>(column[i], l + i, s.stride, u);
        column[i] = a;
        const Lanes candidate = s.scale[i] * magnitude(a);
        pivot = choose(atLeast(candidate, big), Lanes::all(s.number[i]), pivot);
        big = larger(candidate, big);
    }
    return pivot;
}

Lanes reduceAndSearch(const System& s, int k, int terms, Lanes factor)
{
    switch (terms)
    {
    case 0:
        return reduceAndSearch<0>(s, k, factor);
    case 1:
        return reduceAndSearch<1>(s, k, factor);
    case 2:
        return reduceAndSearch<2>(s, k, factor);
    default:
        return reduceAndSearch<3>(s, k, factor);
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

/// Brings the pivots of column j to row j: exchanges rows in the columns from k on, in the right-hand sides, and in the scales, where row j is
/// of no interest any more.
void exchangeRows(const System& s, const Partner& partner, Lanes pivot, int j, int k)
{
    double row[Lanes::width];
    pivot.to(row);
    unsigned waiting = allLanes;
    for (int lane = 0; waiting != 0; ++lane) // most often one row for all lanes
    {
        if ((waiting >> lane & 1) == 0)
            continue;
        const int distance = static_cast<int>(row[lane]) - j; // 0 is as good as others and needs no branch
        const Mask lanes = equal(pivot, Lanes::all(row[lane]));
        waiting &= ~bits(lanes);
        Lanes* const stop = s.column(s.n + 3) + j;
        for (Lanes* top = s.column(k) + j; top < stop; top += s.stride)
            exchange(lanes, top[0], top[distance]);
        exchange(lanes, s.scale[j], s.scale[j + distance]);
        if (partner.scale != nullptr)
            exchange(lanes, partner.scale[j], partner.scale[j + distance]);
    }
}

/// Whether in some lane the partner's pivots of column j, which is up to date, are not these.
bool partsWith(const Partner& partner, const System& s, Lanes pivot, int j)
{
    if (!partner.exists)
        return false;
    const Lanes own = partner.scale == nullptr ? Lanes::all(s.n - 1) : searchPivot(s.column(j), partner.scale, j, s.n - 1);
    return bits(partner.scale == nullptr ? equal(pivot, own) : differs(pivot, own)) != 0;
}

/// Eliminates columns from..to-1, for the partner as well as long as both choose the same pivots in all lanes. Returns the number of the column
/// before which it has ended.
int eliminate(System& s, int from, int to, const Partner& partner)
{
    int k = from;
    bool parted = false;
    while (k < to && !parted)
    {
        int terms = 0;
        Lanes factor = Lanes::all(1.0);
        for (; terms < panelWidth && k + terms < to; ++terms)
        {
            const int j = k + terms;
            const Lanes pivot = reduceAndSearch(s, k, terms, factor);
            parted = partsWith(partner, s, pivot, j);
            if (parted)
                break;
            exchangeRows(s, partner, pivot, j, k);
            Lanes& diagonal = s.column(j)[j];
            diagonal = choose(equal(diagonal, Lanes::all(0.0)), Lanes::all(tinyPivot), diagonal);
            factor = Lanes::all(1.0) / diagonal;
        }
        if (!parted)
        {
            Lanes* latest = s.column(k + terms - 1);
            for (int i = k + terms; i < s.n; ++i)
                latest[i] = latest[i] * factor;
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

/// Copies the system without its last row and column.
System withoutLast(const System& s, Lanes* element, Lanes* scale, bool sameScales)
{
    System part = s;
    part.element = element;
    part.scale = scale;
    part.n = s.n - 1;
    for (int i = 0; i < part.n && sameScales; ++i)
        scale[i] = s.scale[i];
    for (int j = 0; j < part.n + 3; ++j)
    {
        const Lanes* source = s.column(j < part.n ? j : j + 1);
        for (int i = 0; i < part.n; ++i)
            part.column(j)[i] = source[i];
    }
    return part;
}

} // namespace
