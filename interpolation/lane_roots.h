// Square roots in lanes, taken when the processor has nothing better to do. Included once by each of the files that lanes.h speaks of, after it.

namespace
{

/// Square roots of squared distances plus c^2 for the next system. They are taken while this one is eliminated, a few at a time between the
/// multiplications, as a processor's unit for roots would be idle otherwise.
struct Roots
{
    const double* squared;
    Lanes cc;
    Lanes* root;
    int done;
    int count;

    /// Takes the first up to `most` of those that are left.
    int claim(int most)
    {
        const int number = count - done < most ? count - done : most;
        done += number;
        return number;
    }

    /// Takes all that are left.
    void finish()
    {
        for (; done < count; ++done)
            root[done] = squareRoot(Lanes::all(squared[done]) + cc);
    }
};

} // namespace
