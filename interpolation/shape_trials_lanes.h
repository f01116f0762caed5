// Trial fits of a stencil, Lanes::width shape parameters at a time. The plain form, with its formulas, is mq_quadrature.cpp; here the lanes are
// shape parameters, and
// - squared distances are computed once for all of them: the plain form adds c^2 last;
// - elements are computed once for i < j: (p_i - p_j)^2 and (p_j - p_i)^2 have the same bits;
// - the largest element of a row is the one of the largest squared distance, as rounding keeps order;
// - the stencil without its last point is eliminated together with the whole stencil as long as both choose the same pivots.
//
// Included once by each of the files that lanes.h speaks of, after lane_elimination.h.

namespace
{

using tav3d::interpolation::shapeCount;
using tav3d::interpolation::Trials;
using tav3d::interpolation::TrialStencil;

/// The squared distances of a stencil's points. They stand in one run, each to have a root taken of its sum with c^2.
struct Distances
{
    double* squared;        // of points i and 0..i-1, for i = 1, 2, ...
    double* none;           // a single 0.0, the distance of a point from itself
    double* largest;        // per row
    double* largestWithout; // per row, the last point left out
};

/// Measures, and takes the roots of the pairs for the first system while it does.
void measure(const TrialStencil& s, const Distances& d, Roots& roots)
{
    *d.none = 0.0;
    for (int i = 0; i < s.n; ++i)
        d.largest[i] = d.largestWithout[i] = 0.0;
    double* row = d.squared;
    Lanes* root = roots.root;
    const Lanes cc = roots.cc;
    for (int i = 0; i < s.n; row += i, root += i, ++i)
    {
        if (i == s.n - 1)
            for (int j = 0; j < i; ++j)
                d.largestWithout[j] = d.largest[j];
        double largest = d.largest[i];
        for (int j = 0; j < i; ++j)
        {
            const double dx = s.x[i] - s.x[j];
            const double dy = s.y[i] - s.y[j];
            const double dz = s.z[i] - s.z[j];
            const double squared = dx * dx + dy * dy + dz * dz;
            row[j] = squared;
            root[j] = squareRoot(Lanes::all(squared) + cc);
            largest = squared > largest ? squared : largest;
            d.largest[j] = squared > d.largest[j] ? squared : d.largest[j];
        }
        d.largest[i] = largest;
    }
    roots.done = s.n * (s.n - 1) / 2;
}

/// Matrix, right-hand sides and scales from all roots. The divisions stand among the copying as they need not wait for it.
void setUp(const System& s, Lanes* element, int stride, const TrialStencil& stencil)
{
    const Lanes* root = s.roots->root;
    const Lanes* const onDiagonal = root + s.n * (s.n - 1) / 2;
    const Lanes* const largest = onDiagonal + 1;
    const double* const coordinate[3] = {stencil.x, stencil.y, stencil.z};
    for (int i = 0; i < s.n; root += i, ++i)
    {
        Lanes* const row = element + i * stride;
        s.row[i] = row;
        const Lanes first = i > 0 ? root[0] : *onDiagonal;
        for (int axis = 0; axis < 3; ++axis)
            row[s.right + axis] = Lanes::all(coordinate[axis][0] - coordinate[axis][i]) / first;
        for (int scales = s.scale, at = i; scales < s.width; ++scales, at += s.n)
            row[scales] = Lanes::all(1.0) / largest[at];
        for (int j = 0; j < i; ++j)
        {
            row[j] = root[j];
            element[j * stride + i] = root[j];
        }
        row[i] = *onDiagonal;
    }
}

/// What the weights w[3 i + axis] of n points say, for the shape parameters from number `shape` on.
void conclude(const Lanes* w, const double* phi, int n, int shape, Trials& trials)
{
    Lanes sum[3];
    Lanes derivative[3];
    for (int axis = 0; axis < 3; ++axis)
        sum[axis] = derivative[axis] = Lanes::all(0.0);
    for (int i = 0; i < n; ++i)
        for (int axis = 0; axis < 3; ++axis)
        {
            sum[axis] = sum[axis] + w[3 * i + axis];
            derivative[axis] = derivative[axis] + Lanes::all(phi[i]) * w[3 * i + axis];
        }
    for (int axis = 0; axis < 3; ++axis)
    {
        magnitude(sum[axis]).to(trials.defect[axis] + shape);
        derivative[axis].to(trials.derivative[axis] + shape);
        w[3 * (n - 1) + axis].to(trials.lastWeight[axis] + shape);
    }
}

void tryAll(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without)
{
    const int n = stencil.n;
    const int pairs = n * (n - 1) / 2;
    const int stride = (n + 5) | 1; // of rows; odd, so that the elements of a column spread over the cache
    Lanes* lanes = reinterpret_cast<Lanes*>(room);
    const auto take = [&lanes](int count)
    {
        Lanes* taken = lanes;
        lanes += count;
        return taken;
    };
    Lanes* const element = take(n * stride);
    Lanes* const partElement = take(n * stride);
    Lanes* const x = take(3 * n);
    Lanes* const partX = take(3 * n);
    Lanes* const root = take(pairs + 1 + 2 * n);
    double* const squared = reinterpret_cast<double*>(lanes);
    const Distances distances{squared, squared + pairs, squared + pairs + 1, squared + pairs + 1 + n};
    double* const number = distances.largestWithout + n;
    Lanes** const row = reinterpret_cast<Lanes**>(number + n);
    Lanes** const partRow = row + n;
    for (int i = 0; i < n; ++i)
        number[i] = i;
    const auto square = [shape](int t)
    {
        const Lanes c = Lanes::from(shape + t);
        return c * c;
    };
    Roots roots{squared, square(0), root, 0, pairs + 1 + n};
    measure(stencil, distances, roots);
    bool sameScales = true;
    for (int i = 0; i < n - 1; ++i)
        sameScales = sameScales && distances.largest[i] == distances.largestWithout[i];
    const bool twoScales = without != nullptr && !sameScales;
    roots.count += twoScales ? n : 0;

    const Mask none = differs(square(0), square(0));
    const int scale = n + 3;
    for (int t = 0; t < shapeCount; t += Lanes::width)
    {
        roots.finish();
        System system{row, n, n, scale, scale + (twoScales ? 2 : 1), number, {none, none, none}, false, &roots};
        setUp(system, element, stride, stencil);
        if (t + Lanes::width < shapeCount)
        {
            roots.cc = square(t + Lanes::width);
            roots.done = 0;
        }

        if (without == nullptr)
        {
            eliminate(system, 0, n - 1, {false, scale});
            finishLastPivot(system);
            substituteBack(system, x);
        }
        else
        {
            const Partner partner{true, twoScales ? scale + 1 : scale};
            const int done = eliminate(system, 0, n - 1, partner);
            System part = system;
            if (done < n - 1)
            {
                part = withoutLast(system, partner, done, partRow, partElement, stride);
                eliminate(part, done, n - 2, {false, scale});
                finishLastPivot(part);
                eliminate(system, done, n - 1, {false, scale});
            }
            finishLastPivot(system);
            substituteBackBoth(system, x, part.row, partX);
            conclude(partX, stencil.phi, n - 1, t, *without);
        }
        conclude(x, stencil.phi, n, t, with);
    }
}

} // namespace
