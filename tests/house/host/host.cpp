// A host program that knows the installed headers alone: it looks up the nearest of three cell centres.

#include <Tav3dInterpolation.h>

#include <cstdio>

int main()
{
    double x[] = {0.0, 0.0, 1.0, 2.0}; // entry 0 carries no datum
    double y[] = {0.0, 0.0, 0.0, 0.0};
    double z[] = {0.0, 0.0, 0.0, 0.0};

    CTav3dInterpolation interpolation;
    interpolation.SetBaseRange(0.0, 2.0, 0.0, 0.0, 0.0, 0.0);
    interpolation.SetBaseData_Light(3, x, y, z);
    double squaredDistance = -1.0;
    const int nearest = interpolation.SearchNearestPointIndex(1.1, 0.0, 0.0, squaredDistance);
    std::printf("nearest point: %d (counted from 0), squared distance %.3f\n", nearest, squaredDistance);
    return nearest == 1 ? 0 : 1;
}
