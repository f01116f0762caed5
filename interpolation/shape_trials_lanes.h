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

/// The squared distances of a stencil's points.
struct Distances
{
    double* squared;        // of points i and 0..i-1, for i = 1, 2, ...
    double* largest;        // per row
    double* largestWithout; // per row, the last point left out
};

void measure(const TrialStencil& s, const Distances& d)
{
    for (int i = 0; i < s.n; ++i)
        d.largest[i] = d.largestWithout[i] = 0.0;
    double* row = d.squared;
    for (int i = 0; i < s.n; row += i, ++i)
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
            row[j] = dx * dx + dy * dy + dz * dz;
            largest = row[j] > largest ? row[j] : largest;
            d.largest[j] = row[j] > d.largest[j] ? row[j] : d.largest[j];
        }
        d.largest[i] = largest;
    }
}

/// Matrix and right-hand sides from all roots.
void setUp(const System& s, const TrialStencil& stencil, const Distances& d)
{
    const Lanes cc = s.roots->cc;
    const Lanes onDiagonal = squareRoot(Lanes::all(0.0) + cc);
    const Lanes* root = s.roots->root;
    for (int i = 0; i < s.n; ++i)
    {
        for (int j = 0; j < i; ++j)
        {
            const Lanes r = *root++;
            s.column(i)[j] = r;
            s.column(j)[i] = r;
        }
        s.column(i)[i] = onDiagonal;
        s.scale[i] = Lanes::all(1.0) / squareRoot(Lanes::all(d.largest[i]) + cc);
    }
    const double* const coordinate[3] = {stencil.x, stencil.y, stencil.z};
    for (int axis = 0; axis < 3; ++axis)
        for (int j = 0; j < s.n; ++j)
            s.column(s.n + axis)[j] = Lanes::all(coordinate[axis][0] - coordinate[axis][j]) / s.column(0)[j];
}

/// What the weights w[3 i + axis] of n points say, for the shape parameters from number `shape` on.
void conclude(const Lanes* w, const double* phi, int n, int shape, Trials& trials)
{
    for (int axis = 0; axis < 3; ++axis)
    {
        Lanes sum = Lanes::all(0.0);
        Lanes derivative = Lanes::all(0.0);
        for (int i = 0; i < n; ++i)
        {
            sum = sum + w[3 * i + axis];
            derivative = derivative + Lanes::all(phi[i]) * w[3 * i + axis];
        }
        magnitude(sum).to(trials.defect[axis] + shape);
        derivative.to(trials.derivative[axis] + shape);
        w[3 * (n - 1) + axis].to(trials.lastWeight[axis] + shape);
    }
}

void tryAll(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without)
{
    const int n = stencil.n;
    const int stride = n | 1; // odd: the rows of a column, and the columns of a row, fall into different cache sets
    Lanes* lanes = reinterpret_cast<Lanes*>(room);
    const auto take = [&lanes](int count)
    {
        Lanes* taken = lanes;
        lanes += count;
        return taken;
    };
    Lanes* const element = take(stride * (n + 3));
    Lanes* const partElement = take(stride * (n + 3));
    Lanes* const scale = take(n);
    Lanes* const partScale = take(n);
    Lanes* const x = take(3 * n);
    Lanes* const partX = take(3 * n);
    Lanes* const root = take(n * (n - 1) / 2);
    double* const numbers = reinterpret_cast<double*>(lanes);
    const Distances distances{numbers + 3 * n, numbers, numbers + n};
    double* const number = numbers + 2 * n;
    for (int i = 0; i < n; ++i)
        number[i] = i;
    measure(stencil, distances);
    bool sameScales = true;
    for (int i = 0; i < n - 1; ++i)
        sameScales = sameScales && distances.largest[i] == distances.largestWithout[i];

    const auto square = [shape](int t)
    {
        const Lanes c = Lanes::from(shape + t);
        return c * c;
    };
    Roots roots{distances.squared, square(0), root, 0, n * (n - 1) / 2};
    const Mask none = differs(square(0), square(0));
    for (int t = 0; t < shapeCount; t += Lanes::width)
    {
        roots.finish();
        System system{element, stride, n, number, scale, {none, none, none}, false, &roots};
        setUp(system, stencil, distances);
        for (int i = 0; i < n - 1 && !sameScales; ++i)
            partScale[i] = Lanes::all(1.0) / squareRoot(Lanes::all(distances.largestWithout[i]) + roots.cc);
        if (t + Lanes::width < shapeCount)
        {
            roots.cc = square(t + Lanes::width);
            roots.done = 0;
        }

        if (without == nullptr)
        {
            eliminate(system, 0, n - 1, {false, nullptr});
            finishLastPivot(system);
            substituteBack(system, n, x);
        }
        else
        {
            const int done = eliminate(system, 0, n - 1, {true, sameScales ? nullptr : partScale});
            System part = system;
            if (done < n - 1)
            {
                part = withoutLast(system, partElement, partScale, sameScales);
                eliminate(part, done, n - 2, {false, nullptr});
                finishLastPivot(part);
                eliminate(system, done, n - 1, {false, nullptr});
            }
            finishLastPivot(system);
            substituteBackBoth(system, x, part.element, part.column(part.n), partX);
            conclude(partX, stencil.phi, n - 1, t, *without);
        }
        conclude(x, stencil.phi, n, t, with);
    }
}

} // namespace
