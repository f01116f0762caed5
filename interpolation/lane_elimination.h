// LU decomposition and substitution of small dense systems, one system per lane: the arithmetic of dense_lu.h, rearranged for speed.
//
//   u_ij = a_ij - sum_{k<i} l_ik u_kj             (i <= j)
//   l_ij = (a_ij - sum_{k<j} l_ik u_kj) / u_jj    (i >  j)
//
// Every sum subtracts its products one at a time, k ascending, in whatever order the elements are visited; so all orders of elimination give
// the same bits. This one goes by panels of four columns: within a panel, columns are finished from left to right; then the four products that
// the panel contributes are subtracted from every element to the right of it, which is read and written once for all four.
//
// - Right-hand sides are further columns, so that forward substitution comes with the elimination. So are the scales of the rows.
// - Rows are contiguous and are found through pointers. Lanes choose their pivots for themselves, and half of the time all choose the same
//   row: then pointers are exchanged and nothing moves. Otherwise the lanes that differ from lane 0 have their rows exchanged under a mask.
// - Two rows are reduced side by side, so that their eight elements of L stay in registers and elements of U are read for both.
//
// Included once by each of the files that lanes.h speaks of, after lane_update.h.

namespace
{

constexpr int panelWidth = 4;
constexpr double tinyPivot = 1.0e-20;

/// The same system without its last row and column, which may share the elimination.
struct Partner
{
    bool exists;
    int scale; // column; that of the larger system when the scales are the same
};

/// Brings column j = k+terms up to date with the panel's columns before it and finds its pivots: per lane the row j or below whose element is
/// the largest by scale, the last one among equals. NaN is never the largest; where there is nothing else, the row j.
/// The column before still lacks the `factor` that makes it a column of L.
template <int terms>
Lanes reduceAndSearch(const System& s, int k, Lanes factor)
{
    const int j = k + terms;
    Lanes u[panelWidth];
    finishTop<terms>(s.row + k, k, j, u);
    Lanes big = Lanes::all(0.0);
    Lanes pivot = Lanes::all(j);
    for (int i = j; i < s.n; ++i)
    {
        Lanes* const row = s.row[i];
        if constexpr (terms > 0)
            row[j - 1] = row[j - 1] * factor;
        const Lanes a = reduced<terms>(row[j], row + k, u);
        row[j] = a;
        const Lanes candidate = row[s.scale] * magnitude(a);
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

/// Pivots of column j, which is up to date, without the last row and by other scales.
Lanes searchPivot(const System& s, const Partner& partner, int j)
{
    Lanes big = Lanes::all(0.0);
    Lanes pivot = Lanes::all(j);
    for (int i = j; i < s.n - 1; ++i)
    {
        const Lanes candidate = s.row[i][partner.scale] * magnitude(s.row[i][j]);
        pivot = choose(atLeast(candidate, big), Lanes::all(i), pivot);
        big = larger(candidate, big);
    }
    return pivot;
}

/// Brings the pivots of column j to row j, in the columns from k on.
void exchangeRows(const System& s, Lanes pivot, int j, int k)
{
    double chosen[Lanes::width];
    pivot.to(chosen);
    const int first = static_cast<int>(chosen[0]);
    Lanes* const top = s.row[first];
    Lanes* const former = s.row[j];
    s.row[first] = former;
    s.row[j] = top;

    // Now row j is where lane 0 wants it. A lane that has chosen another row for row j wants what came to row j back in its place and the
    // former row j in place of its choice. Among the three rows two may be the same; the order of stores gives the right one the last word.
    unsigned waiting = allLanes & ~bits(equal(pivot, Lanes::all(chosen[0])));
    for (int lane = 1; waiting != 0; ++lane)
    {
        if ((waiting >> lane & 1) == 0)
            continue;
        const Mask lanes = equal(pivot, Lanes::all(chosen[lane]));
        waiting &= ~bits(lanes);
        Lanes* const choice = s.row[static_cast<int>(chosen[lane])];
        for (int c = k; c < s.width; ++c)
        {
            const Lanes a = top[c];
            const Lanes b = former[c];
            const Lanes d = choice[c];
            former[c] = choose(lanes, a, b);
            top[c] = choose(lanes, d, a);
            choice[c] = choose(lanes, b, d);
        }
    }
}

/// Whether in some lane the partner's pivots of column j, which is up to date, are not these.
bool partsWith(const Partner& partner, const System& s, Lanes pivot, int j)
{
    if (!partner.exists)
        return false;
    if (partner.scale == s.scale)
        return bits(equal(pivot, Lanes::all(s.n - 1))) != 0;
    return bits(differs(pivot, searchPivot(s, partner, j))) != 0;
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
            exchangeRows(s, pivot, j, k);
            Lanes& diagonal = s.row[j][j];
            diagonal = choose(equal(diagonal, Lanes::all(0.0)), Lanes::all(tinyPivot), diagonal);
            factor = Lanes::all(1.0) / diagonal;
        }
        if (terms > 0)
            reduceTrailing(s, k, terms, k + terms + (parted ? 1 : 0), parted ? Lanes::all(1.0) : factor);
        k += terms;
    }
    return k;
}

/// The last column has nothing to eliminate.
void finishLastPivot(const System& s)
{
    Lanes& pivot = s.row[s.n - 1][s.n - 1];
    pivot = choose(equal(pivot, Lanes::all(0.0)), Lanes::all(tinyPivot), pivot);
}

/// The system without its last row and column. The first `done` rows, which are final, are shared; the others are copied to `element`, one
/// every `stride`, from column `done` on.
System withoutLast(const System& s, const Partner& partner, int done, Lanes** row, Lanes* element, int stride)
{
    System part = s;
    part.row = row;
    part.n = s.n - 1;
    part.scale = partner.scale;
    for (int i = 0; i < done; ++i)
        row[i] = s.row[i];
    for (int i = done; i < part.n; ++i, element += stride)
    {
        row[i] = element;
        for (int c = done; c < s.width; ++c)
            element[c] = s.row[i][c];
    }
    return part;
}

} // namespace
